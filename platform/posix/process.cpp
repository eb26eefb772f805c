// Child processes and pipes on Linux: posix_spawn, pipe2, waitid and kill behind kernel-object
// handles, so that CloseHandle and WaitForSingleObject treat them as they treat events.
#include "platform/process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/event.h"
#include "platform/posix/kernel_object.h"
#include "platform/system_error.h"
#include "platform/utf.h"

extern char** environ;

namespace Platform {
namespace {

DWORD ErrorFromErrno(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
      return ERROR_ACCESS_DENIED;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    default:
      return ERROR_INVALID_PARAMETER;
  }
}

// One end of a pipe. The descriptor is never inherited by exec (O_CLOEXEC); a child gets it only
// as one of its standard handles, by a dup2 of the spawn.
class PipeEnd final : public Posix::KernelObject {
public:
  explicit PipeEnd(int descriptor) : KernelObject(Posix::KernelObjectKind::Pipe), m_descriptor(descriptor) {}
  ~PipeEnd() override { ::close(m_descriptor); }

  int Descriptor() const { return m_descriptor; }

private:
  const int m_descriptor;
};

// A started child. A detached reaper thread waits for its end, records the exit code and signals
// the manual-reset event that waits on the process handle take. The reaper looks at the ended
// child without reaping it first, and reaps it only after the end is recorded under m_mutex, so
// that TerminateProcess, which kills under m_mutex while the end is not recorded, never signals a
// process id that was reused.
class ChildProcessObject final : public Posix::KernelObject, public Posix::WaitableObject {
public:
  explicit ChildProcessObject(pid_t pid)
      : KernelObject(Posix::KernelObjectKind::Process), m_pid(pid), m_exited(true, false) {}

  pid_t Pid() const { return m_pid; }

  static void StartReaper(std::shared_ptr<ChildProcessObject> process) {
    std::thread([process] { process->Reap(); }).detach();
  }

  DWORD ExitCode() {
    std::lock_guard lock(m_mutex);
    return m_ended ? m_exitCode : STILL_ACTIVE;
  }

  void Terminate(UINT exitCode) {
    std::lock_guard lock(m_mutex);
    if (m_ended || m_terminated) return;
    m_terminated = true;
    m_terminationCode = exitCode;
    ::kill(m_pid, SIGKILL);
  }

  // Signals the child unless its end is recorded; false when it had ended.
  bool SendSignal(int signal) {
    std::lock_guard lock(m_mutex);
    if (m_ended) return false;
    ::kill(m_pid, signal);
    return true;
  }

  WaitableObject* AsWaitable() override { return this; }
  bool TryAcquire() override { return m_exited.TryAcquire(); }
  bool KeepsSignalWhenTaken() const override { return m_exited.KeepsSignalWhenTaken(); }
  DWORD Wait(DWORD milliseconds) override { return m_exited.Wait(milliseconds); }
  void AddObserver(Posix::SignalObserver* observer) override { m_exited.AddObserver(observer); }
  void RemoveObserver(Posix::SignalObserver* observer) override { m_exited.RemoveObserver(observer); }

private:
  void Reap() {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    {
      std::lock_guard lock(m_mutex);
      if (info.si_code == CLD_EXITED) {
        m_exitCode = static_cast<DWORD>(info.si_status);
      } else if (m_terminated && info.si_status == SIGKILL) {
        m_exitCode = m_terminationCode;
      } else {
        m_exitCode = 128 + static_cast<DWORD>(info.si_status);
      }
      m_ended = true;
    }
    int status = 0;
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_exited.Set();
  }

  const pid_t m_pid;
  Posix::Event m_exited;
  std::mutex m_mutex;
  bool m_ended = false;
  bool m_terminated = false;
  DWORD m_terminationCode = 0;
  DWORD m_exitCode = 0;
};

std::shared_ptr<ChildProcessObject> LookupProcess(HANDLE handle) {
  return std::static_pointer_cast<ChildProcessObject>(Posix::LookupHandle(handle, Posix::KernelObjectKind::Process));
}

// Splits a command line as the Microsoft C runtime does: the program name ends at the closing
// quote or the first blank; after it, blanks separate arguments outside quotes, 2n backslashes
// before a quote give n backslashes and a quote that opens or closes, 2n+1 give n and a literal
// quote, "" inside quotes gives a literal quote, and other backslashes are kept.
std::vector<std::string> SplitCommandLine(const std::u16string& line) {
  std::vector<std::string> arguments;
  std::size_t i = 0;
  std::u16string program;
  if (i < line.size() && line[i] == u'"') {
    for (++i; i < line.size() && line[i] != u'"'; ++i) program += line[i];
    if (i < line.size()) ++i;
  } else {
    for (; i < line.size() && line[i] != u' ' && line[i] != u'\t'; ++i) program += line[i];
  }
  arguments.push_back(Utf16ToUtf8(program));
  for (;;) {
    while (i < line.size() && (line[i] == u' ' || line[i] == u'\t')) ++i;
    if (i >= line.size()) break;
    std::u16string argument;
    bool quoted = false;
    while (i < line.size() && (quoted || (line[i] != u' ' && line[i] != u'\t'))) {
      if (line[i] == u'\\') {
        std::size_t backslashes = 0;
        while (i < line.size() && line[i] == u'\\') ++backslashes, ++i;
        if (i < line.size() && line[i] == u'"') {
          argument.append(backslashes / 2, u'\\');
          if (backslashes % 2 == 1) {
            argument += u'"';
            ++i;
          }
        } else {
          argument.append(backslashes, u'\\');
        }
      } else if (line[i] == u'"') {
        if (quoted && i + 1 < line.size() && line[i + 1] == u'"') {
          argument += u'"';
          i += 2;
        } else {
          quoted = !quoted;
          ++i;
        }
      } else {
        argument += line[i++];
      }
    }
    arguments.push_back(Utf16ToUtf8(argument));
  }
  return arguments;
}

// The descriptor a standard handle of a child is to be, or -1 when the handle is not a pipe end.
int PipeDescriptor(HANDLE handle) {
  std::shared_ptr<Posix::KernelObject> object = Posix::LookupHandle(handle, Posix::KernelObjectKind::Pipe);
  return object ? static_cast<PipeEnd*>(object.get())->Descriptor() : -1;
}

}  // namespace

BOOL CreatePipe(HANDLE* readPipe, HANDLE* writePipe, const SECURITY_ATTRIBUTES*, DWORD) {
  if (readPipe == nullptr || writePipe == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  int descriptors[2];
  if (::pipe2(descriptors, O_CLOEXEC) != 0) {
    SetLastError(ErrorFromErrno(errno));
    return FALSE;
  }
  try {
    auto readEnd = std::make_shared<PipeEnd>(descriptors[0]);
    descriptors[0] = -1;
    auto writeEnd = std::make_shared<PipeEnd>(descriptors[1]);
    *readPipe = Posix::InsertHandle(std::move(readEnd));
    *writePipe = Posix::InsertHandle(std::move(writeEnd));
    return TRUE;
  } catch (const std::bad_alloc&) {
    if (descriptors[0] >= 0) ::close(descriptors[0]);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
}

BOOL SetHandleInformation(HANDLE handle, DWORD, DWORD) {
  return Posix::LookupHandle(handle, Posix::KernelObjectKind::Pipe) ? TRUE : FALSE;
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD bytesToRead, DWORD* bytesRead, void* overlapped) {
  if (bytesRead != nullptr) *bytesRead = 0;
  if (overlapped != nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::shared_ptr<Posix::KernelObject> object = Posix::LookupHandle(file, Posix::KernelObjectKind::Pipe);
  if (!object) return FALSE;
  ssize_t length;
  do {
    length = ::read(static_cast<PipeEnd*>(object.get())->Descriptor(), buffer, bytesToRead);
  } while (length < 0 && errno == EINTR);
  if (length < 0) {
    SetLastError(ErrorFromErrno(errno));
    return FALSE;
  }
  if (length == 0 && bytesToRead > 0) {
    SetLastError(ERROR_BROKEN_PIPE);
    return FALSE;
  }
  if (bytesRead != nullptr) *bytesRead = static_cast<DWORD>(length);
  return TRUE;
}

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine, const SECURITY_ATTRIBUTES*, const SECURITY_ATTRIBUTES*,
                    BOOL, DWORD, void* environment, LPCWSTR currentDirectory, STARTUPINFOW* startupInfo,
                    PROCESS_INFORMATION* processInformation) {
  if (applicationName == nullptr || environment != nullptr || currentDirectory != nullptr ||
      processInformation == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  std::string program = Utf16ToUtf8(applicationName);
  std::vector<std::string> arguments =
      commandLine != nullptr ? SplitCommandLine(commandLine) : std::vector<std::string>{program};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  // The handle table keeps the pipe ends open while they are looked up here; the caller owns them.
  std::vector<std::shared_ptr<Posix::KernelObject>> standardHandles;
  if (startupInfo != nullptr && (startupInfo->dwFlags & STARTF_USESTDHANDLES) != 0) {
    const HANDLE handles[3] = {startupInfo->hStdInput, startupInfo->hStdOutput, startupInfo->hStdError};
    for (int target = 0; target < 3; ++target) {
      if (handles[target] == nullptr) {
        posix_spawn_file_actions_addopen(&actions, target, "/dev/null", target == 0 ? O_RDONLY : O_WRONLY, 0);
        continue;
      }
      standardHandles.push_back(Posix::LookupHandle(handles[target], Posix::KernelObjectKind::Pipe));
      if (!standardHandles.back()) {
        posix_spawn_file_actions_destroy(&actions);
        return FALSE;
      }
      posix_spawn_file_actions_adddup2(&actions, PipeDescriptor(handles[target]), target);
    }
  }
  pid_t pid = -1;
  int result = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) {
    SetLastError(ErrorFromErrno(result));
    return FALSE;
  }
  try {
    auto process = std::make_shared<ChildProcessObject>(pid);
    ChildProcessObject::StartReaper(process);
    processInformation->hProcess = Posix::InsertHandle(std::move(process));
  } catch (const std::exception&) {
    // Without its object nobody could wait for the child, so it is ended and left to init.
    ::kill(pid, SIGKILL);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
  }
  processInformation->hThread = nullptr;
  processInformation->dwProcessId = static_cast<DWORD>(pid);
  processInformation->dwThreadId = 0;
  return TRUE;
}

BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode) {
  std::shared_ptr<ChildProcessObject> object = LookupProcess(process);
  if (!object) return FALSE;
  if (exitCode == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *exitCode = object->ExitCode();
  return TRUE;
}

BOOL TerminateProcess(HANDLE process, UINT exitCode) {
  std::shared_ptr<ChildProcessObject> object = LookupProcess(process);
  if (!object) return FALSE;
  object->Terminate(exitCode);
  return TRUE;
}

BOOL GenerateConsoleCtrlEvent(DWORD ctrlEvent, DWORD processGroupId) {
  // Group 0 would be every process of the console, which here would include this one.
  if (processGroupId == 0 || (ctrlEvent != CTRL_C_EVENT && ctrlEvent != CTRL_BREAK_EVENT)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (::kill(static_cast<pid_t>(processGroupId), ctrlEvent == CTRL_C_EVENT ? SIGINT : SIGQUIT) != 0) {
    SetLastError(ErrorFromErrno(errno));
    return FALSE;
  }
  return TRUE;
}

}  // namespace Platform
