#include "Host/MarkJob.h"

#include "Common/ErrorHandling.h"
#include "Common/InvariantCase.h"
#include "Common/SqlText.h"
#include "Common/Text.h"
#include "Host/LibraryDiagnostics.h"
#include "QueriesProcessing/Common/MarkElementWriter.h"

namespace {

QueriesProcessing::MarkColumn ReadColumn(std::string_view argument) {
  const size_t equals = argument.find('=');
  if (equals == std::string_view::npos || equals == 0) {
    ThrowError(E_INVALIDARG,
               u": a column is given as COLUMN=VALUE, not as '" + ToUtf16(argument) + u"'");
  }
  return {ToUtf16(argument.substr(0, equals)), ToUtf16(argument.substr(equals + 1))};
}

}  // namespace

std::u16string DatabaseKey(std::u16string_view db) { return InvariantUpper(EscapeColumnName(db)); }

std::u16string MakeMarkElement(const MarkOptions& options) {
  std::vector<QueriesProcessing::MarkColumn> columns;
  columns.reserve(options.columns.size());
  for (const auto& argument : options.columns) columns.push_back(ReadColumn(argument));
  return QueriesProcessing::WriteMarkElement(DatabaseKey(ToUtf16(options.db)), columns);
}

int RunMarkJob(const MarkOptions& options, std::ostream& out, std::ostream& err) {
  try {
    out << ToUtf8(MakeMarkElement(options)) << "\n";
    out.flush();
    return 0;
  } catch (const HRX& failure) {
    const HRESULT code = failure.Report();
    const auto info = GetErrorInfo();
    err << "mark: " << FormatFailure(code, info.get()) << "\n";
    return 1;
  }
}
