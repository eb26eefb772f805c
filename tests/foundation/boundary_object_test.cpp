// Slot 0 of an object that crosses the boundary with the daemon: the contract of Microsoft's scalar
// deleting destructor, whichever interface of the object it is called on.
#include "foundation/boundary_object.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>

#include "foundation/extensible.h"
#include "tests/support/call_slot.h"

namespace {

using Testing::CallSlot;

class IFirst : public Common::IBoundaryObject {
public:
  virtual int First() = 0;

protected:
  ~IFirst() = default;
};

class ISecond : public Common::IBoundaryObject {
public:
  virtual int Second() = 0;

protected:
  ~ISecond() = default;
};

// Counts its destructions in a counter that outlives it.
class Twofold final : public Common::CBoundaryObjectT<IFirst, ISecond> {
public:
  explicit Twofold(int* destroyed) : m_destroyed(destroyed) {}
  ~Twofold() override { ++*m_destroyed; }
  int First() override { return 1; }
  int Second() override { return 2; }

private:
  int* m_destroyed;
};

class ISample : public Common::IExtensible {
public:
  virtual int Value() = 0;

protected:
  ~ISample() = default;
};

class WithOwnDestructor : public Common::IBoundaryObject {
public:
  virtual ~WithOwnDestructor() = default;
};

static_assert(Common::kIsBoundaryInterface<IFirst>);
static_assert(Common::kIsBoundaryInterface<ISample>);
static_assert(!Common::kIsBoundaryInterface<WithOwnDestructor>, "a destructor of the compiler's own takes slots");
static_assert(!std::is_destructible_v<Common::IExtensible>, "delete of an interface pointer must not compile");

}  // namespace

template <>
inline constexpr const char* Common::kRegisterInterfaceBaseName<ISample> =
    "Common::CExtensible<class ISample>::RegisterInterfaceBase";

namespace {

class Sample final : public Common::CExtensible<ISample> {
public:
  explicit Sample(int* destroyed) : m_destroyed(destroyed) {}
  ~Sample() override { ++*m_destroyed; }
  int Value() override { return 7; }

private:
  int* m_destroyed;
};

class IOtherChain : public Common::IExtensible {
public:
  virtual int Other() = 0;

protected:
  ~IOtherChain() = default;
};

constexpr Common::GUID IID_IOtherChain = Common::GuidLiteral("66666666-7777-8888-9999-AAAAAAAAAAAA");

// An extensible object with a second extensible chain, which forwards its share to the first.
class TwoChains final : public Common::CExtensible<ISample>, public IOtherChain {
public:
  explicit TwoChains(int* destroyed) : m_destroyed(destroyed) {
    RegisterInterfaceBase(IID_IOtherChain, static_cast<IOtherChain*>(this));
  }
  ~TwoChains() override { ++*m_destroyed; }
  void* GetInterface(const Common::GUID* iid) override { return CExtensible::GetInterface(iid); }
  int Value() override { return 7; }
  int Other() override { return 8; }

private:
  int* m_destroyed;
};

// Implements the root interface by itself and answers for it with itself, with no slot 0 of its own.
class BareExtensible final : public Common::IExtensible {
public:
  void* GetInterface(const Common::GUID* iid) override { return *iid == Common::IID_IExtensible ? this : nullptr; }
};

TEST(BoundaryObjectTest, OperationsFollowTheOneDestructorSlot) {
  int destroyed = 0;
  Twofold object(&destroyed);
  EXPECT_EQ(CallSlot<int>(static_cast<IFirst*>(&object), 1), 1);
  EXPECT_EQ(CallSlot<int>(static_cast<ISecond*>(&object), 1), 2);
  Sample sample(&destroyed);
  EXPECT_EQ(CallSlot<void*>(static_cast<ISample*>(&sample), 1, &Common::IID_IExtensible),
            static_cast<Common::IExtensible*>(&sample));
  EXPECT_EQ(CallSlot<int>(static_cast<ISample*>(&sample), 2), 7);
}

TEST(BoundaryObjectTest, SlotZeroWithBitZeroDestroysAndFreesTheWholeObjectFromASecondInterface) {
  int destroyed = 0;
  auto* object = new Twofold(&destroyed);
  ISecond* second = object;
  ASSERT_NE(static_cast<void*>(second), static_cast<void*>(object));
  EXPECT_EQ(CallSlot<void*>(second, 0, Common::kDeleteMemory), static_cast<void*>(object));
  EXPECT_EQ(destroyed, 1);
}

TEST(BoundaryObjectTest, SlotZeroWithoutBitZeroDestroysAndLeavesTheMemory) {
  int destroyed = 0;
  alignas(Twofold) unsigned char storage[sizeof(Twofold)];
  auto* object = new (storage) Twofold(&destroyed);
  CallSlot<void*>(static_cast<IFirst*>(object), 0, std::uint32_t{0});
  EXPECT_EQ(destroyed, 1);
}

TEST(BoundaryObjectTest, ExtensibleObjectIsDestroyedThroughSlotZeroOfItsRoot) {
  int destroyed = 0;
  Common::IExtensible* object = new Sample(&destroyed);
  CallSlot<void*>(object, 0, Common::kDeleteMemory);
  EXPECT_EQ(destroyed, 1);
}

TEST(BoundaryObjectTest, SecondExtensibleChainIsDestroyedThroughItsObjectsRoot) {
  int destroyed = 0;
  auto* object = new TwoChains(&destroyed);
  auto* other = static_cast<IOtherChain*>(object->GetInterface(&IID_IOtherChain));
  ASSERT_NE(static_cast<void*>(other), static_cast<void*>(static_cast<ISample*>(object)));
  EXPECT_EQ(CallSlot<int>(other, 2), 8);
  EXPECT_EQ(CallSlot<void*>(other, 0, Common::kDeleteMemory), static_cast<void*>(object));
  EXPECT_EQ(destroyed, 1);
}

TEST(BoundaryObjectTest, ExtensibleObjectWithoutADestructorSlotEndsTheProcessWhenDestroyedThroughIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  BareExtensible object;
  EXPECT_DEATH(Common::DestroyBoundaryObject(&object), "");
}

TEST(BoundaryObjectTest, DestroyBoundaryObjectReplacesDeleteThroughAnInterface) {
  int destroyed = 0;
  Common::DestroyBoundaryObject(static_cast<ISecond*>(new Twofold(&destroyed)));
  Common::DestroyBoundaryObject(nullptr);
  EXPECT_EQ(destroyed, 1);
  { std::unique_ptr<ISample, Common::BoundaryObjectDeleter> owned(new Sample(&destroyed)); }
  EXPECT_EQ(destroyed, 2);
}

TEST(BoundaryObjectTest, DeleteOfTheConcreteClassStillWorks) {
  int destroyed = 0;
  delete new Twofold(&destroyed);
  delete new Sample(&destroyed);
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
