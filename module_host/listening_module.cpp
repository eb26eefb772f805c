#include "module_host/listening_module.h"

namespace Daemon {

ErrorCode AListeningModule::HandleEvent(const ModuleEvent* event) {
  switch (event->code) {
    case kEventStart:
      return Start(this);
    case kEventStop:
      Stop(this);
      return ErrorNone;
    default:
      return ErrorNone;
  }
}

IModuleEventListener* AListeningModule::GetEventListener() { return this; }

void* AListeningModule::ScalarDeletingDestructor(std::uint32_t flags) {
  return AModule::ScalarDeletingDestructor(flags);
}

}  // namespace Daemon
