// halcyra-data monitor: one line for each notification of a store, from any process.
#include <csignal>

#include "data_system/interface_ids.h"
#include "data_system/value.h"
#include "platform/com_ptr.h"
#include "platform/synchronization.h"
#include "tools/halcyra-data/data_commands.h"
#include "tools/halcyra-data/data_console.h"
#include "tools/halcyra-data/item_text.h"

namespace HalcyraData {

using namespace DataSystem;

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void OnSignal(int) { stopRequested = 1; }

// Prints what the scan of the watched store finds. Runs on the scanning thread inside the tree's
// lock, and only prints.
class PrintingMonitor : public IStoreMonitor {
public:
  void OnValueChange(IValue* value, CNotificationCompletionList*) override {
    PrintLine(u"OnValueChange " + DisplayPath(value) + u" " + CurrentValue(value));
  }
  void OnItemInsert(IItem* item, CNotificationCompletionList*) override {
    PrintLine(u"OnItemInsert " + DisplayPath(item));
  }
  void OnItemErase(IItem* item, CNotificationCompletionList*) override {
    PrintLine(u"OnItemErase " + DisplayPath(item));
  }
};

}  // namespace

ErrorCode Monitor(IDataSystem* dataSystem, const std::u16string& path, double seconds) {
  Platform::ComPtr<IItem> item;
  ErrorCode status = dataSystem->GetItemRef(path.empty() ? u"Profiles" : path.c_str(), item.Put());
  if (status != ErrorNone) return Fail("no such item", status);
  auto* store = static_cast<IStore*>(item->GetInterface(&IID_IStore));
  PrintingMonitor monitor;
  status = store != nullptr ? store->RegisterMonitor(&monitor, MONITOR_DIRECT) : ErrorInvalidOperation;
  if (status != ErrorNone) return Fail("monitor", status);
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  PrintLine(u"monitoring " + DisplayPath(item.Get()));
  // Signals can only set a flag, so the wait looks at it every few milliseconds.
  constexpr Platform::DWORD kStepMilliseconds = 20;
  for (double waited = 0; !stopRequested && (seconds < 0 || waited < seconds); waited += kStepMilliseconds / 1000.0) {
    Platform::Sleep(kStepMilliseconds);
  }
  static_cast<void>(store->UnregisterMonitor(&monitor));
  return ErrorNone;
}

}  // namespace HalcyraData
