#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Common/Components/ModuleObject.h"
#include "Common/Components/NamedInstances.h"
#include "Common/ServiceLayer/ServiceInterfaces.h"
#include "QueriesProcessing/Membership/GroupMembershipPreprocessor.h"
#include "tests/Common/FakeRequestContexts.h"
#include "tests/QueriesProcessing/Joins/JoinsTestSupport.h"
#include "tests/QueriesProcessing/Membership/MembershipTestSupport.h"

namespace QueriesProcessing {

// "Core.ServiceClient" and a directory service over a table of groups. The
// first request of a lookup opens a session; its polls get `notReady`
// not-ready answers, then every member in one page (a group not in the
// table is unknown: no members). Thread-safe.
class FakeDirectory : public CComponentBase, public IServiceClient, public IServiceProxy {
 public:
  using Interfaces = std::tuple<IServiceClient, IServiceProxy>;

  HRESULT OpenService(const char16_t*, uint32_t, const GUID& iid, void** proxy) override {
    return static_cast<IServiceClient*>(this)->QueryInterface(iid, proxy);
  }

  HRESULT Call(const VXNodePtr& request, VXNodePtr* out) override {
    std::lock_guard guard(lock_);
    const VXNodePtr answer = VXNodePtr::Create(u"");
    if (request.TypeView() == u"SitRequest") {
      ++lookups_;
      const GUID session{++sessionCount_, 0xD1, 0x7E, {0, 0, 0, 0, 0, 0, 0, 1}};
      sessions_[session] = Lookup{request.GetString(u"ObjectID"), notReady};
      answer.SetGuid(u"SessionId", session);
    } else {
      Lookup& lookup = sessions_.at(request.GetGuid(u"SessionId"));
      if (lookup.notReady > 0) {
        --lookup.notReady;
        answer.SetInt32(u"ResultCode", 1);
      } else {
        Page(answer, lookup.group);
      }
    }
    *out = answer;
    return S_OK;
  }

  void SetGroup(const std::u16string& group, std::vector<std::u16string> members) {
    std::lock_guard guard(lock_);
    groups_[group] = std::move(members);
  }
  int Lookups() {
    std::lock_guard guard(lock_);
    return lookups_;
  }

  // Set before the lookups start.
  int notReady = 0;

 private:
  struct Lookup {
    std::u16string group;
    int notReady;
  };

  void Page(const VXNodePtr& answer, const std::u16string& group) const {
    const auto members = groups_.find(group);
    answer.SetInt32(u"ResultCode", 0);
    answer.SetBool(u"IsLastResponce", true);
    answer.SetInt32(u"RootObjectFound", members == groups_.end() ? 0 : 1);
    if (members == groups_.end()) return;
    for (const std::u16string& name : members->second) {
      const VXNodePtr member = VXNodePtr::Create(u"Member");
      member.SetString(u"NTAccountName", name);
      answer.AddChild(member);
    }
  }

  std::mutex lock_;
  std::map<std::u16string, std::vector<std::u16string>> groups_;
  std::map<GUID, Lookup> sessions_;
  uint32_t sessionCount_ = 0;
  int lookups_ = 0;
};

// The database settings service: settings that a test sets, and Notify to
// tell the subscribers, on the calling thread. Thread-safe.
class FakeDatabaseSettings : public CComponentBase, public IDatabaseSettingsService {
 public:
  using Interfaces = std::tuple<IDatabaseSettingsService>;

  HRESULT GetCommonDbSettings(VXNodePtr* settings) override {
    std::lock_guard guard(lock_);
    *settings = settings_ ? settings_.Clone() : VXNodePtr();
    return S_OK;
  }
  HRESULT Subscribe(IConfigObserver* observer) override {
    std::lock_guard guard(lock_);
    observers_.emplace_back(observer);
    return S_OK;
  }

  void Set(const VXNodePtr& settings) {
    std::lock_guard guard(lock_);
    settings_ = settings.Clone();
  }
  void Notify() {
    std::vector<CompPtr<IConfigObserver>> observers;
    {
      std::lock_guard guard(lock_);
      observers = observers_;
    }
    for (const auto& observer : observers) observer->OnModify(VXNodePtr());
  }
  // The subscribers hold nothing of ours, but we hold them: let go.
  void Clear() {
    std::vector<CompPtr<IConfigObserver>> gone;
    std::lock_guard guard(lock_);
    gone.swap(observers_);
  }

 private:
  std::mutex lock_;
  VXNodePtr settings_;
  std::vector<CompPtr<IConfigObserver>> observers_;
};

// The common database settings of the tests: SQLite in memory.
inline VXNodePtr DbSettings(bool enabled, int32_t busyTimeoutMs = 5000) {
  const VXNodePtr settings = VXNodePtr::Create(u"CommonDb");
  settings.SetBool(u"Enabled", enabled);
  settings.SetString(u"Database", u":memory:");
  settings.SetInt32(u"BusyTimeoutMs", busyTimeoutMs);
  return settings;
}

// The named components of a preprocessor, served while the object lives:
// "Core.ServiceClient" (the directory), "Test.DSM" (the settings),
// "Test.Storage" (SQLite in memory, which the test may query as well), and
// whatever `extra` gives.
class MembershipWorld {
 public:
  MembershipWorld()
      : directory(::Testing::MakeFake<FakeDirectory, IServiceClient>()),
        settings(::Testing::MakeFake<FakeDatabaseSettings, IDatabaseSettingsService>()) {
    settings->Set(DbSettings(true));
    current_ = this;
    ScriptwrightSetNamedInstanceProvider(&Provide);
  }
  ~MembershipWorld() {
    settings->Clear();
    ScriptwrightSetNamedInstanceProvider(nullptr);
    current_ = nullptr;
    static_cast<IServiceClient*>(directory)->Release();
    static_cast<IDatabaseSettingsService*>(settings)->Release();
  }
  MembershipWorld(const MembershipWorld&) = delete;
  MembershipWorld& operator=(const MembershipWorld&) = delete;

  // A class of the module by its GUID, through the module object.
  static CompPtr<IConfigurable> Create(const GUID& classId) {
    CompPtr<IModuleObject> module;
    Check(GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid()));
    CompPtr<IConfigurable> made;
    Check(module->GetClassObject(classId, IConfigurable::kIid, made.ReceiveVoid()));
    return made;
  }

  CompPtr<IVXSQLStorage> storage = OpenStorage(u":memory:");
  FakeDirectory* directory;
  FakeDatabaseSettings* settings;
  // Other names, for the activator's target; unset, they are not served.
  std::function<HRESULT(std::u16string_view name, const GUID& iid, void** out)> extra;

 private:
  static HRESULT Provide(const char16_t* name, uint32_t, const GUID* iid, void** out) {
    const std::u16string_view wanted(name);
    MembershipWorld& world = *current_;
    if (wanted == u"Core.ServiceClient")
      return static_cast<IServiceClient*>(world.directory)->QueryInterface(*iid, out);
    if (wanted == u"Test.DSM")
      return static_cast<IDatabaseSettingsService*>(world.settings)->QueryInterface(*iid, out);
    if (wanted == u"Test.Storage") return world.storage->QueryInterface(*iid, out);
    if (world.extra) return world.extra(wanted, *iid, out);
    return E_NOTFOUND;
  }

  static inline MembershipWorld* current_ = nullptr;
};

// The preprocessor's configuration over the fakes above: the directory's
// not-ready answers are polled without a pause, and a failed build of the
// tables manager is tried again every second.
inline VXNodePtr PreprocessorConfig(std::optional<uint64_t> limit = std::nullopt) {
  const VXNodePtr config = Testing::Parse(
      R"(<_ DSMInstName="Test.DSM" InitializeRetryIntervalSec="i32:1" MembershipAttrName="Who")"
      R"( SimpleStorageInstName="Test.Storage">)"
      R"(<_ _name="GroupMembershipResolver" SitServiceUrl="sit://directory" CountTryGetData="i32:3")"
      R"( SleepTryGetData="i32:0" RequestedAttribute='str[]:["sAMAccountName"]')"
      R"( RequestedMemberTypes='str[]:["user"]'/></_>)");
  if (limit) config.SetAttribute(u"GroupMembersLimit", VXN_UINT64, &*limit, sizeof(*limit));
  config.AddChild(SqliteMembershipConfig());
  return config;
}

// A query of session `session` whose conditions ask for the members of
// `inGroups` that are not in `notInGroups`.
inline VXNodePtr MembershipQuery(uint32_t session, const std::vector<std::u16string>& inGroups,
                                 const std::vector<std::u16string>& notInGroups = {}) {
  const VXNodePtr query = VXNodePtr::Create(u"Query");
  query.SetGuid(u"SessionId", SessionId(session));
  const VXNodePtr conditions = VXNodePtr::Create(u"ConditionsRoot", u"Conditions");
  const VXNodePtr both = VXNodePtr::Create(u"Condition");
  both.SetString(u"operator", u"AND");
  const auto add = [&](const std::vector<std::u16string>& groups, std::u16string_view comparator) {
    if (groups.empty()) return;
    const VXNodePtr group = VXNodePtr::Create(u"ConditionGroupMembership");
    group.SetString(u"Columnn", u"Who");
    group.SetString(u"Comparator", comparator);
    group.SetStringList(u"Values", groups);
    both.AddChild(group);
  };
  add(inGroups, u"InGroup");
  add(notInGroups, u"NotInGroup");
  conditions.AddChild(both);
  query.AddChild(conditions);
  return query;
}

// A request of `type` that names a session by `attribute` (none: unnamed).
inline VXNodePtr SessionRequest(std::u16string_view type, std::u16string_view attribute,
                                uint32_t session) {
  const VXNodePtr request = VXNodePtr::Create(type);
  if (!attribute.empty()) request.SetGuid(attribute, SessionId(session));
  return request;
}

}  // namespace QueriesProcessing
