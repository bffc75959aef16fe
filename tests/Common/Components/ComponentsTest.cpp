#include <gtest/gtest.h>

#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "Common/Components/CompPtr.h"
#include "Common/Components/ComponentObject.h"
#include "Common/Components/ModuleObject.h"
#include "Common/Logger.h"
#include "tests/Common/LogCapture.h"

namespace {

std::vector<std::string> gEvents;

struct ITestA : IComponent {
  static inline const GUID kIid = MakeGuid(u"{11111111-0000-0000-0000-000000000001}");
  virtual int Value() = 0;
};
struct ITestB : IComponent {
  static inline const GUID kIid = MakeGuid(u"{11111111-0000-0000-0000-000000000002}");
};

class CTestComponent : public CComponentBase,
                       public ITestA,
                       public ITestB,
                       public IWeakReferenceSource {
 public:
  using Interfaces = std::tuple<ITestA, ITestB, IWeakReferenceSource>;
  static inline bool failConstruct = false;
  // Thrown by FinalConstruct when set.
  static inline void (*raise)() = nullptr;

  HRESULT FinalConstruct() {
    if (raise) raise();
    return failConstruct ? E_FAIL : S_OK;
  }
  void FinalRelease() { gEvents.push_back("FinalRelease"); }
  ~CTestComponent() { gEvents.push_back("destructor"); }
  int Value() override { return 42; }
  HRESULT GetWeakReference(IWeakReference** out) override {
    return GetWeakReferenceFor(static_cast<ITestA*>(this), out);
  }
};

const GUID kTestClass = MakeGuid(u"{11111111-0000-0000-0000-0000000000C1}");
const ClassRegistration<CTestComponent> kRegistration(kTestClass);

CompPtr<IModuleObject> Module() {
  CompPtr<IModuleObject> module;
  EXPECT_EQ(GetComponentsModuleObject(&IModuleObject::kIid, module.ReceiveVoid()), S_OK);
  return module;
}

int32_t ModuleLocks() {
  auto module = Module();
  module->Lock();
  return module->Unlock();
}

TEST(ModuleObjectTest, Failures) {
  void* out = nullptr;
  EXPECT_EQ(GetComponentsModuleObject(nullptr, &out), E_INVALIDARG);
  EXPECT_EQ(GetComponentsModuleObject(&IModuleObject::kIid, nullptr), E_INVALIDARG);
  EXPECT_EQ(GetComponentsModuleObject(&ITestA::kIid, &out), E_NOINTERFACE);
  auto module = Module();
  EXPECT_EQ(module->GetClassObject(MakeGuid(u"{99999999-0000-0000-0000-000000000000}"),
                                   ITestA::kIid, &out),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(module->CanUnload(nullptr), E_POINTER);
  EXPECT_EQ(module->Nop(), S_OK);
}

TEST(ComponentObjectTest, LifetimeAndInterfaces) {
  const int32_t locksBefore = ModuleLocks();
  gEvents.clear();
  CompPtr<ITestA> a;
  ASSERT_EQ(Module()->GetClassObject(kTestClass, ITestA::kIid, a.ReceiveVoid()), S_OK);
  EXPECT_EQ(a->Value(), 42);
  EXPECT_EQ(ModuleLocks(), locksBefore + 1);
  bool busy = false;
  Module()->CanUnload(&busy);
  EXPECT_TRUE(busy);

  CompPtr<ITestB> b = a.As<ITestB>();
  EXPECT_TRUE(b);
  EXPECT_FALSE(a.As<IShutdown>());
  void* unknown = nullptr;
  EXPECT_EQ(a->QueryInterface(IComponent::kIid, &unknown), S_OK);
  EXPECT_EQ(unknown, static_cast<IComponent*>(a.get()));
  static_cast<IComponent*>(unknown)->Release();
  EXPECT_EQ(a->QueryInterface(ITestB::kIid, nullptr), E_INVALIDARG);

  CompPtr<IWeakReference> weak;
  ASSERT_EQ(a.As<IWeakReferenceSource>()->GetWeakReference(weak.Receive()), S_OK);
  CompPtr<ITestA> resolved;
  EXPECT_EQ(weak->Resolve(ITestA::kIid, resolved.ReceiveVoid()), S_OK);
  EXPECT_EQ(resolved.get(), a.get());
  resolved = CompPtr<ITestA>();

  a = CompPtr<ITestA>();
  EXPECT_TRUE(gEvents.empty());  // b still holds the object
  b = CompPtr<ITestB>();
  EXPECT_EQ(gEvents, (std::vector<std::string>{"FinalRelease", "destructor"}));
  EXPECT_EQ(ModuleLocks(), locksBefore);
  EXPECT_EQ(weak->Resolve(ITestA::kIid, resolved.ReceiveVoid()),
            E_NOINTERFACE);  // the weak one outlives it
  EXPECT_FALSE(resolved);
}

TEST(ComponentObjectTest, FailingConstructionLeavesNothing) {
  const int32_t locksBefore = ModuleLocks();
  gEvents.clear();
  CTestComponent::failConstruct = true;
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(Module()->GetClassObject(kTestClass, ITestA::kIid, &out), E_FAIL);
  CTestComponent::failConstruct = false;
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(gEvents, (std::vector<std::string>{"FinalRelease", "destructor"}));
  EXPECT_EQ(ModuleLocks(), locksBefore);
  EXPECT_EQ(Module()->GetClassObject(kTestClass, IShutdown::kIid, &out),
            E_NOINTERFACE);  // no such interface
  EXPECT_EQ(ModuleLocks(), locksBefore);
}

// An exception of a class's construction leaves the module object as a
// status, with the exception's text as the error information, and leaves no
// object and no module lock behind.
TEST(ComponentObjectTest, ExceptionsOfTheConstructionBecomeStatuses) {
  const struct {
    void (*raise)();
    HRESULT expected;
    const char16_t* text;
  } cases[] = {
      {[] { throw std::bad_alloc(); }, E_OUTOFMEMORY, u": std::bad_alloc"},
      {[] { throw std::invalid_argument("bad width"); }, E_INVALIDARG, u": bad width"},
      {[] { throw std::out_of_range("past the end"); }, E_INVALIDARG, u": past the end"},
      {[] { throw std::length_error("too long"); }, E_FAIL, u": too long"},
      {[] { throw 42; }, E_FAIL, u": an exception of unknown type"},
      {[] { throw HRX(HRES::Quiet(E_NOTFOUND)); }, E_NOTFOUND, u"Element not found"},
  };
  const int32_t locksBefore = ModuleLocks();
  for (const auto& c : cases) {
    gEvents.clear();
    CTestComponent::raise = c.raise;
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(Module()->GetClassObject(kTestClass, ITestA::kIid, &out), c.expected);
    CTestComponent::raise = nullptr;
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(gEvents, (std::vector<std::string>{"FinalRelease", "destructor"}));
    EXPECT_EQ(ModuleLocks(), locksBefore);
    const auto info = GetErrorInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->code, c.expected);
    EXPECT_TRUE(info->description.ends_with(c.text)) << ToUtf8(info->description);
  }
}

TEST(DbgAliveObjectsTrackerTest, RecordsOnlyWhenEnabledAndNamesClassesReadably) {
  DbgAliveObjectsTracker off(false, 0);
  int object = 0;
  off.Add(&object, typeid(CTestComponent));
  EXPECT_EQ(off.Count(), 0u);
  DbgAliveObjectsTracker on(true, 0);
  on.Add(&object, typeid(CTestComponent));
  EXPECT_EQ(on.Count(), 1u);

  LogCapture& capture = LogCapture::Instance();
  capture.Take();
  SetMaxSeverity(Severity::WARN);
  on.Dump();
  off.Dump();  // tracking off: nothing
  SetMaxSeverity(Severity::ERR);
  const auto lines = capture.Take();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0].find("Alive component objects: 1"), std::string::npos);
  EXPECT_NE(lines[1].find("ObjTag='CComponentObject<class (anonymous "
                          "namespace)::CTestComponent>::CComponentObject' "),
            std::string::npos)
      << lines[1];

  on.Remove(&object);
  EXPECT_EQ(on.Count(), 0u);
}

}  // namespace
