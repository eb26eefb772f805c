// The folder of the running test program. The build puts the programs that tests start (halcyrad,
// halcyra-reg, the child programs) and the libraries they load beside it.
#pragma once

#include <string>

namespace Testing {

// The folder, ending in a separator, as UTF-8 in the platform's own form. Any thread.
std::string ProgramFolder();

}  // namespace Testing
