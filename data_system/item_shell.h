// The thin object around an item's delegate.
#pragma once

#include <cstdint>

#include "data_system/interface_ids.h"
#include "data_system/item_delegate.h"

namespace DataSystem {

// Answers for an item's client interface `Interface` (IItem and what derives from it), for
// IItemInternal and for IInitializable, and forwards each to the item's delegate, a member of the
// derived class. It keeps the lifecycle word: bit 0 after a successful Init through IInitializable,
// bit 1 once Destroy has begun. Only the data system object and vector instances are allocated
// alone and ever reach Destroy; every other item is a member of its parent.
template <class Interface>
class CItemShellT : public Common::CExtensible<Interface>, public IItemInternal, public IInitializable {
public:
  static constexpr std::uint32_t kLifecycleInitialized = 0x1;
  static constexpr std::uint32_t kLifecycleDestroying = 0x2;

  void AddRef() override { ItemDelegate().AddRef(); }
  void Release() override { ItemDelegate().Release(); }
  IDataSystem* GetDataSystem() override { return ItemDelegate().GetDataSystem(); }
  IModel* GetModel() override { return ItemDelegate().model; }
  IItem* GetParent() override { return ItemDelegate().parent; }
  std::uint64_t GetIndex() override { return ItemDelegate().GetIndex(); }
  const char16_t* GetPath() override { return ItemDelegate().GetPath(); }
  std::uint64_t GetPhysicalIndex() override { return ItemDelegate().GetPhysicalIndex(); }
  ErrorCode Erase() override { return ItemDelegate().Erase(); }
  int IsAlive() override { return ItemDelegate().IsAlive(); }
  const Common::GUID* GetModelGuid() override { return ItemDelegate().GetModelGuid(); }
  const char16_t* GetModelName() override { return ItemDelegate().GetModelName(); }

  void Destroy() override {
    if ((m_lifecycle & kLifecycleDestroying) != 0) return;
    m_lifecycle |= kLifecycleDestroying;
    if ((m_lifecycle & kLifecycleInitialized) != 0) Uninit();
    delete this;
  }
  std::uint32_t GetRefCount() override { return ItemDelegate().GetRefCount(); }
  std::int64_t GetSubtreeRefCount() override { return ItemDelegate().GetSubtreeRefCount(); }
  IItem* GetRoot() override { return ItemDelegate().GetRoot(); }
  void MarkDeleted(IItem* root) override { ItemDelegate().MarkDeleted(root); }
  void SetOpenMode(std::uint32_t mode) override { ItemDelegate().SetOpenMode(mode); }
  void UpdatePath() override { ItemDelegate().UpdatePath(); }

  ErrorCode Init() override {
    ErrorCode result = InitItem();
    if (result == ErrorNone) m_lifecycle |= kLifecycleInitialized;
    return result;
  }
  void Uninit() override {
    m_lifecycle &= ~kLifecycleInitialized;
    UninitItem();
  }

protected:
  CItemShellT() {
    this->RegisterInterfaceBase(IID_IItem, static_cast<IItem*>(this));
    this->RegisterInterfaceBase(IID_IItemInternal, static_cast<IItemInternal*>(this));
    this->RegisterInterfaceBase(IID_IInitializable, static_cast<IInitializable*>(this));
  }
  virtual ~CItemShellT() = default;
  CItemShellT(const CItemShellT&) = delete;
  CItemShellT& operator=(const CItemShellT&) = delete;

  // What Init and Uninit do beyond the lifecycle word; an item with more to bring up than its
  // delegate replaces them.
  [[nodiscard]] virtual ErrorCode InitItem() { return ItemDelegate().Init(); }
  virtual void UninitItem() { ItemDelegate().Uninit(); }

  std::uint32_t m_lifecycle = 0;

  // The item's delegate, a member of the derived class.
  virtual CItemDelegate& ItemDelegate() = 0;
};

}  // namespace DataSystem
