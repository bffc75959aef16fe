#pragma once

#include <functional>
#include <ostream>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/ServerInterfaces.h"

// The named components the command-line host serves to the library, in place
// of a server's own.

// "DataSourceManager": keeps its observers; this host has no data sources to
// report on.
class CHostDataSourceManager : public CComponentBase, public IDataSourceManager {
 public:
  using Interfaces = std::tuple<IDataSourceManager>;
  HRESULT AddObserver(ITriggerObserver* observer) override;

 private:
  std::vector<CompPtr<ITriggerObserver>> observers_;
};

// "ConfigServer.Proxy": keeps the configuration observers, which the host
// tells of changes with NotifyModified.
class CHostConfigProxy : public CComponentBase, public IConfigSubscriptions, public IConfigSubscription {
 public:
  using Interfaces = std::tuple<IConfigSubscriptions, IConfigSubscription>;
  HRESULT Subscribe(const VXNodePtr& filter, const VXNodePtr& subscription, IConfigObserver* observer,
                    IConfigSubscription** out) override;
  HRESULT Start() override { return S_OK; }
  void NotifyModified();
  // Observers hold the component that holds this proxy: let go of them.
  void Clear() { observers_.clear(); }

 private:
  std::vector<CompPtr<IConfigObserver>> observers_;
};

// The executing component: prints each prepared query, as the commands'
// SQL with their flags or, with `xml`, as the whole request tree.
class CCommandPrinter : public CComponentBase, public IQueryProcessor {
 public:
  using Interfaces = std::tuple<IQueryProcessor>;
  void SetOutput(std::ostream* out, bool xml) {
    out_ = out;
    xml_ = xml;
  }
  HRESULT ProcessQuery(const VXNodePtr& query) override;
  HRESULT CancelQuery(const VXNodePtr& cookie) override;

 private:
  std::ostream* out_ = nullptr;
  bool xml_ = false;
};

// Makes a host component with one reference held by the result.
template <typename T>
CComponentObject<T>* MakeHostComponent() {
  IComponent* made = nullptr;
  Check(CComponentObject<T>::Create(IComponent::kIid, reinterpret_cast<void**>(&made)));
  return static_cast<CComponentObject<T>*>(static_cast<std::tuple_element_t<0, typename T::Interfaces>*>(made));
}
