// CallLog: what the simulated objects were asked, in order, and the failures that tests asked them
// to give.
//
// Every operation of every simulated object is recorded with its arguments as text, so that tests
// can assert on the calls the system made. A test can make an operation fail: every later call of
// that operation (optionally only with a given first argument) answers the HRESULT given instead of
// doing its work. Thread-safe.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "platform/types.h"

namespace Simulator {

struct CallRecord {
  std::string operation;  // "IPolicyConfig::SetPropertyValue"
  std::string arguments;  // the arguments as text, comma-separated
  Platform::DWORD threadId;

  std::string Text() const { return operation + "(" + arguments + ")"; }
};

class CallLog {
public:
  void Record(const std::string& operation, const std::string& arguments);

  std::vector<CallRecord> Calls() const;
  // The calls of `operation`, in order.
  std::vector<CallRecord> CallsOf(const std::string& operation) const;
  std::size_t CountOf(const std::string& operation) const;
  void Clear();

  // From now on `operation` answers `result`; with a non-empty `argument`, only when its first
  // argument, as recorded, is that text; with `passFirst`, only after that many matching calls
  // went through. The newest matching rule wins.
  void FailCalls(const std::string& operation, Platform::HRESULT result, const std::string& argument = {},
                 int passFirst = 0);
  void ClearFailures();
  // The injected answer for this call, or S_OK when it is to do its work. Counts the call against
  // the rules that let it pass.
  Platform::HRESULT InjectedResult(const std::string& operation, const std::string& firstArgument);

private:
  struct Rule {
    std::string operation;
    std::string argument;
    Platform::HRESULT result;
    int passesLeft;
  };

  mutable std::mutex m_mutex;
  std::vector<CallRecord> m_calls;
  std::vector<Rule> m_rules;
};

}  // namespace Simulator
