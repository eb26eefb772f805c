// Latency samples gathered by a monitor on one thread and read by the benchmark on another.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace Bench {

// The value at `fraction` (0.5 the median) of `samples`.
inline double Percentile(std::vector<double> samples, double fraction) {
  std::sort(samples.begin(), samples.end());
  std::size_t index = static_cast<std::size_t>(fraction * static_cast<double>(samples.size() - 1) + 0.5);
  return samples[std::min(index, samples.size() - 1)];
}

// Samples in microseconds, added from any thread.
class LatencySamples {
public:
  void Add(double microseconds) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_samples.push_back(microseconds);
    m_changed.notify_all();
  }
  // Waits until `count` samples are there or `limit` passed, and gives what there is.
  std::vector<double> WaitFor(std::size_t count, std::chrono::seconds limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, limit, [&] { return m_samples.size() >= count; });
    return m_samples;
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::vector<double> m_samples;
};

}  // namespace Bench
