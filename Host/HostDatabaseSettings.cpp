#include "Host/HostDatabaseSettings.h"

#include "Common/Logger.h"
#include "Host/HostComponents.h"

void CHostDatabaseSettings::SetSettings(const VXNodePtr& settings) {
  std::lock_guard guard(lock_);
  settings_ = settings ? settings.Clone() : VXNodePtr();
}

void CHostDatabaseSettings::SetName(std::u16string name) {
  std::lock_guard guard(lock_);
  name_ = std::move(name);
}

HRESULT CHostDatabaseSettings::Change(const VXNodePtr& settings) {
  std::vector<CompPtr<IConfigObserver>> observers;
  std::u16string name;
  {
    std::lock_guard guard(lock_);
    settings_ = settings ? settings.Clone() : VXNodePtr();
    observers = observers_;
    name = name_;
  }
  VX_LOG(Severity::DBG, name << u" Change: " << observers.size() << u" subscriber(s) told");
  // Not under the lock: an observer reads the settings anew while it is told.
  HRESULT first = S_OK;
  for (const auto& observer : observers) {
    const HRESULT status = observer->OnModify(VXNodePtr());
    if (Failed(status) && Succeeded(first)) first = status;
  }
  return first;
}

HRESULT CHostDatabaseSettings::GetCommonDbSettings(VXNodePtr* settings) {
  if (!settings) return E_INVALIDARG;
  std::u16string name;
  {
    std::lock_guard guard(lock_);
    *settings = settings_ ? settings_.Clone() : VXNodePtr();
    name = name_;
  }
  VX_LOG(Severity::DBG, name << u" GetCommonDbSettings: "
                             << (*settings ? settings->Describe() : u"none"));
  return S_OK;
}

HRESULT CHostDatabaseSettings::Subscribe(IConfigObserver* observer) {
  if (!observer) return E_INVALIDARG;
  std::lock_guard guard(lock_);
  VX_LOG(Severity::DBG, name_ << u" Subscribe");
  observers_.emplace_back(observer);
  return S_OK;
}

void CHostDatabaseSettings::RemoveObserver(IComponent* component) {
  std::vector<CompPtr<IConfigObserver>> gone;
  std::lock_guard guard(lock_);
  gone = TakeObject(observers_, component);
}

void CHostDatabaseSettings::Clear() {
  std::vector<CompPtr<IConfigObserver>> gone;
  std::lock_guard guard(lock_);
  gone.swap(observers_);
}
