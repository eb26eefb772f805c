// A list of store monitors that is itself a monitor.
#pragma once

#include <cstddef>
#include <list>

#include "data_system/store_monitor.h"
#include "foundation/error.h"

namespace DataSystem {

// Passes each notification to its monitors from first to last, with the same arguments. A scan
// stacks the lists of the stores it passes through in one of these, outermost first, so that a
// change found deep down reaches the monitors of the scan's first store first. It never owns or
// counts its monitors. Used under the tree's lock.
class CStoreMonitorDispatchList : public IStoreMonitor {
public:
  CStoreMonitorDispatchList() = default;
  // Frees the list without calling the monitors; a list that is not empty then is logged, since its
  // owner forgot to unregister.
  ~CStoreMonitorDispatchList() override;
  CStoreMonitorDispatchList(const CStoreMonitorDispatchList&) = delete;
  CStoreMonitorDispatchList& operator=(const CStoreMonitorDispatchList&) = delete;

  void OnValueChange(IValue* value, CNotificationCompletionList* completionList) override;
  void OnItemInsert(IItem* item, CNotificationCompletionList* completionList) override;
  void OnItemErase(IItem* item, CNotificationCompletionList* completionList) override;

  // Appends `monitor` (borrowed). ErrorStlException when the list cannot grow.
  [[nodiscard]] virtual ErrorCode Push(IStoreMonitor* monitor);
  // Removes the last monitor.
  virtual void Pop();

  // The list itself, for registration with AddUnique and removal.
  std::list<IStoreMonitor*> monitors;
};

}  // namespace DataSystem
