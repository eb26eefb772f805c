// ProductStorageSystem::CSharedStorageSystemHandler: one storage system per product identity in
// the process, so that every data system of a product shares one object, with one lock and one
// set of monitors.
//
// The handler keeps a map from each shared storage system to the identity it was opened for. The
// map does not count: only the references of clients keep a storage system alive, and its final
// release, which the handler hears as its release handler, takes it out of the map. A query for an
// identity that is in the map hands out the same object with a further reference. The handler's
// critical section guards the map and is held while a new storage system is opened, so that two
// threads that ask for one identity get one object. It is not the storage system's own lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "foundation/error.h"
#include "platform/critical_section.h"
#include "storage_system/product_desc.h"
#include "storage_system/release_handler.h"
#include "storage_system/storage_system.h"

namespace ProductStorageSystem {

class CSharedStorageSystemHandler final : public StorageSystem::IReleaseHandler {
public:
  CSharedStorageSystemHandler();
  ~CSharedStorageSystemHandler() override;
  CSharedStorageSystemHandler(const CSharedStorageSystemHandler&) = delete;
  CSharedStorageSystemHandler& operator=(const CSharedStorageSystemHandler&) = delete;

  // Logs the release at level 3 and forgets the storage system. The thread of the last Release.
  void OnFinalRelease(Common::IExtensible* storageSystem) override;

  // The shared storage system of `desc` (its four strings; the path flags are not compared) under
  // `rootSelector` opened with `flags`, opened now if there is none. `*result` receives it with a
  // reference of the caller's own. Returns ErrorNone, the code of a failed open (the map is then
  // unchanged), or ErrorStlException. Any thread.
  [[nodiscard]] ErrorCode QueryStorageSystem(std::int32_t rootSelector, std::uint32_t flags,
                                             const DataSystem::ProductDesc& desc,
                                             StorageSystem::IStorageSystem** result);

  // How many shared storage systems are alive. Any thread.
  std::size_t GetEntryCount();

private:
  // What a shared storage system was opened for.
  struct Record {
    std::int32_t rootSelector = -1;
    std::uint32_t flags = 0;
    std::u16string company;
    std::u16string product;
    std::u16string versionMajor;
    std::u16string versionMinor;
    std::uint64_t pathFlags = 0;
  };

  static Record NewRecord();
  static bool Matches(const Record& record, std::int32_t rootSelector, std::uint32_t flags,
                      const DataSystem::ProductDesc& desc);

  Platform::CRITICAL_SECTION m_lock;
  std::map<StorageSystem::IStorageSystem*, Record> m_storageSystems;
};

// The process's handler, built at the first call and destroyed at the end of the process, asked for
// the storage system of `desc` as QueryStorageSystem says. Any thread.
[[nodiscard]] ErrorCode QuerySharedStorageSystem(std::int32_t rootSelector, StorageSystem::IStorageSystem** result,
                                                 const DataSystem::ProductDesc& desc, std::uint32_t flags);

}  // namespace ProductStorageSystem
