// A child process for the tests that cross processes: started with arguments, its standard output
// and error read through pipes, waited for with a time limit, interrupted or killed.
//
// Spawning processes is only done on Linux; on Windows Supported() is false and the tests that
// need it skip with that reason.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Testing {

class ChildProcess {
public:
  struct Result {
    int exitCode = -1;  // 128 + the signal for a child ended by a signal; -1 when it did not end in time
    std::string output;
    std::string error;
  };

  static bool Supported();

  ChildProcess();
  // Kills the child if it still runs, and waits for it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts `program` with `arguments` and the environment of this process.
  bool Start(const std::string& program, const std::vector<std::string>& arguments);
  // One line of standard output, without its line end, within `milliseconds`. False on time-out
  // or at the end of the output.
  bool ReadLine(std::string& line, int milliseconds);
  // Waits up to `milliseconds` for the child to end, and gathers what is left of its output.
  Result Finish(int milliseconds);
  void Interrupt();
  void Kill();

  // Runs a program to its end (at most `milliseconds`).
  static Result Run(const std::string& program, const std::vector<std::string>& arguments, int milliseconds = 30000);

private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace Testing
