// The cost of log statements: a disabled one against none at all, and the
// lines per second of a file log. This program measures logging, so it is
// the one benchmark that does not link LoggingOff.cpp.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>
#include <memory>

#include "Common/FileLogger.h"
#include "Common/Helpers/SettingsSources.h"
#include "Common/LogManager.h"
#include "Common/Logger.h"

namespace {

int Work(int x) { return x * 7 + 3; }

void BM_NoStatement(benchmark::State& state) {
  int x = 0;
  for (auto _ : state) {
    x = Work(x);
    benchmark::DoNotOptimize(x);
  }
}
BENCHMARK(BM_NoStatement);

void BM_DisabledStatement(benchmark::State& state) {
  SetMaxSeverity(Severity::ERR);
  int x = 0;
  for (auto _ : state) {
    x = Work(x);
    VX_LOG(Severity::DBG, u"value " << x);
    benchmark::DoNotOptimize(x);
  }
}
BENCHMARK(BM_DisabledStatement);

class KeepOpen : public ISettingsSource {
 public:
  explicit KeepOpen(std::u16string ms) : ms_(std::move(ms)) {}
  HRESULT Read(std::u16string_view section, std::u16string_view key, std::u16string& value) override {
    if (section != u"Logger" || key != u"KeepOpenInterval") return E_NOTFOUND;
    value = ms_;
    return S_OK;
  }

 private:
  std::u16string ms_;
};

void BM_FileLoggerLines(benchmark::State& state) {
  auto source = std::make_shared<KeepOpen>(state.range(0) ? u"5000" : u"0");
  SettingsSources::Instance().AddSource(source);
  const auto dir = std::filesystem::temp_directory_path() / ("scriptwright-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  LogManager manager;
  manager.Refresh();
  FileLogger logger(manager, (dir / "bench.log").string());
  for (auto _ : state) {
    manager.Log(Severity::DBG, u"***********Processor:%TOP% Result:SELECT TOP 100 [RID] FROM [dbo].[Records]",
                __FILE__, __LINE__, &logger);
  }
  state.SetItemsProcessed(state.iterations());
  SettingsSources::Instance().RemoveSource(source);
  std::filesystem::remove_all(dir);
}
BENCHMARK(BM_FileLoggerLines)->Arg(5000)->Arg(0)->ArgName("KeepOpenInterval");

}  // namespace
