#include "platform/com.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/platform_kind.h"

namespace {

using namespace Platform;

// A minimal outer object for aggregation: counts its references.
class Outer final : public IUnknown {
public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IUnknown) {
      *object = this;
      AddRef();
      return S_OK;
    }
    return inner != nullptr ? inner->QueryInterface(iid, object) : E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++count; }
  ULONG Release() override { return --count; }
  ULONG count = 1;
  IUnknown* inner = nullptr;
};

TEST(ComTest, FirstInitializeOfAThreadGivesOkAndLaterOnesFalse) {
  std::thread([] {
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    CoUninitialize();
  }).join();
}

TEST(ComTest, FreeThreadedMarshalerIsAggregatedByItsOuterObject) {
  Outer outer;
  IUnknown* inner = nullptr;
  ASSERT_EQ(CoCreateFreeThreadedMarshaler(&outer, &inner), S_OK);
  outer.inner = inner;
  void* marshal = nullptr;
  ASSERT_EQ(inner->QueryInterface(IID_IMarshal, &marshal), S_OK);
  EXPECT_EQ(outer.count, 2u);  // the marshaler's interface counts on the outer object
  static_cast<IMarshal*>(marshal)->Release();
  EXPECT_EQ(outer.count, 1u);
  void* unknown = nullptr;
  ASSERT_EQ(static_cast<IMarshal*>(marshal)->QueryInterface(IID_IUnknown, &unknown), S_OK);
  EXPECT_EQ(unknown, &outer);
  outer.Release();
  inner->Release();
}

TEST(ComTest, FreeThreadedMarshalerRefusesNullArguments) {
  if (Testing::kRunningOnWindows) {
    GTEST_SKIP() << "Windows makes a marshaler without an outer object and does not check the out pointer";
  }
  IUnknown* inner = nullptr;
  EXPECT_EQ(CoCreateFreeThreadedMarshaler(nullptr, &inner), E_INVALIDARG);
  Outer outer;
  EXPECT_EQ(CoCreateFreeThreadedMarshaler(&outer, nullptr), E_INVALIDARG);
}

}  // namespace
