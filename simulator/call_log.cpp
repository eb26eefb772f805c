#include "simulator/call_log.h"

#include <chrono>

#include "platform/synchronization.h"

namespace Simulator {

void CallLog::Record(const std::string& operation, const std::string& arguments) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.push_back(
        CallRecord{operation, arguments, Platform::GetCurrentThreadId(), std::chrono::steady_clock::now()});
  }
  m_changed.notify_all();
}

std::vector<CallRecord> CallLog::Calls() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_calls;
}

std::vector<CallRecord> CallLog::CallsOf(const std::string& operation) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<CallRecord> calls;
  for (const CallRecord& call : m_calls) {
    if (call.operation == operation) calls.push_back(call);
  }
  return calls;
}

std::size_t CallLog::CountOf(const std::string& operation) const { return CallsOf(operation).size(); }

bool CallLog::WaitForCount(const std::string& operation, std::size_t count, int milliseconds) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] {
    std::size_t seen = 0;
    for (const CallRecord& call : m_calls) {
      if (call.operation == operation) ++seen;
    }
    return seen >= count;
  });
}

void CallLog::Clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_calls.clear();
}

void CallLog::FailCalls(const std::string& operation, Platform::HRESULT result, const std::string& argument,
                        int passFirst, int failures) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rules.push_back(Rule{operation, argument, result, passFirst, failures});
}

void CallLog::ClearFailures() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rules.clear();
}

void CallLog::HoldCalls(const std::string& operation) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_held.insert(operation);
}

void CallLog::ReleaseCalls(const std::string& operation) {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_held.erase(operation);
  }
  m_changed.notify_all();
}

Platform::HRESULT CallLog::InjectedResult(const std::string& operation, const std::string& firstArgument) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_changed.wait(lock, [&] { return m_held.count(operation) == 0; });
  for (auto rule = m_rules.rbegin(); rule != m_rules.rend(); ++rule) {
    if (rule->operation != operation || (!rule->argument.empty() && rule->argument != firstArgument)) continue;
    if (rule->passesLeft > 0) {
      --rule->passesLeft;
      return Platform::S_OK;
    }
    if (rule->failuresLeft == 0) continue;
    if (rule->failuresLeft > 0) --rule->failuresLeft;
    return rule->result;
  }
  return Platform::S_OK;
}

}  // namespace Simulator
