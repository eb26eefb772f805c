#include "data_system/store_monitor_async_adapter.h"

#include <new>

#include "data_system/interface_ids.h"
#include "data_system/item_delegate.h"
#include "data_system/value.h"
#include "foundation/log.h"
#include "platform/system_error.h"
#include "platform/thread_pool.h"

namespace DataSystem {

namespace {

// What one work item carries; the work item owns it and the reference on `item`.
struct AsyncNotification {
  IStoreMonitor* monitor;
  IItem* item;
  CStoreMonitorAsyncAdapter::Kind kind;
};

Platform::DWORD DeliverAsyncNotification(void* context) {
  auto* record = static_cast<AsyncNotification*>(context);
  switch (record->kind) {
    case CStoreMonitorAsyncAdapter::KindValueChange:
      record->monitor->OnValueChange(QueryItemInterface<IValue>(record->item, IID_IValue), nullptr);
      break;
    case CStoreMonitorAsyncAdapter::KindItemInsert:
      record->monitor->OnItemInsert(record->item, nullptr);
      break;
    case CStoreMonitorAsyncAdapter::KindItemErase:
      record->monitor->OnItemErase(record->item, nullptr);
      break;
  }
  record->item->Release();
  delete record;
  return 0;
}

}  // namespace

void CStoreMonitorAsyncAdapter::OnValueChange(IValue* value, CNotificationCompletionList*) {
  SetAsyncNotif(value, KindValueChange);
}

void CStoreMonitorAsyncAdapter::OnItemInsert(IItem* item, CNotificationCompletionList*) {
  SetAsyncNotif(item, KindItemInsert);
}

void CStoreMonitorAsyncAdapter::OnItemErase(IItem* item, CNotificationCompletionList*) {
  SetAsyncNotif(item, KindItemErase);
}

void CStoreMonitorAsyncAdapter::SetAsyncNotif(IItem* item, Kind kind) {
  item->AddRef();
  // DELIBERATE: the two failure reports keep their historical labels, compiler-made lambda names
  // included, so that searches of the log for them keep finding them.
  auto* record = new (std::nothrow) AsyncNotification{monitor, item, kind};
  if (record == nullptr) {
    static_cast<void>(RaiseError(
        "DataSystem::CStoreMonitorAsyncAdapter::SetAsyncNotif::<lambda_7a581f306d3825753d6047a77dcd12e2>::operator ()",
        ErrorOutOfMemory, nullptr));
  } else if (!Platform::QueueUserWorkItem(DeliverAsyncNotification, record, 0)) {
    static_cast<void>(RaiseSystemError(
        "DataSystem::CStoreMonitorAsyncAdapter::SetAsyncNotif::<lambda_5e7154ea63379eabf3d48f9e241b0452>::operator ()",
        Platform::GetLastError(), "QueueUserWorkItem"));
    delete record;
  } else {
    return;
  }
  item->Release();
  LogWrite(LogLevelError, kLogTag, u"Could not generate asynchronous notification for item '%s'", item->GetPath());
}

}  // namespace DataSystem
