// Child processes on both platforms, on the process functions of the platform layer: two pipes for
// the standard output and error, each drained by a thread of its own into a buffer, so that a
// reader waits for text on a condition variable with a time limit and a child never blocks on a
// full pipe.
#include "tests/support/child_process.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/module.h"
#include "platform/process.h"
#include "platform/synchronization.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/program_folder.h"

namespace Testing {
namespace {

using Clock = std::chrono::steady_clock;
using namespace Platform;

// Windows lets every inheritable handle into a child. The write ends of a child's pipes are made
// inheritable only while that one child is started, so that no other child keeps them open and
// holds off the end of their output.
std::mutex& StartMutex() {
  static std::mutex mutex;
  return mutex;
}

// Arguments quoted as the C runtime of the child splits them again: in quotes when they hold a
// blank or a quote (or are empty), quotes escaped by a backslash, and backslashes doubled where
// they come before a quote.
void AppendArgument(std::u16string& line, const std::string& argument) {
  const std::u16string text = Utf8ToUtf16(argument);
  if (!text.empty() && text.find_first_of(u" \t\"") == std::u16string::npos) {
    line += text;
    return;
  }
  line += u'"';
  std::size_t backslashes = 0;
  for (char16_t c : text) {
    if (c == u'\\') {
      ++backslashes;
      continue;
    }
    line.append(c == u'"' ? backslashes * 2 + 1 : backslashes, u'\\');
    backslashes = 0;
    line += c;
  }
  line.append(backslashes * 2, u'\\');
  line += u'"';
}

// A bare file name names a program next to this test program; the build puts them all in one folder.
std::u16string ProgramPath(const std::string& program) {
  if (program.find_first_of("/\\") != std::string::npos) return Utf8ToUtf16(program);
  return Utf8ToUtf16(ProgramFolder() + program);
}

// The C runtime of a Windows child writes "\r\n" for each line end; both platforms give "\n".
std::string WithPlainLineEnds(std::string text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    plain += text[i];
  }
  return plain;
}

}  // namespace

struct ChildProcess::State {
  struct Stream {
    std::string pending;
    bool open = false;
    std::thread reader;
  };

  UniqueKernelHandle process;
  DWORD processId = 0;
  bool ended = false;
  int exitCode = -1;
  std::mutex mutex;
  std::condition_variable changed;
  Stream output;
  Stream error;

  // Drains one pipe into its stream until the child's end of it closes; owns `pipe`.
  void Drain(HANDLE pipe, Stream& stream) {
    UniqueKernelHandle owned(pipe);
    char buffer[4096];
    DWORD length = 0;
    while (ReadFile(owned.Get(), buffer, sizeof(buffer), &length, nullptr)) {
      std::lock_guard lock(mutex);
      stream.pending.append(buffer, length);
      changed.notify_all();
    }
    std::lock_guard lock(mutex);
    stream.open = false;
    changed.notify_all();
  }

  void StartReader(HANDLE pipe, Stream& stream) {
    stream.open = true;
    stream.reader = std::thread([this, pipe, &stream] { Drain(pipe, stream); });
  }

  // Records the child's exit code if it ended within `milliseconds`.
  void WaitForEnd(DWORD milliseconds) {
    if (ended || !process) return;
    if (WaitForSingleObject(process.Get(), milliseconds) != WAIT_OBJECT_0) return;
    DWORD code = 0;
    if (GetExitCodeProcess(process.Get(), &code)) exitCode = static_cast<int>(code);
    ended = true;
  }
};

ChildProcess::ChildProcess() : m_state(std::make_unique<State>()) {}

ChildProcess::~ChildProcess() {
  if (m_state->process && !m_state->ended) {
    Kill();
    m_state->WaitForEnd(10000);
  }
  if (m_state->output.reader.joinable()) m_state->output.reader.join();
  if (m_state->error.reader.joinable()) m_state->error.reader.join();
}

bool ChildProcess::Start(const std::string& program, const std::vector<std::string>& arguments) {
  const std::u16string path = ProgramPath(program);
  std::u16string commandLine;
  AppendArgument(commandLine, Utf16ToUtf8(path));
  for (const std::string& argument : arguments) {
    commandLine += u' ';
    AppendArgument(commandLine, argument);
  }

  UniqueKernelHandle outputRead, outputWrite, errorRead, errorWrite;
  PROCESS_INFORMATION started{};
  {
    std::lock_guard lock(StartMutex());
    if (!CreatePipe(outputRead.Put(), outputWrite.Put(), nullptr, 0)) return false;
    if (!CreatePipe(errorRead.Put(), errorWrite.Put(), nullptr, 0)) return false;
    if (!SetHandleInformation(outputWrite.Get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) ||
        !SetHandleInformation(errorWrite.Get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT)) {
      return false;
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = outputWrite.Get();
    startup.hStdError = errorWrite.Get();
    if (!CreateProcessW(path.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &started)) {
      return false;
    }
    // Only the child holds the write ends now, so its end closes the pipes.
    outputWrite.Reset();
    errorWrite.Reset();
  }
  UniqueKernelHandle thread(started.hThread);
  m_state->process.Reset(started.hProcess);
  m_state->processId = started.dwProcessId;
  m_state->StartReader(outputRead.Detach(), m_state->output);
  m_state->StartReader(errorRead.Detach(), m_state->error);
  return true;
}

bool ChildProcess::ReadLine(std::string& line, int milliseconds) {
  auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  std::unique_lock lock(m_state->mutex);
  std::string& pending = m_state->output.pending;
  for (;;) {
    std::size_t end = pending.find('\n');
    if (end != std::string::npos) {
      line = pending.substr(0, end);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      pending.erase(0, end + 1);
      return true;
    }
    if (!m_state->output.open) return false;
    if (m_state->changed.wait_until(lock, deadline) == std::cv_status::timeout) return false;
  }
}

ChildProcess::Result ChildProcess::Finish(int milliseconds) {
  auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  m_state->WaitForEnd(static_cast<DWORD>(milliseconds));
  Result result;
  std::unique_lock lock(m_state->mutex);
  // The last output of an ended child may still be on its way through the pipes.
  m_state->changed.wait_until(lock, deadline, [&] { return !m_state->output.open && !m_state->error.open; });
  result.exitCode = m_state->ended ? m_state->exitCode : -1;
  result.output = WithPlainLineEnds(std::move(m_state->output.pending));
  result.error = WithPlainLineEnds(std::move(m_state->error.pending));
  m_state->output.pending.clear();
  m_state->error.pending.clear();
  return result;
}

void ChildProcess::Interrupt() {
  if (m_state->process && !m_state->ended) (void)GenerateConsoleCtrlEvent(CTRL_C_EVENT, m_state->processId);
}

void ChildProcess::Kill() {
  if (m_state->process && !m_state->ended) {
    (void)TerminateProcess(m_state->process.Get(), static_cast<UINT>(kKilledExitCode));
  }
}

ChildProcess::Result ChildProcess::Run(const std::string& program, const std::vector<std::string>& arguments,
                                       int milliseconds) {
  ChildProcess child;
  if (!child.Start(program, arguments)) return {};
  return child.Finish(milliseconds);
}

}  // namespace Testing
