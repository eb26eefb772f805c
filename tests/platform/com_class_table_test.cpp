#include <gtest/gtest.h>

#include <atomic>

#include "platform/com.h"

namespace {

using namespace Platform;

constexpr CLSID kClass = {0x5B0C7E61, 0x1A2B, 0x4C3D, {0x8E, 0x9F, 0x10, 0x21, 0x32, 0x43, 0x54, 0x65}};
constexpr CLSID kUnknownClass = {0x5B0C7E62, 0x1A2B, 0x4C3D, {0x8E, 0x9F, 0x10, 0x21, 0x32, 0x43, 0x54, 0x65}};

// An object whose identity tells which factory made it.
class Made final : public IUnknown {
public:
  explicit Made(int maker) : maker(maker) {}
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (iid != IID_IUnknown) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = this;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++count; }
  ULONG Release() override {
    ULONG left = --count;
    if (left == 0) delete this;
    return left;
  }
  const int maker;
  std::atomic<ULONG> count{1};
};

class Factory final : public IClassFactory {
public:
  explicit Factory(int maker, HRESULT answer = S_OK) : maker(maker), answer(answer) {}
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (iid != IID_IUnknown && iid != IID_IClassFactory) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++count; }
  ULONG Release() override { return --count; }
  HRESULT CreateInstance(IUnknown* outerObject, REFIID iid, void** object) override {
    outer = outerObject;
    if (answer < 0) return answer;
    auto* made = new Made(maker);
    HRESULT result = made->QueryInterface(iid, object);
    made->Release();
    return result;
  }
  HRESULT LockServer(BOOL) override { return S_OK; }

  const int maker;
  const HRESULT answer;
  IUnknown* outer = nullptr;
  std::atomic<ULONG> count{1};
};

int MakerOf(void* object) { return static_cast<Made*>(static_cast<IUnknown*>(object))->maker; }

// COM is initialized on the test's thread: on Windows a class that no table knows goes on to the
// system, which answers CO_E_NOTINITIALIZED on a thread without COM.
class ProcessClassTableTest : public ::testing::Test {
protected:
  ProcessClassTableTest() : m_comInitialized(SUCCEEDED(CoInitialize(nullptr))) {}
  ~ProcessClassTableTest() override {
    SetHostClassObjectLookup(nullptr);
    if (m_comInitialized) CoUninitialize();
  }

private:
  const bool m_comInitialized;
};

TEST_F(ProcessClassTableTest, RegisteredClassIsCreatedThroughItsFactory) {
  Factory factory(1);
  DWORD cookie = 0;
  ASSERT_EQ(RegisterProcessClass(kClass, &factory, &cookie), S_OK);
  EXPECT_EQ(factory.count, 2u);
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(MakerOf(object), 1);
  static_cast<IUnknown*>(object)->Release();
  EXPECT_EQ(RevokeProcessClass(cookie), S_OK);
  EXPECT_EQ(factory.count, 1u);
  EXPECT_EQ(RevokeProcessClass(cookie), E_INVALIDARG);
}

TEST_F(ProcessClassTableTest, UnknownClassIsNotRegistered) {
  void* object = &object;
  EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
}

TEST_F(ProcessClassTableTest, NewestRegistrationHidesTheOlderUntilRevoked) {
  Factory older(1);
  Factory newer(2);
  DWORD olderCookie = 0;
  DWORD newerCookie = 0;
  ASSERT_EQ(RegisterProcessClass(kClass, &older, &olderCookie), S_OK);
  ASSERT_EQ(RegisterProcessClass(kClass, &newer, &newerCookie), S_OK);
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(MakerOf(object), 2);
  static_cast<IUnknown*>(object)->Release();
  ASSERT_EQ(RevokeProcessClass(newerCookie), S_OK);
  ASSERT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(MakerOf(object), 1);
  static_cast<IUnknown*>(object)->Release();
  ASSERT_EQ(RevokeProcessClass(olderCookie), S_OK);
}

TEST_F(ProcessClassTableTest, FactoryFailureIsFinalAndLeavesNull) {
  Factory failing(1, CLASS_E_CLASSNOTAVAILABLE);
  DWORD cookie = 0;
  ASSERT_EQ(RegisterProcessClass(kClass, &failing, &cookie), S_OK);
  void* object = &object;
  EXPECT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  RevokeProcessClass(cookie);
}

TEST_F(ProcessClassTableTest, OuterObjectIsPassedToTheFactory) {
  Factory factory(1);
  DWORD cookie = 0;
  ASSERT_EQ(RegisterProcessClass(kClass, &factory, &cookie), S_OK);
  Made outer(0);
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(kClass, &outer, CLSCTX_ALL, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(factory.outer, &outer);
  static_cast<IUnknown*>(object)->Release();
  RevokeProcessClass(cookie);
}

TEST_F(ProcessClassTableTest, BadArgumentsAreRefused) {
  Factory factory(1);
  DWORD cookie = 0;
  void* object = nullptr;
  EXPECT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_ALL, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(CoCreateInstance(kClass, nullptr, 0, IID_IUnknown, &object), E_INVALIDARG);
  EXPECT_EQ(RegisterProcessClass(kClass, nullptr, &cookie), E_POINTER);
  EXPECT_EQ(RegisterProcessClass(kClass, &factory, nullptr), E_POINTER);
  EXPECT_EQ(GetProcessClassObject(kClass, IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(ProcessClassTableTest, ClassObjectIsHandedOutForAHostsLibraries) {
  Factory factory(1);
  DWORD cookie = 0;
  ASSERT_EQ(RegisterProcessClass(kClass, &factory, &cookie), S_OK);
  void* object = nullptr;
  ASSERT_EQ(GetProcessClassObject(kClass, IID_IClassFactory, &object), S_OK);
  EXPECT_EQ(object, static_cast<IClassFactory*>(&factory));
  static_cast<IClassFactory*>(object)->Release();
  EXPECT_EQ(GetProcessClassObject(kUnknownClass, IID_IClassFactory, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
  RevokeProcessClass(cookie);
}

// What a host's table answers, as a library sees it.
Factory hostFactory(7);
HRESULT HostLookup(REFCLSID clsid, REFIID iid, void** object) {
  if (clsid != kUnknownClass) {
    *object = nullptr;
    return REGDB_E_CLASSNOTREG;
  }
  return hostFactory.QueryInterface(iid, object);
}

TEST_F(ProcessClassTableTest, HostTableIsAskedAfterTheOwnOne) {
  SetHostClassObjectLookup(&HostLookup);
  void* object = nullptr;
  ASSERT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(MakerOf(object), 7);
  static_cast<IUnknown*>(object)->Release();
  EXPECT_EQ(hostFactory.count, 1u);

  Factory own(1);
  DWORD cookie = 0;
  ASSERT_EQ(RegisterProcessClass(kUnknownClass, &own, &cookie), S_OK);
  ASSERT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object), S_OK);
  EXPECT_EQ(MakerOf(object), 1);
  static_cast<IUnknown*>(object)->Release();
  RevokeProcessClass(cookie);

  SetHostClassObjectLookup(nullptr);
  EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_ALL, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
}

TEST_F(ProcessClassTableTest, TaskMemoryIsAllocatedAndFreed) {
  void* block = CoTaskMemAlloc(64);
  ASSERT_NE(block, nullptr);
  static_cast<char*>(block)[63] = 1;
  CoTaskMemFree(block);
  CoTaskMemFree(nullptr);
}

}  // namespace
