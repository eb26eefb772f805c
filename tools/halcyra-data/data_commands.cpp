#include "tools/halcyra-data/data_commands.h"

#include <cstdint>

#include "data_system/interface_ids.h"
#include "data_system/model.h"
#include "data_system/storage_system_item.h"
#include "data_system/value.h"
#include "foundation/format.h"
#include "platform/com_ptr.h"
#include "platform/utf.h"
#include "storage_system/storage_system.h"
#include "tools/halcyra-data/data_console.h"
#include "tools/halcyra-data/item_text.h"

namespace HalcyraData {

using namespace DataSystem;

namespace {

// Holds a reference on an item for the length of a command.
using HeldItem = Platform::ComPtr<IItem>;

[[nodiscard]] ErrorCode Find(IDataSystem* dataSystem, const std::u16string& path, HeldItem& held) {
  ErrorCode status = dataSystem->GetItemRef(path.c_str(), held.Put());
  return status == ErrorNone ? ErrorNone : Fail("no such item", status);
}

// Prints each store and value below `store`, values first, depth first.
class ListingTarget : public IItemEnumTarget {
public:
  ErrorCode OnEnumeratedItem(IItem* item, bool*) override {
    ItemKind kind = KindOf(item);
    if (kind != ItemKind::Store) {
      PrintLine(DisplayPath(item) + u"  " + KindName(kind) + u"  " + CurrentValue(item));
      return ErrorNone;
    }
    PrintLine(DisplayPath(item) + u"  store");
    constexpr ItemEnumFilter kDirect{0, nullptr, nullptr};
    ListingTarget inner;
    return static_cast<IStore*>(item->GetInterface(&IID_IStore))->EnumItems(&inner, &kDirect);
  }
};

// Prints "name: text" with the model's data at `data` of `kind`.
void PrintData(const char16_t* name, ItemKind kind, const void* data) {
  PrintLine(std::u16string(name) + u": " + FormatValue(kind, data));
}

}  // namespace

ErrorCode List(IDataSystem* dataSystem) {
  ListingTarget target;
  constexpr ItemEnumFilter kDirect{0, nullptr, nullptr};
  ErrorCode status = dataSystem->EnumItems(&target, &kDirect);
  return status == ErrorNone ? ErrorNone : Fail("list", status);
}

ErrorCode Get(IDataSystem* dataSystem, const std::u16string& path) {
  HeldItem held;
  if (ErrorCode status = Find(dataSystem, path, held); status != ErrorNone) return status;
  if (KindOf(held.Get()) == ItemKind::Store) {
    return Fail("get",
                RaiseError("halcyra-data", ErrorInvalidOperation, u"'%s' is a store, not a value", path.c_str()));
  }
  PrintLine(CurrentValue(held.Get()));
  return ErrorNone;
}

ErrorCode Set(IDataSystem* dataSystem, const std::u16string& path, const std::u16string& value) {
  HeldItem held;
  if (ErrorCode status = Find(dataSystem, path, held); status != ErrorNone) return status;
  ErrorCode status = SetFromText(held.Get(), value);
  return status == ErrorNone ? ErrorNone : Fail("set", status);
}

ErrorCode Reset(IDataSystem* dataSystem, const std::u16string& path) {
  HeldItem held;
  if (ErrorCode status = Find(dataSystem, path, held); status != ErrorNone) return status;
  ErrorCode status = held->Reset(0);
  return status == ErrorNone ? ErrorNone : Fail("reset", status);
}

ErrorCode Insert(IDataSystem* dataSystem, const std::u16string& path) {
  std::size_t dot = path.rfind(u'.');
  const std::u16string vector = dot == std::u16string::npos ? path : path.substr(dot + 1);
  IStore* store = dataSystem;
  HeldItem held;
  if (dot != std::u16string::npos) {
    if (ErrorCode status = Find(dataSystem, path.substr(0, dot), held); status != ErrorNone) return status;
    store = static_cast<IStore*>(held->GetInterface(&IID_IStore));
    if (store == nullptr) return Fail("insert", ErrorInvalidOperation);
  }
  HeldItem inserted;
  ErrorCode status = store->InsertDefaultItemByNameRef(vector.c_str(), inserted.Put());
  if (status != ErrorNone) return Fail("insert", status);
  PrintLine(DisplayPath(inserted.Get()));
  return ErrorNone;
}

ErrorCode Erase(IDataSystem* dataSystem, const std::u16string& path) {
  HeldItem held;
  if (ErrorCode status = Find(dataSystem, path, held); status != ErrorNone) return status;
  ErrorCode status = held->Erase();
  return status == ErrorNone ? ErrorNone : Fail("erase (only vector instances can be erased)", status);
}

ErrorCode Describe(IDataSystem* dataSystem, const std::u16string& path) {
  HeldItem held;
  if (ErrorCode status = Find(dataSystem, path, held); status != ErrorNone) return status;
  IItem* item = held.Get();
  ItemKind kind = KindOf(item);
  char16_t guid[Common::GUID::kTextCapacity];
  PrintLine(u"path: " + DisplayPath(item));
  PrintLine(u"model: " + std::u16string(item->GetModelGuid()->ToString(guid)) + u" " + item->GetModelName());
  PrintLine(std::u16string(u"type: ") + KindName(kind));
  if (auto* valueModel = static_cast<IValueModel*>(item->GetModel()->GetInterface(&IID_IValueModel))) {
    std::uint32_t size = 0;
    PrintData(u"default", kind, valueModel->GetDefaultValue(item->GetIndex(), &size));
    if (const void* minimum = valueModel->GetMinimum(&size)) PrintData(u"minimum", kind, minimum);
    if (const void* maximum = valueModel->GetMaximum(&size)) PrintData(u"maximum", kind, maximum);
  } else if (auto* storeModel = static_cast<IStoreModel*>(item->GetModel()->GetInterface(&IID_IStoreModel))) {
    char16_t flags[16];
    FormatBounded(flags, 16, u"0x%X", storeModel->GetFlags());
    PrintLine(std::u16string(u"model flags: ") + flags);
  }
  auto* place = static_cast<IStorageSystemItem*>(item->GetInterface(&IID_IStorageSystemItem));
  if (place != nullptr && place->GetStorageStore() != nullptr) {
    char16_t* storePath = nullptr;
    std::u16string where = u"?";
    StorageSystem::IStore* store = place->GetStorageStore();
    if (store->QueryAllocAbsolutePath(&storePath) == ErrorNone) {
      where = storePath;
      store->GetStorageSystem()->GetProperties()->GetAllocator()->Free(storePath);
    }
    PrintLine(u"storage store: " + where);
    PrintLine(std::u16string(u"storage path: ") + place->GetStoragePath());
  }
  return ErrorNone;
}

}  // namespace HalcyraData
