// Which platform the tests run on, for the few tests whose meaning depends on it. Such tests skip
// with a stated reason on the other platform; they are never left out.
#pragma once

namespace Testing {

#if defined(_WIN32)
inline constexpr bool kRunningOnWindows = true;
#else
inline constexpr bool kRunningOnWindows = false;
#endif

}  // namespace Testing
