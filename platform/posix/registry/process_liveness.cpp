#include "platform/posix/registry/process_liveness.h"

#include <errno.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace Platform::Posix {
namespace {

std::atomic<std::uint32_t> g_processId{0};

}  // namespace

std::uint32_t CurrentProcessId() {
  std::uint32_t id = g_processId.load(std::memory_order_relaxed);
  if (id != 0) return id;
  static const int registered = ::pthread_atfork(nullptr, nullptr, [] { g_processId.store(0); });
  (void)registered;
  id = static_cast<std::uint32_t>(::getpid());
  g_processId.store(id, std::memory_order_relaxed);
  return id;
}

bool ProcessRuns(std::uint32_t id) {
  int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(id), 0));
  if (descriptor >= 0) {
    pollfd ended{descriptor, POLLIN, 0};
    int ready = ::poll(&ended, 1, 0);
    ::close(descriptor);
    return ready == 0;
  }
  if (errno == ESRCH) return false;
  // Without process descriptors, signal 0 tells a process (or an unreaped one) from none.
  return ::kill(static_cast<pid_t>(id), 0) == 0 || errno == EPERM;
}

}  // namespace Platform::Posix
