#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Common/ErrorHandling.h"
#include "Common/Nodes/VXNodePtr.h"
#include "Common/TextHash.h"
#include "QueriesProcessing/Scriptwright/Core/QueryTemplate.h"

namespace QueriesProcessing {

// The preparation engine: owns the catalogue of query templates and turns a
// query request into `Command` children of that request.
//
// Initialize(config) reads the catalogue node: it rebuilds every variable
// processor from the children named by their tokens, reads
// `page_expand_size` (default 1000) and the required string list
// `complex_condition_names`, and stores each `query_template` child under its
// node name (a later duplicate replaces an earlier one).
//
// Prepare(request) reads `Query_Template_Name` and runs that template. A
// request without a `Columnn` in `complex_condition_names` anywhere under its
// `Conditions` child runs the light form of the two templates that have one.
// That walk runs for every request, whatever its template: it reads each
// `Columnn` as text, and one that cannot be read so (a list, say) fails the
// request, also where the conditions processor never looks; it also logs its
// result. Walking only for the two templates would drop both. The walk reads
// without copying, so it costs little beside the preparation.
// A `Continuous` request gets `MaxCount` = its `Top` (default 2000) and `Top`
// enlarged by `page_expand_size`.
//
// Both return 0 or the failure's code, which they log. A failed request is
// not repaired: attributes and commands written before the failure stay.
//
// Thread-safe: one lock is held over the whole of Initialize and Prepare, so
// requests are prepared one at a time and never overlap a rebuild.
class CScriptwrightImpl {
 public:
  HRESULT Initialize(const VXNodePtr& config);
  HRESULT Prepare(VXNodePtr& request);

 private:
  bool HasComplexConditions(const VXNodePtr& request) const;
  const CQueryTemplate& ChooseTemplate(VXNodePtr& request) const;
  void ExpandContinuousPage(const VXNodePtr& request) const;

  TextSet complexConditionNames_;
  std::map<std::u16string, std::shared_ptr<CQueryTemplate>, std::less<>> templates_;
  uint32_t pageExpandSize_ = 1000;
  std::mutex lock_;
};

}  // namespace QueriesProcessing
