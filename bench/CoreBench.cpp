// Costs of the whole-text passes of the engine: token replacement, the
// command text clean-up, and one preparation of a large template. Logging is
// off (LoggingOff.cpp), so no figure measures the log.

#include <benchmark/benchmark.h>

#include <string>

#include "Common/Text.h"
#include "QueriesProcessing/Scriptwright/Core/ProcessorsManager.h"
#include "QueriesProcessing/Scriptwright/Core/SQLCommand.h"
#include "QueriesProcessing/Scriptwright/Core/ScriptwrightImpl.h"

namespace {

using namespace QueriesProcessing;

// `bytes` of SQL-like text with `tokens` occurrences of %TOKEN% spread evenly.
std::u16string TextWithTokens(size_t bytes, size_t tokens) {
  const std::u16string filler = u"SELECT [RID], [When], [Who] FROM [dbo].[ActivityRecords] WHERE 1=1\n";
  std::u16string text;
  text.reserve(bytes / 2 + tokens * 8);
  const size_t chars = bytes / 2;
  const size_t gap = chars / (tokens + 1);
  for (size_t i = 0; i < tokens; ++i) {
    while (text.size() < (i + 1) * gap) text += filler;
    text += u"%TOKEN%";
  }
  while (text.size() < chars) text += filler;
  text.resize(chars);
  return text;
}

void BM_ReplaceAll(benchmark::State& state) {
  const std::u16string source = TextWithTokens(static_cast<size_t>(state.range(0)), 100);
  std::u16string text;  // outside the loop: its memory is reused, as in a long-running server
  for (auto _ : state) {
    text = source;
    benchmark::DoNotOptimize(ReplaceAll(text, u"%TOKEN%", u"TOP 1000"));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_ReplaceAll)->Arg(10 << 10)->Arg(100 << 10)->Arg(1 << 20)->Arg(10 << 20);

// The floor for ReplaceAll: copying the source and building an output of the
// same size once.
void BM_CopyOutputOnce(benchmark::State& state) {
  const std::u16string source = TextWithTokens(static_cast<size_t>(state.range(0)), 100);
  std::u16string text;
  std::u16string out;
  for (auto _ : state) {
    text = source;
    out.clear();
    out.reserve(text.size() + 200);
    out.append(text);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CopyOutputOnce)->Arg(10 << 10)->Arg(100 << 10)->Arg(1 << 20)->Arg(10 << 20);

// A text made mostly of runs of spaces and tabs, as indented templates are.
std::u16string IndentedText(size_t bytes) {
  const size_t chars = bytes / 2;
  std::u16string text;
  text.reserve(chars);
  while (text.size() < chars) text += u"SELECT     [RID],\t\t   [When]    \n        FROM  t  ";
  text.resize(chars);
  return text;
}

void BM_CleanCommandText(benchmark::State& state) {
  const std::u16string text = IndentedText(static_cast<size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(CleanCommandText(text));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CleanCommandText)->Arg(100 << 10)->Arg(1 << 20)->Arg(10 << 20);

// The floor for the clean-up: its output copied once into new memory. Bytes
// are counted as for the clean-up, by the size of its input.
void BM_CleanCommandTextOutputOnce(benchmark::State& state) {
  const std::u16string cleaned = CleanCommandText(IndentedText(static_cast<size_t>(state.range(0))));
  for (auto _ : state) {
    std::u16string copy = cleaned;
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CleanCommandTextOutputOnce)->Arg(100 << 10)->Arg(1 << 20)->Arg(10 << 20);

// Replaces the token named by its per-use node's `token` with `value`.
class ReplaceProcessor : public IVariableProcessor {
 public:
  HRESULT ProcessNode(VXNodePtr&, const VXNodePtr& variable, std::u16string& text) override {
    ReplaceAll(text, variable.GetString(u"token"), variable.GetString(u"value"));
    return S_OK;
  }
};

void BM_Prepare10KBTemplateWith20Processors(benchmark::State& state) {
  std::u16string sql = TextWithTokens(10 << 10, 0);
  VXNodePtr processors = VXNodePtr::Create(u"", u"variable_processors");
  for (int i = 0; i < 20; ++i) {
    const std::u16string token = u"%V" + ToText(i) + u"%";
    sql.insert(sql.size() * i / 20, token);
    VXNodePtr use = VXNodePtr::Create(u"variable_processor");
    use.SetString(u"processor_alias", u"%REPLACE%");
    use.SetString(u"token", token);
    use.SetString(u"value", u"[Column" + ToText(i) + u"] = N'value'");
    processors.AddChild(use);
  }
  VXNodePtr command = VXNodePtr::Create(u"sql_command", u"search");
  command.SetString(u"command", sql);
  command.AddChild(processors);
  VXNodePtr queryTemplate = VXNodePtr::Create(u"query_template", u"t");
  queryTemplate.AddChild(command);
  VXNodePtr catalog = VXNodePtr::Create(u"catalog");
  catalog.SetStringList(u"complex_condition_names", {u"Who"});
  catalog.AddChild(queryTemplate);
  catalog.AddChild(VXNodePtr::Create(u"", u"%REPLACE%"));

  CScriptwrightImpl engine;
  engine.Initialize(catalog);
  static const std::vector<ProcessorTableRow> table = {
      {u"%REPLACE%", [] { return std::shared_ptr<IVariableProcessor>(std::make_shared<ReplaceProcessor>()); }}};
  CProcessorsManager::Instance().Initialize(catalog, table);
  for (auto _ : state) {
    VXNodePtr request = VXNodePtr::Create(u"Query");
    request.SetString(u"Query_Template_Name", u"t");
    if (engine.Prepare(request) != S_OK) state.SkipWithError("Prepare failed");
  }
}
BENCHMARK(BM_Prepare10KBTemplateWith20Processors);

}  // namespace
