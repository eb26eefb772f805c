// Whether the Windows build runs under Wine. Wine answers a few calls differently from Windows
// (its own message texts, a laxer descriptor parser); a test that checks Windows' own answer skips
// under Wine and names the difference.
#pragma once

namespace Testing {

// True when the process runs under Wine; false on Linux and on Windows itself. Any thread.
bool RunningUnderWine();

}  // namespace Testing
