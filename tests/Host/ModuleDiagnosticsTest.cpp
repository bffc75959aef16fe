// The module's diagnostics class, made here from the host's own copy of the
// common code: the same class the loaded module serves to the host.

#include <gtest/gtest.h>

#include <thread>

#include "Common/Components/ModuleDiagnostics.h"
#include "Host/HostComponents.h"

namespace {

class Discard : public Logger {
 public:
  void Write(const char16_t*, size_t) override {}
};

template <typename I>
CompPtr<I> MakeDiagnostics() {
  CompPtr<I> made;
  EXPECT_EQ(CComponentObject<CModuleDiagnostics>::Create(I::kIid, made.ReceiveVoid()), S_OK);
  return made;
}

TEST(ModuleDiagnosticsTest, TakesTheThreadsErrorInformationOnce) {
  const auto errors = MakeDiagnostics<IErrorInfoSource>();
  EXPECT_EQ(errors->TakeErrorInfo(nullptr), E_INVALIDARG);
  ErrorInfo info;
  info.code = 42;
  EXPECT_EQ(errors->TakeErrorInfo(&info), S_FALSE);
  EXPECT_EQ(info.code, 42);  // untouched when there is none

  ReportError(E_NOTFOUND, u": named instance 'X'");
  ASSERT_EQ(errors->TakeErrorInfo(&info), S_OK);
  EXPECT_EQ(info.code, E_NOTFOUND);
  EXPECT_EQ(info.description, u"Element not found: named instance 'X'");
  EXPECT_EQ(errors->TakeErrorInfo(&info), S_FALSE);

  std::thread([&] {
    ReportError(E_FAIL, u"");  // another thread's information stays its own
  }).join();
  EXPECT_EQ(errors->TakeErrorInfo(&info), S_FALSE);
}

TEST(ModuleDiagnosticsTest, SetsTheLogsSeverityAndAddsSinksWhileSlotsLast) {
  const auto log = MakeDiagnostics<ILogControl>();
  const struct {
    int32_t severity;
    HRESULT expected;
  } severities[] = {{-1, E_INVALIDARG}, {8, E_INVALIDARG}, {0, S_OK}, {7, S_OK}, {2, S_OK}};
  for (const auto& row : severities)
    EXPECT_EQ(log->SetMaxSeverity(row.severity), row.expected) << row.severity;

  EXPECT_EQ(log->AddLogSink(nullptr), E_INVALIDARG);
  // Four slots at most, one of them the file's; the log keeps what it took.
  static Discard* const discard = new Discard;
  HRESULT status = S_OK;
  int tries = 0;
  while (Succeeded(status) && ++tries <= 5) {
    auto* sink = MakeHostComponent<CHostLogSink>();
    sink->SetLogger(discard);
    status = log->AddLogSink(sink);
    static_cast<ILogSink*>(sink)->Release();
  }
  EXPECT_EQ(status, E_FAIL);
  EXPECT_LE(tries, 4);
}

}  // namespace
