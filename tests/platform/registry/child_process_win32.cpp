// Child processes are not spawned by the Windows build of the tests.
#include "tests/platform/registry/child_process.h"

namespace Testing {

struct ChildProcess::State {};

bool ChildProcess::Supported() { return false; }
ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() = default;
bool ChildProcess::Start(const std::string&, const std::vector<std::string>&) { return false; }
bool ChildProcess::ReadLine(std::string&, int) { return false; }
ChildProcess::Result ChildProcess::Finish(int) { return {}; }
void ChildProcess::Interrupt() {}
void ChildProcess::Kill() {}
ChildProcess::Result ChildProcess::Run(const std::string&, const std::vector<std::string>&, int) { return {}; }

}  // namespace Testing
