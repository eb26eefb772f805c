// The value item: one typed datum of the tree with its place in storage and its cache.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

#include "data_system/item_shell.h"
#include "data_system/storage_system_item.h"
#include "data_system/store.h"
#include "data_system/value.h"
#include "data_system/value_delegate.h"
#include "data_system/value_holder.h"
#include "platform/synchronization.h"
#include "storage_system/lock_guard.h"
#include "storage_system/storage_flags.h"
#include "storage_system/storage_system.h"

namespace DataSystem {

// A value of type T (bool, unsigned int, WideString or Common::GUID). Get and Set turn into reads
// and writes of a storage value; the value keeps the last data seen, and Refresh tells its store's
// scan whether storage changed since, which is how OnValueChange comes about, for this process as
// for others. Where a write also updates the cache (CACHE_ON_WRITE), the scan finds nothing: a
// process does not hear its own writes, unless it runs in LOCAL_ON mode.
//
// Get, Set and Refresh of a fixed-size value take no lock and run on the caller's thread; a wide
// string's Set takes the tree's lock and its Get none, so a client that reads a string on one thread
// while another writes it orders the two itself. Refresh runs under the tree's lock, in a scan. A
// deleted value keeps its storage handle, and its reads and writes keep going to storage.
template <class T>
class CValueT : public CItemShellT<IValueT<T>>, public IStorageSystemValue {
public:
  using ModelType = IValueModel;
  using Pointer = typename IValueT<T>::Pointer;
  static constexpr bool kIsString = std::is_same_v<T, WideString>;

  // `model` is the value's model, `parent` its store; neither is counted. The last step lists the
  // value with its parent.
  CValueT(IValueModel* model, IItem* parent)
      : m_delegate(this, model, parent), m_writeLock(kIsString ? parent->GetDataSystem()->GetLock() : nullptr),
        m_model(model) {
    this->RegisterInterfaceBase(IID_IValue, static_cast<IValue*>(this));
    this->RegisterInterfaceBase(kValueInterfaceId<T>, static_cast<IValueT<T>*>(this));
    this->RegisterInterfaceBase(IID_IStorageSystemItem, static_cast<IStorageSystemItem*>(this));
    this->RegisterInterfaceBase(IID_IStorageSystemValue, static_cast<IStorageSystemValue*>(this));
    m_delegate.AttachToParent();
  }
  ~CValueT() override { m_delegate.DetachFromParent(); }

  // Writes the default of this item, through the bound check of a bounded value. `flags` is unused.
  ErrorCode Reset(std::uint32_t) override { return this->Set(GetDefault()); }
  const ITypeDescription* GetTypeDescription() override { return m_delegate.GetType(); }
  const Common::GUID* GetValueInterfaceGuid() override { return &kValueInterfaceId<T>; }

  Pointer Get() override {
    auto& holder = m_holder;
    if constexpr (kIsString) {
      if ((holder.cacheMode & CACHE_NONE) != 0)
        static_cast<void>(ReadString(holder.buffer, holder.capacity, holder.length));
      if (holder.buffer == nullptr && (holder.cacheMode & CACHE_LAZY) != 0) {
        static_cast<void>(ReadString(holder.buffer, holder.capacity, holder.length));
      }
      return holder.buffer;
    } else {
      if ((holder.cacheMode & CACHE_NONE) != 0 || (holder.cacheValid == 0 && (holder.cacheMode & CACHE_LAZY) != 0)) {
        // A failed read leaves the last value, or zero.
        if (holder.storageValue->Read(&holder.cached, sizeof(holder.cached)) == ErrorNone) holder.cacheValid = 1;
      }
      return reinterpret_cast<Pointer>(&holder.cached);
    }
  }

  ErrorCode Set(Pointer value) override {
    if constexpr (kIsString) {
      return SetString(value);
    } else {
      return WriteFixed(value);
    }
  }

  Pointer GetDefault() override {
    return static_cast<Pointer>(m_model->GetDefaultValue(m_delegate.GetIndex(), nullptr));
  }
  Pointer GetMinimum() override { return static_cast<Pointer>(m_model->GetMinimum(nullptr)); }
  Pointer GetMaximum() override { return static_cast<Pointer>(m_model->GetMaximum(nullptr)); }

  const char16_t* GetStoragePath() override { return m_delegate.storagePath.c_str(); }
  StorageSystem::IStore* GetStorageStore() override { return m_delegate.storageStore; }
  IStore* GetStore() override { return m_delegate.placeStore; }

  const void* GetDefaultBytes(std::uint32_t* size) override {
    return m_model->GetDefaultValue(m_delegate.GetIndex(), size);
  }

  ErrorCode Refresh(bool* changed) override {
    auto& holder = m_holder;
    if constexpr (kIsString) {
      char16_t* fresh = nullptr;
      std::uint64_t freshCapacity = 0, freshLength = 0;
      ErrorCode result = ReadString(fresh, freshCapacity, freshLength);
      if (result != ErrorNone) return result;
      if (holder.buffer != nullptr && freshLength == holder.length &&
          std::memcmp(fresh, holder.buffer, static_cast<std::size_t>(freshLength)) == 0) {
        *changed = false;
        Allocator()->Free(fresh);
        return ErrorNone;
      }
      *changed = true;
      Allocator()->Free(holder.buffer);
      holder.buffer = fresh;
      holder.capacity = freshCapacity;
      holder.length = freshLength;
      return ErrorNone;
    } else {
      CacheType<T> previous = holder.cached;
      ErrorCode result = holder.storageValue->Read(&holder.cached, sizeof(holder.cached));
      if (result != ErrorNone) return result;
      *changed = std::memcmp(&previous, &holder.cached, sizeof(previous)) != 0;
      return ErrorNone;
    }
  }

  void SetCacheMode(std::uint32_t mode) override { m_holder.cacheMode = mode; }

protected:
  // Writes `size` bytes of `value` and, under CACHE_ON_WRITE, caches them. The write's code.
  [[nodiscard]] ErrorCode WriteFixed(Pointer value) {
    ErrorCode result = m_holder.storageValue->Write(value, sizeof(m_holder.cached));
    if (result != ErrorNone) return result;
    if ((m_holder.cacheMode & CACHE_ON_WRITE) != 0) std::memcpy(&m_holder.cached, value, sizeof(m_holder.cached));
    return ErrorNone;
  }

  // Opens the storage value, creating it with the default where allowed, and reads it once. A read
  // that keeps failing is given up after eleven attempts with 1 ms between them: Init succeeds all
  // the same, and the first Get tries again.
  [[nodiscard]] ErrorCode InitItem() override {
    ErrorCode result = m_delegate.Init();
    if (result != ErrorNone) return result;
    std::uint32_t defaultSize = 0;
    const void* defaultData = GetDefaultBytes(&defaultSize);
    result = m_delegate.storageStore->OpenValue(m_delegate.storagePath.c_str(), &m_holder.storageValue,
                                                m_delegate.accessWord | StorageSystem::SF_INHERIT, m_delegate.GetType(),
                                                defaultData, defaultSize);
    if (result != ErrorNone) {
      m_delegate.Uninit();
      return result;
    }
    result = ReadOnce();
    for (int attempt = 0; result != ErrorNone && attempt < 10; ++attempt) {
      Platform::Sleep(1);
      result = ReadOnce();
    }
    return ErrorNone;
  }

  void UninitItem() override {
    m_holder.ResetHandle();
    m_delegate.Uninit();
  }
  CItemDelegate& ItemDelegate() final { return m_delegate; }

  CValueDelegate m_delegate;
  CValueHolderT<T> m_holder;
  // The tree's lock, which a wide string's Set takes.
  StorageSystem::ILock* const m_writeLock;
  IValueModel* const m_model;

private:
  ErrorCode ReadOnce() {
    if constexpr (kIsString) {
      bool changed = false;
      return Refresh(&changed);
    } else {
      ErrorCode result = m_holder.storageValue->Read(&m_holder.cached, sizeof(m_holder.cached));
      if (result == ErrorNone) m_holder.cacheValid = 1;
      return result;
    }
  }

  StorageSystem::IAllocator* Allocator() {
    if (m_holder.allocator == nullptr) {
      m_holder.allocator = m_holder.storageValue->GetStorageSystem()->GetProperties()->GetAllocator();
    }
    return m_holder.allocator;
  }

  // Reads the string into `buffer`, which the storage replaces by a larger block of its allocator
  // when needed; `length` gets the byte length with the terminator.
  [[nodiscard]] ErrorCode ReadString(char16_t*& buffer, std::uint64_t& capacity, std::uint64_t& length) {
    void* block = buffer;
    auto blockCapacity = static_cast<std::uint32_t>(capacity);
    std::uint32_t size = 0;
    Allocator();
    ErrorCode result = m_holder.storageValue->ReadRealloc(&block, &blockCapacity, &size);
    buffer = static_cast<char16_t*>(block);
    capacity = blockCapacity;
    if (result == ErrorNone) length = size;
    return result;
  }

  [[nodiscard]] ErrorCode SetString(const char16_t* text) {
    auto& holder = m_holder;
    StorageSystem::CLockGuard guard(m_writeLock);
    std::uint32_t size =
        text == nullptr ? 0 : static_cast<std::uint32_t>(2 * std::char_traits<char16_t>::length(text) + 2);
    ErrorCode result = holder.storageValue->Write(text, size);
    if (result != ErrorNone) return result;
    if (holder.cacheMode == 0) return ErrorNone;
    static constexpr unsigned char kNullText[16] = {};
    std::uint64_t wanted = text == nullptr ? sizeof(kNullText) : size;
    if (holder.capacity < wanted || wanted < holder.capacity / 2) {
      auto* fresh = static_cast<char16_t*>(Allocator()->Alloc(static_cast<std::size_t>(wanted)));
      if (fresh != nullptr) {
        Allocator()->Free(holder.buffer);
        holder.buffer = fresh;
        holder.capacity = wanted;
        holder.length = size;
      } else if (holder.capacity < wanted) {
        return ErrorOutOfMemory;
      }
    }
    // DELIBERATE: a shorter string that fits the old block leaves the recorded length as it was;
    // the next Refresh sees a difference and corrects it.
    std::memcpy(holder.buffer, text != nullptr ? static_cast<const void*>(text) : kNullText,
                static_cast<std::size_t>(wanted));
    return ErrorNone;
  }
};

}  // namespace DataSystem
