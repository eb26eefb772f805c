#include "simulator/call_log.h"

#include "platform/synchronization.h"

namespace Simulator {

void CallLog::Record(const std::string& operation, const std::string& arguments) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_calls.push_back(CallRecord{operation, arguments, Platform::GetCurrentThreadId()});
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

void CallLog::Clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_calls.clear();
}

void CallLog::FailCalls(const std::string& operation, Platform::HRESULT result, const std::string& argument,
                        int passFirst) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rules.push_back(Rule{operation, argument, result, passFirst});
}

void CallLog::ClearFailures() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_rules.clear();
}

Platform::HRESULT CallLog::InjectedResult(const std::string& operation, const std::string& firstArgument) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (auto rule = m_rules.rbegin(); rule != m_rules.rend(); ++rule) {
    if (rule->operation != operation || (!rule->argument.empty() && rule->argument != firstArgument)) continue;
    if (rule->passesLeft > 0) {
      --rule->passesLeft;
      return Platform::S_OK;
    }
    return rule->result;
  }
  return Platform::S_OK;
}

}  // namespace Simulator
