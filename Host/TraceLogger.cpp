#include "Host/TraceLogger.h"

#include "Common/Text.h"

void TraceLogger::Write(const char16_t* text, size_t length) {
  constexpr std::u16string_view kMarker = u"***********Processor:";
  const std::u16string_view line(text, length);
  const size_t at = line.find(kMarker);
  if (at == std::u16string_view::npos) return;
  std::u16string_view message = line.substr(at + kMarker.size());
  if (message.ends_with(u"\r\n")) message.remove_suffix(2);
  out_ << "-- after " << ToUtf8(message) << "\n";
}
