#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "Common/Nodes/VXNodePtr.h"
#include "Common/Nodes/VxnApi.h"

// Scope object around a serialisation context: writes nodes to `sink` as
// they come, and closes the context on destruction. Failures raise HRX.
//
//   std::string text;
//   CNodeSerializer s(VXN_SERIALIZATION_TEXT, VXN_TEXT_INDENT,
//                     [&](std::string_view bytes) { text += bytes; });
//   s.Serialize({node});
//   s.Finalize();
class CNodeSerializer {
 public:
  using Sink = std::function<void(std::string_view bytes)>;

  CNodeSerializer(_EnumVXNSerializationType format, uint32_t flags, Sink sink);
  ~CNodeSerializer();
  CNodeSerializer(const CNodeSerializer&) = delete;
  CNodeSerializer& operator=(const CNodeSerializer&) = delete;

  void Serialize(const std::vector<VXNodePtr>& nodes);
  void Finalize();

 private:
  static HRESULT Write(void* self, const void* data, uint32_t size);

  Sink sink_;
  HVXNSERIALIZER context_ = nullptr;
};
