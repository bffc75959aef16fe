#include "Common/Nodes/NodeDeserializer.h"

#include <algorithm>
#include <cstring>

#include "Common/ErrorHandling.h"

namespace {

constexpr uint32_t kBatch = 10;

}  // namespace

CNodeDeserializer::CNodeDeserializer(_EnumVXNSerializationType format, uint32_t flags, const void* data,
                                     size_t size)
    : data_(static_cast<const char*>(data), size) {
  Check(VxnStartDeserialization(format, flags, &CNodeDeserializer::Read, this, &context_));
}

CNodeDeserializer::~CNodeDeserializer() {
  if (context_) VxnCloseDeserializationContext(context_);
}

std::vector<VXNodePtr> CNodeDeserializer::ReadAll() {
  std::vector<VXNodePtr> nodes;
  HVXNODE batch[kBatch];
  uint32_t count = kBatch;
  while (count == kBatch) {
    Check(VxnDeserializeNodes(context_, batch, kBatch, &count));
    for (uint32_t i = 0; i < count; ++i) nodes.emplace_back(batch[i]);
  }
  return nodes;
}

HRESULT CNodeDeserializer::Read(void* self, void* buffer, uint32_t size, uint32_t* read) {
  auto& data = static_cast<CNodeDeserializer*>(self)->data_;
  *read = static_cast<uint32_t>(std::min<size_t>(size, data.size()));
  std::memcpy(buffer, data.data(), *read);
  data.remove_prefix(*read);
  return S_OK;
}
