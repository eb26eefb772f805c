// Child processes on Linux: posix_spawn with two pipes.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>

#include "tests/platform/registry/child_process.h"

extern char** environ;

namespace Testing {
namespace {

using Clock = std::chrono::steady_clock;

int Remaining(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left < 0 ? 0 : static_cast<int>(left);
}

}  // namespace

struct ChildProcess::State {
  pid_t pid = -1;
  int output = -1;
  int error = -1;
  std::string pendingOutput;
  std::string pendingError;
  bool outputOpen = false;
  bool errorOpen = false;
  int status = -1;

  // Reads what is there from the open pipes, waiting at most `milliseconds` for something.
  void Pump(int milliseconds) {
    pollfd descriptors[2];
    nfds_t count = 0;
    if (outputOpen) descriptors[count++] = {output, POLLIN, 0};
    if (errorOpen) descriptors[count++] = {error, POLLIN, 0};
    if (count == 0) return;
    if (::poll(descriptors, count, milliseconds) <= 0) return;
    for (nfds_t i = 0; i < count; ++i) {
      if (descriptors[i].revents == 0) continue;
      char buffer[4096];
      ssize_t length = ::read(descriptors[i].fd, buffer, sizeof(buffer));
      bool isOutput = descriptors[i].fd == output;
      if (length <= 0) {
        (isOutput ? outputOpen : errorOpen) = false;
      } else {
        (isOutput ? pendingOutput : pendingError).append(buffer, static_cast<std::size_t>(length));
      }
    }
  }
};

bool ChildProcess::Supported() { return true; }

ChildProcess::ChildProcess() : m_state(std::make_unique<State>()) {}

ChildProcess::~ChildProcess() {
  if (m_state->pid > 0 && m_state->status < 0) {
    Kill();
    Finish(10000);
  }
  if (m_state->output >= 0) ::close(m_state->output);
  if (m_state->error >= 0) ::close(m_state->error);
}

bool ChildProcess::Start(const std::string& program, const std::vector<std::string>& arguments) {
  int output[2], error[2];
  if (::pipe2(output, O_CLOEXEC) != 0) return false;
  if (::pipe2(error, O_CLOEXEC) != 0) return false;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], 1);
  posix_spawn_file_actions_adddup2(&actions, error[1], 2);
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  int result = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(output[1]);
  ::close(error[1]);
  if (result != 0) {
    ::close(output[0]);
    ::close(error[0]);
    return false;
  }
  m_state->pid = pid;
  m_state->output = output[0];
  m_state->error = error[0];
  m_state->outputOpen = m_state->errorOpen = true;
  return true;
}

bool ChildProcess::ReadLine(std::string& line, int milliseconds) {
  auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    std::size_t end = m_state->pendingOutput.find('\n');
    if (end != std::string::npos) {
      line = m_state->pendingOutput.substr(0, end);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      m_state->pendingOutput.erase(0, end + 1);
      return true;
    }
    if (!m_state->outputOpen || Remaining(deadline) == 0) return false;
    m_state->Pump(Remaining(deadline));
  }
}

ChildProcess::Result ChildProcess::Finish(int milliseconds) {
  Result result;
  auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  while ((m_state->outputOpen || m_state->errorOpen) && Remaining(deadline) > 0) m_state->Pump(Remaining(deadline));
  while (m_state->pid > 0 && m_state->status < 0) {
    int status = 0;
    pid_t done = ::waitpid(m_state->pid, &status, WNOHANG);
    if (done == m_state->pid) {
      m_state->status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      break;
    }
    if (Remaining(deadline) == 0) break;
    timespec pause{0, 1000000};
    ::nanosleep(&pause, nullptr);
  }
  result.exitCode = m_state->status;
  result.output = std::move(m_state->pendingOutput);
  result.error = std::move(m_state->pendingError);
  m_state->pendingOutput.clear();
  m_state->pendingError.clear();
  return result;
}

void ChildProcess::Interrupt() {
  if (m_state->pid > 0 && m_state->status < 0) ::kill(m_state->pid, SIGINT);
}

void ChildProcess::Kill() {
  if (m_state->pid > 0 && m_state->status < 0) ::kill(m_state->pid, SIGKILL);
}

ChildProcess::Result ChildProcess::Run(const std::string& program, const std::vector<std::string>& arguments,
                                       int milliseconds) {
  ChildProcess child;
  if (!child.Start(program, arguments)) return {};
  return child.Finish(milliseconds);
}

}  // namespace Testing
