// The serialisation contexts of the node library, over the text form.

#include <string>
#include <vector>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/NodeTextReader.h"
#include "Common/Nodes/NodeTextWriter.h"
#include "Common/Nodes/VxnApi.h"

struct VxnSerializationContext {
  NodeTextWriter writer;
  VxnWriteCallback write;
  void* callbackContext;
  std::string pending;

  HRESULT Flush() {
    const HRESULT status = write(callbackContext, pending.data(), static_cast<uint32_t>(pending.size()));
    pending.clear();
    return status;
  }
};

struct VxnDeserializationContext {
  VxnReadCallback read;
  void* callbackContext;
  bool parsed = false;
  std::vector<VXNodePtr> nodes;
  size_t next = 0;

  HRESULT Parse() {
    std::string text;
    char buffer[64 * 1024];
    for (;;) {
      uint32_t got = 0;
      const HRESULT status = read(callbackContext, buffer, sizeof buffer, &got);
      if (Failed(status)) return status;
      if (got == 0) break;
      text.append(buffer, got);
    }
    try {
      nodes = ReadNodeText(text, "<stream>");
    } catch (const HRX& failure) {
      return failure.Report();
    }
    parsed = true;
    return S_OK;
  }
};

extern "C" {

HRESULT VxnStartSerialization(uint32_t format, uint32_t flags, VxnWriteCallback write, void* callbackContext,
                              HVXNSERIALIZER* context) {
  if (format != VXN_SERIALIZATION_TEXT || !write || !context) return E_INVALIDARG;
  *context = new VxnSerializationContext{NodeTextWriter(flags), write, callbackContext, {}};
  (*context)->writer.Begin((*context)->pending);
  return (*context)->Flush();
}

HRESULT VxnSerializeNodes(HVXNSERIALIZER context, const HVXNODE* nodes, uint32_t count, uint32_t) {
  if (!context || (!nodes && count)) return E_INVALIDARG;
  for (uint32_t i = 0; i < count; ++i) {
    HVXNODE duplicate = nullptr;
    if (Failed(VxnDuplicateNodeHandle(nodes[i], &duplicate))) return E_INVALIDARG;
    context->writer.Add(VXNodePtr(duplicate), context->pending);
  }
  return context->Flush();
}

HRESULT VxnFinalizeSerialization(HVXNSERIALIZER context) {
  if (!context) return E_INVALIDARG;
  context->writer.End(context->pending);
  return context->Flush();
}

HRESULT VxnCloseSerializationContext(HVXNSERIALIZER context) {
  delete context;
  return S_OK;
}

HRESULT VxnStartDeserialization(uint32_t format, uint32_t, VxnReadCallback read, void* callbackContext,
                                HVXNDESERIALIZER* context) {
  if (format != VXN_SERIALIZATION_TEXT || !read || !context) return E_INVALIDARG;
  *context = new VxnDeserializationContext{read, callbackContext, false, {}, 0};
  return S_OK;
}

HRESULT VxnDeserializeNodes(HVXNDESERIALIZER context, HVXNODE* nodes, uint32_t capacity, uint32_t* count) {
  if (!context || !count || (!nodes && capacity)) return E_INVALIDARG;
  *count = 0;
  if (!context->parsed) {
    const HRESULT status = context->Parse();
    if (Failed(status)) return status;
  }
  while (*count < capacity && context->next < context->nodes.size()) {
    nodes[(*count)++] = context->nodes[context->next++].Detach();
  }
  return S_OK;
}

HRESULT VxnCloseDeserializationContext(HVXNDESERIALIZER context) {
  delete context;
  return S_OK;
}

}  // extern "C"
