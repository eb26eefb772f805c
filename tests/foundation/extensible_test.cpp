#include "foundation/extensible.h"

#include <gtest/gtest.h>

namespace {

class ISample : public Common::IExtensible {
public:
  virtual int Value() = 0;
};

class ISecondary {
public:
  virtual ~ISecondary() = default;
  virtual int Other() = 0;
};

constexpr Common::GUID IID_ISample = Common::GuidLiteral("11111111-2222-3333-4444-555555555555");
constexpr Common::GUID IID_ISecondary = Common::GuidLiteral("66666666-7777-8888-9999-AAAAAAAAAAAA");

}  // namespace

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<ISample> =
    "Common::CExtensible<class ISample>::RegisterInterfaceBase";

namespace {

class Sample : public Common::CExtensible<ISample>, public ISecondary {
public:
  Sample() {
    RegisterInterfaceBase(IID_ISample, static_cast<ISample*>(this));
    RegisterInterfaceBase(IID_ISecondary, static_cast<ISecondary*>(this));
  }
  int Value() override { return 1; }
  int Other() override { return 2; }

  void Reregister(const Common::GUID& iid, void* pointer) { RegisterInterfaceBase(iid, pointer); }
};

TEST(ExtensibleTest, AllZeroGuidGivesNull) {
  Sample sample;
  Common::GUID zero;
  EXPECT_EQ(sample.GetInterface(&zero), nullptr);
}

TEST(ExtensibleTest, RootIdentityGivesTheObjectItself) {
  Sample sample;
  EXPECT_EQ(sample.GetInterface(&Common::IID_IExtensible), static_cast<Common::IExtensible*>(&sample));
}

TEST(ExtensibleTest, SecondaryBaseGetsItsOwnSubObjectPointer) {
  Sample sample;
  void* secondary = sample.GetInterface(&IID_ISecondary);
  EXPECT_NE(secondary, static_cast<void*>(static_cast<ISample*>(&sample)));
  EXPECT_EQ(static_cast<ISecondary*>(secondary)->Other(), 2);
  EXPECT_EQ(static_cast<ISample*>(sample.GetInterface(&IID_ISample))->Value(), 1);
}

TEST(ExtensibleTest, SecondRegistrationOfAGuidWins) {
  Sample sample;
  int marker = 0;
  sample.Reregister(IID_ISample, &marker);
  EXPECT_EQ(sample.GetInterface(&IID_ISample), &marker);
}

}  // namespace
