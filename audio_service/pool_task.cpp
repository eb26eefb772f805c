#include "audio_service/pool_task.h"

#include <memory>
#include <utility>

#include "platform/thread_pool.h"

namespace {

// What travels to the pool thread; owned by the work item once it is queued.
struct PoolLaunch {
  std::packaged_task<void()> task;
};

Platform::DWORD RunPoolLaunch(void* context) {
  std::unique_ptr<PoolLaunch> launch(static_cast<PoolLaunch*>(context));
  launch->task();
  return 0;
}

}  // namespace

std::future<void> LaunchPoolTask(std::function<void()> task) {
  auto launch = std::make_unique<PoolLaunch>(PoolLaunch{std::packaged_task<void()>(std::move(task))});
  std::future<void> result = launch->task.get_future();
  // A launch that the pool refuses is destroyed here without running, which makes its result ready.
  if (Platform::QueueUserWorkItem(&RunPoolLaunch, launch.get(), Platform::WT_EXECUTEDEFAULT)) {
    static_cast<void>(launch.release());
  }
  return result;
}
