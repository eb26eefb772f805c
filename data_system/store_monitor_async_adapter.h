// The stand-in of a monitor that is registered for asynchronous delivery.
#pragma once

#include <cstdint>

#include "data_system/store_monitor.h"

namespace DataSystem {

// Stands in the store's list for a client's monitor and turns each notification into a work item of
// the system pool, which calls the client's monitor there, without the tree's lock and with a null
// completion list. The item is referenced until the work item has run, so it stays a valid object
// even if it is deleted meanwhile. The work item holds the client's monitor, not this adapter: a
// delivery queued before UnregisterMonitor can still arrive after it, and the client's monitor must
// outlive it. A failed delivery is logged and lost, not retried.
class CStoreMonitorAsyncAdapter : public IStoreMonitor {
public:
  // The kinds of a queued notification.
  enum Kind : std::uint32_t { KindValueChange = 0, KindItemInsert = 1, KindItemErase = 2 };

  // `monitor` is the client's, borrowed.
  explicit CStoreMonitorAsyncAdapter(IStoreMonitor* monitor) : monitor(monitor) {}

  void OnValueChange(IValue* value, CNotificationCompletionList* completionList) override;
  void OnItemInsert(IItem* item, CNotificationCompletionList* completionList) override;
  void OnItemErase(IItem* item, CNotificationCompletionList* completionList) override;

  IStoreMonitor* const monitor;

private:
  // Queues the notification of `kind` about `item`; the scanning thread, under the tree's lock.
  void SetAsyncNotif(IItem* item, Kind kind);
};

}  // namespace DataSystem
