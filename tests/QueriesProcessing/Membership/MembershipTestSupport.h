#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "Common/Nodes/NodeTextReader.h"
#include "QueriesProcessing/Membership/MembershipTablesManager.h"
#include "tests/Common/SqlStorage/StorageTestSupport.h"

namespace QueriesProcessing {

// The manager's configuration with the templates written for SQLite
// (data/sqlite-membership.xml), a fresh copy on each call.
inline VXNodePtr SqliteMembershipConfig() {
  static const VXNodePtr config =
      ReadNodeTextFile(MEMBERSHIP_TEST_DATA "/sqlite-membership.xml").at(0);
  static std::mutex lock;  // the copy reads the shared node
  std::lock_guard guard(lock);
  return config.Clone();
}

// A clock that moves only when told to.
class FakeClock : public ISessionClock {
 public:
  int64_t Now() const override { return now_; }
  void Advance(int64_t ticks) { now_ += ticks; }
  void AdvanceSeconds(int64_t seconds) { Advance(seconds * kTicksPerSecond); }

 private:
  std::atomic<int64_t> now_{1'000'000 * kTicksPerSecond};
};

// A storage in front of another: counts the batches that pass it, and can
// refuse them (a database that is gone) or spoil them at their end (a batch
// whose last statement fails after all others ran).
class ProxyStorage : public CComponentBase, public IVXSQLStorage {
 public:
  using Interfaces = std::tuple<IVXSQLStorage>;
  enum class Mode { kPass, kRefuse, kFailAtEnd };

  // A proxy in front of `inner`, and the proxy's own pointer for the test.
  static CompPtr<IVXSQLStorage> Make(CompPtr<IVXSQLStorage> inner, ProxyStorage*& proxy) {
    CompPtr<IVXSQLStorage> made;
    Check(CComponentObject<ProxyStorage>::Create(IVXSQLStorage::kIid, made.ReceiveVoid()));
    proxy = static_cast<ProxyStorage*>(made.get());
    proxy->inner_ = std::move(inner);
    return made;
  }

  HRESULT Execute(const VXNodePtr& command, VXNodePtr* result) override {
    const std::u16string sql = command.GetString(u"SQL_Command");
    ++batches_;
    switch (mode.load()) {
      case Mode::kRefuse:
        return ReportError(E_FAIL, u": the database is gone");
      case Mode::kFailAtEnd: {
        const VXNodePtr spoiled = command.Clone();
        spoiled.SetString(u"SQL_Command", sql + u"\nSELECT no_such_function();");
        return inner_->Execute(spoiled, result);
      }
      case Mode::kPass:
        break;
    }
    return inner_->Execute(command, result);
  }
  HRESULT Configure(const VXNodePtr& settings) override { return inner_->Configure(settings); }

  size_t BatchCount() const { return batches_; }

  std::atomic<Mode> mode{Mode::kPass};

 private:
  CompPtr<IVXSQLStorage> inner_;
  std::atomic<size_t> batches_{0};
};

// Polls `done` for at most `bound`.
inline bool WaitFor(const std::function<bool()>& done,
                    std::chrono::seconds bound = std::chrono::seconds(10)) {
  using namespace std::chrono_literals;
  const auto deadline = std::chrono::steady_clock::now() + bound;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

// A session id of the tests.
inline GUID SessionId(uint32_t number) {
  return GUID{number, 0x5E55, 0x1D00, {0x8A, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77}};
}

// The member tables in the database, by name.
inline std::set<std::u16string> SessionTables(const CompPtr<IVXSQLStorage>& storage) {
  std::set<std::u16string> names;
  Query(storage,
        u"SELECT name FROM sqlite_master WHERE type = 'table' AND name LIKE 'Members!_%' "
        u"ESCAPE '!'")
      .ForEachChild([&](const VXNodePtr& row) { names.insert(row.GetString(u"name")); });
  return names;
}

// The sessions recorded in the dictionary.
inline std::set<GUID> RecordedSessions(const CompPtr<IVXSQLStorage>& storage) {
  std::set<GUID> ids;
  Query(storage, u"SELECT SessionId FROM MembershipSessions")
      .ForEachChild([&](const VXNodePtr& row) { ids.insert(row.GetGuid(u"SessionId")); });
  return ids;
}

// The two tables' names of a session, as the SQLite catalogue makes them.
inline std::set<std::u16string> TablesOf(const GUID& id) {
  const std::u16string text = FormatGuid(id, 0);
  return {u"Members_" + text + u"_InGroup", u"Members_" + text + u"_NotInGroup"};
}

// The names stored in a member table.
inline MemberSet StoredMembers(const CompPtr<IVXSQLStorage>& storage, const std::u16string& table,
                               const std::u16string& column) {
  MemberSet names;
  Query(storage, u"SELECT " + column + u" FROM " + table).ForEachChild([&](const VXNodePtr& row) {
    names.insert(row.GetString(column));
  });
  return names;
}

}  // namespace QueriesProcessing
