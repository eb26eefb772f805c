// CallLog: what the simulated objects were asked, in order, and the failures that tests asked them
// to give.
//
// Every operation of every simulated object is recorded with its arguments as text, so that tests
// can assert on the calls the system made. A test can make an operation fail: every later call of
// that operation (optionally only with a given first argument) answers the HRESULT given instead of
// doing its work, and it can hold an operation: its calls wait until the test lets them go, so that
// the test can see what the system does while a call is slow. Thread-safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <set>
#include <mutex>
#include <string>
#include <vector>

#include "platform/types.h"

namespace Simulator {

struct CallRecord {
  std::string operation;  // "IPolicyConfig::SetPropertyValue"
  std::string arguments;  // the arguments as text, comma-separated
  Platform::DWORD threadId;
  // When the call was recorded, on the clock that every process of the machine shares, so that a
  // benchmark can set it against a time taken in another process.
  std::chrono::steady_clock::time_point at;

  std::string Text() const { return operation + "(" + arguments + ")"; }
};

class CallLog {
public:
  void Record(const std::string& operation, const std::string& arguments);

  std::vector<CallRecord> Calls() const;
  // The calls of `operation`, in order.
  std::vector<CallRecord> CallsOf(const std::string& operation) const;
  std::size_t CountOf(const std::string& operation) const;
  // Waits up to `milliseconds` until `operation` has been recorded `count` times in all; returns
  // whether it has.
  bool WaitForCount(const std::string& operation, std::size_t count, int milliseconds) const;
  void Clear();

  // From now on `operation` answers `result`; with a non-empty `argument`, only when its first
  // argument, as recorded, is that text; with `passFirst`, only after that many matching calls
  // went through; with `failures`, for that many calls only, after which the rule lets calls through.
  // The newest matching rule wins.
  void FailCalls(const std::string& operation, Platform::HRESULT result, const std::string& argument = {},
                 int passFirst = 0, int failures = -1);
  void ClearFailures();
  // From now on calls of `operation` wait in InjectedResult until ReleaseCalls.
  void HoldCalls(const std::string& operation);
  // Lets the held calls of `operation`, waiting and later ones, go on.
  void ReleaseCalls(const std::string& operation);
  // The injected answer for this call, or S_OK when it is to do its work. Counts the call against
  // the rules that let it pass. Waits first while the operation is held.
  Platform::HRESULT InjectedResult(const std::string& operation, const std::string& firstArgument);

private:
  struct Rule {
    std::string operation;
    std::string argument;
    Platform::HRESULT result;
    int passesLeft;
    // -1: without end.
    int failuresLeft;
  };

  mutable std::mutex m_mutex;
  mutable std::condition_variable m_changed;
  std::vector<CallRecord> m_calls;
  std::vector<Rule> m_rules;
  std::set<std::string> m_held;
};

}  // namespace Simulator
