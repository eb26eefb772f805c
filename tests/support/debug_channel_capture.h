// Captures the debug channel for the life of the object, so that tests can assert on the lines the
// code under test wrote. One capture at a time per process.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace Testing {

class DebugChannelCapture {
public:
  DebugChannelCapture();
  ~DebugChannelCapture();
  DebugChannelCapture(const DebugChannelCapture&) = delete;
  DebugChannelCapture& operator=(const DebugChannelCapture&) = delete;

  // Every write so far, in order, as UTF-8 exactly as written (line feeds included).
  std::vector<std::string> Writes() const;
  // Everything written so far, joined.
  std::string Text() const;
  void Clear();

private:
  static void OnWrite(void* context, const char* text);

  mutable std::mutex m_mutex;
  std::vector<std::string> m_writes;
};

}  // namespace Testing
