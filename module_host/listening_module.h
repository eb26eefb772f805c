// Daemon::AListeningModule: a module that also hears the daemon's events.
//
// Event 5 runs a Start request and event 6 a Stop request, each with the module itself as caller,
// through the same counts as the daemon's own requests.
#pragma once

#include "module_host/module_base.h"

namespace Daemon {

class AListeningModule : public AModule, public IModuleEventListener {
public:
  static constexpr std::int32_t kEventStart = 5;
  static constexpr std::int32_t kEventStop = 6;

  using AModule::AModule;

  // Returns the Start request's code for event 5, and 0 for every other event.
  [[nodiscard]] ErrorCode HandleEvent(const ModuleEvent* event) override;
  IModuleEventListener* GetEventListener() override;

  // Slot 0 of IModuleEventListener too: destroys the whole module.
  void* ScalarDeletingDestructor(std::uint32_t flags) override;
};

}  // namespace Daemon
