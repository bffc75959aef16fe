#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Common/Nodes/VxnApi.h"

// Scope object around a deserialisation context over a buffer in memory; the
// context is closed on destruction. ReadAll asks for nodes in batches of 10
// until a batch comes back short. Malformed data raises HRX 0x8007000D with
// the line and column in its text.
class CNodeDeserializer {
 public:
  CNodeDeserializer(_EnumVXNSerializationType format, uint32_t flags, const void* data, size_t size);
  ~CNodeDeserializer();
  CNodeDeserializer(const CNodeDeserializer&) = delete;
  CNodeDeserializer& operator=(const CNodeDeserializer&) = delete;

  std::vector<VXNodePtr> ReadAll();

 private:
  static HRESULT Read(void* self, void* buffer, uint32_t size, uint32_t* read);

  std::string_view data_;
  HVXNDESERIALIZER context_ = nullptr;
};
