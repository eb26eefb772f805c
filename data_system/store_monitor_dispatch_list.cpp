#include "data_system/store_monitor_dispatch_list.h"

#include <exception>

#include "foundation/log.h"

namespace DataSystem {

CStoreMonitorDispatchList::~CStoreMonitorDispatchList() {
  if (!monitors.empty()) {
    LogWrite(LogLevelWarning, kLogTag,
             u"WARNING: Monitor list for CStoreMonitorDispatchList 0x%p is not empty. This may indicate a memory leak "
             u"on the caller side.",
             static_cast<void*>(this));
  }
}

void CStoreMonitorDispatchList::OnValueChange(IValue* value, CNotificationCompletionList* completionList) {
  for (IStoreMonitor* monitor : monitors) monitor->OnValueChange(value, completionList);
}

void CStoreMonitorDispatchList::OnItemInsert(IItem* item, CNotificationCompletionList* completionList) {
  for (IStoreMonitor* monitor : monitors) monitor->OnItemInsert(item, completionList);
}

void CStoreMonitorDispatchList::OnItemErase(IItem* item, CNotificationCompletionList* completionList) {
  for (IStoreMonitor* monitor : monitors) monitor->OnItemErase(item, completionList);
}

ErrorCode CStoreMonitorDispatchList::Push(IStoreMonitor* monitor) {
  try {
    monitors.push_back(monitor);
  } catch (const std::exception& e) {
    return RaiseStlException("DataSystem::CStoreMonitorDispatchList::Push", e.what());
  }
  return ErrorNone;
}

void CStoreMonitorDispatchList::Pop() { monitors.pop_back(); }

}  // namespace DataSystem
