// A child process for the tests that cross processes: started with arguments, its standard output
// and error read through pipes, waited for with a time limit, interrupted or killed. The same on
// Linux and on Windows; line ends of the child's output read as "\n" on both.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Testing {

class ChildProcess {
public:
  struct Result {
    // kKilledExitCode after Kill; on Linux 128 + the signal for a child ended by another signal;
    // -1 when it did not end in time.
    int exitCode = -1;
    std::string output;
    std::string error;
  };

  // The exit code of a killed child on both platforms, as a Linux shell reports SIGKILL.
  static constexpr int kKilledExitCode = 128 + 9;

  ChildProcess();
  // Kills the child if it still runs, and waits for it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts `program` (a path, or a bare file name of a program in the folder of this test
  // program) with `arguments` and the environment of this process.
  bool Start(const std::string& program, const std::vector<std::string>& arguments);
  // One line of standard output, without its line end, within `milliseconds`. False on time-out
  // or at the end of the output.
  bool ReadLine(std::string& line, int milliseconds);
  // Waits up to `milliseconds` for the child to end, and gathers what is left of its output.
  Result Finish(int milliseconds);
  // Sends Ctrl+C (SIGINT). Linux only: Windows delivers Ctrl+C only to a whole console, which
  // would include this process; tests end the child with Kill there.
  void Interrupt();
  // Ends the child at once with kKilledExitCode.
  void Kill();

  // Runs a program to its end (at most `milliseconds`).
  static Result Run(const std::string& program, const std::vector<std::string>& arguments, int milliseconds = 30000);

private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace Testing
