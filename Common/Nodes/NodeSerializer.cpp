#include "Common/Nodes/NodeSerializer.h"

#include "Common/ErrorHandling.h"

CNodeSerializer::CNodeSerializer(_EnumVXNSerializationType format, uint32_t flags, Sink sink)
    : sink_(std::move(sink)) {
  Check(VxnStartSerialization(format, flags, &CNodeSerializer::Write, this, &context_));
}

CNodeSerializer::~CNodeSerializer() {
  if (context_) VxnCloseSerializationContext(context_);
}

void CNodeSerializer::Serialize(const std::vector<VXNodePtr>& nodes) {
  std::vector<HVXNODE> handles;
  handles.reserve(nodes.size());
  for (const auto& node : nodes) handles.push_back(node.get());
  Check(VxnSerializeNodes(context_, handles.data(), static_cast<uint32_t>(handles.size()), 0));
}

void CNodeSerializer::Finalize() { Check(VxnFinalizeSerialization(context_)); }

HRESULT CNodeSerializer::Write(void* self, const void* data, uint32_t size) {
  static_cast<CNodeSerializer*>(self)->sink_(std::string_view(static_cast<const char*>(data), size));
  return S_OK;
}
