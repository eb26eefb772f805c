// coordination: where an operator delivers its values. The one kind in use is that of
// observe_on_new_thread: each coordinator made from it gets a worker of its own, that is, a new
// thread, so that every pipeline built on it delivers on its own thread, one value at a time.
#pragma once

#include <cstddef>

#include "reactive/worker.h"

namespace Reactive {

class coordination {
public:
  // A new worker with a thread of its own, started at once and never ended. Throws
  // std::system_error when no thread can be made. Any thread.
  worker create_worker() const;

  // How many workers this kind of coordination has made in the process so far; each is a live
  // thread. Any thread.
  std::size_t worker_count() const;
};

// The process-wide coordination on new threads, the same object for every caller.
const coordination& observe_on_new_thread();

}  // namespace Reactive
