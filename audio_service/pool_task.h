// Tasks on the system thread pool with a waitable result.
#pragma once

#include <functional>
#include <future>

// Queues `task` to the system thread pool without waiting and returns its result, which becomes
// ready when the task has returned. When the pool refuses the work, the task never runs and the
// result is ready at once. Throws std::bad_alloc. Any thread.
std::future<void> LaunchPoolTask(std::function<void()> task);
