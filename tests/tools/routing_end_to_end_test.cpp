// The routing loop end to end, in real processes on a fresh registry folder: halcyrad runs the
// module with the simulated machine, and other processes (halcyra-data, halcyra-reg) change the
// routing value and the endpoints as the product's programs and a person would.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>

#include "platform/registry.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_kind.h"
#include "tests/support/temporary_registry_folder.h"
#include "tests/support/routing_value_location.h"

namespace {

using namespace Platform;
using Testing::ChildProcess;
using Clock = std::chrono::steady_clock;

constexpr const char16_t* kAudioRoot = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio";
constexpr const char16_t* kVadRender = u"Render\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D01}";
constexpr const char16_t* kVadCapture = u"Capture\\{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D02}";
using Testing::kProfilesKey;
using Testing::kRoutingValue;

// A DWORD of the machine hive; -1 when it is missing.
long long MachineNumber(const std::u16string& subKey, const char16_t* name) {
  DWORD value = 0, size = sizeof value;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, subKey.c_str(), name, RRF_RT_REG_DWORD, nullptr, &value, &size) !=
      ERROR_SUCCESS) {
    return -1;
  }
  return value;
}
long long State(const char16_t* endpoint) {
  return MachineNumber(std::u16string(kAudioRoot) + u"\\" + endpoint, u"DeviceState");
}
long long Routing() { return MachineNumber(kProfilesKey, kRoutingValue); }

// The state of every endpoint of the machine but the VAD's, by key.
std::map<std::u16string, long long> OtherEndpoints() {
  std::map<std::u16string, long long> states;
  for (const char16_t* flow : {u"Render", u"Capture"}) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, (std::u16string(kAudioRoot) + u"\\" + flow).c_str(), 0, KEY_READ, &key) !=
        ERROR_SUCCESS) {
      continue;
    }
    char16_t name[256];
    for (DWORD index = 0;; ++index) {
      DWORD length = 256;
      if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
      const std::u16string endpoint = std::u16string(flow) + u"\\" + name;
      if (endpoint != kVadRender && endpoint != kVadCapture) states[endpoint] = State(endpoint.c_str());
    }
    RegCloseKey(key);
  }
  return states;
}

// Waits up to five seconds for `condition`, looking every 10 ms; nothing announces these registry
// states to this process, so it looks.
template <class Condition>
bool Eventually(Condition condition) {
  for (auto end = Clock::now() + std::chrono::seconds(5); Clock::now() < end;) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return condition();
}

// Holds `condition` true for a second: the exchange has settled.
template <class Condition>
bool Stays(Condition condition) {
  for (auto end = Clock::now() + std::chrono::seconds(1); Clock::now() < end;) {
    if (!condition()) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

void RunTool(const std::string& program, const std::vector<std::string>& arguments) {
  ChildProcess::Result result = ChildProcess::Run(program, arguments);
  ASSERT_EQ(result.exitCode, 0) << program << "\n" << result.output << result.error;
}

class RoutingEndToEndTest : public ::testing::Test {
protected:
  Testing::TemporaryRegistryFolder registry;
};

TEST_F(RoutingEndToEndTest, TheRoutingValueAndTheVadEndpointsFollowEachOtherAcrossProcesses) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "a fresh registry folder of its own exists on Linux only";
  ChildProcess daemon;
  ASSERT_TRUE(daemon.Start(HALCYRA_DAEMON, {"--for", "60", "--simulate"}));

  // At start the value exists with its default, and the VAD's endpoints are hidden to match.
  ASSERT_TRUE(Eventually([] { return Routing() == 0 && State(kVadRender) == 2 && State(kVadCapture) == 2; }))
      << Routing() << " " << State(kVadRender) << " " << State(kVadCapture);
  // The start's own scan raised endpoint notifications, whose debounced exchange ends here.
  ASSERT_TRUE(Stays([] { return Routing() == 0 && State(kVadRender) == 2 && State(kVadCapture) == 2; }));
  const std::map<std::u16string, long long> others = OtherEndpoints();
  ASSERT_FALSE(others.empty());

  // A writer sets the value: both VAD endpoints are shown.
  RunTool(HALCYRA_DATA_TOOL, {"set", "Profiles.bVacRoutingState", "true"});
  EXPECT_TRUE(Eventually([] { return State(kVadRender) == 1 && State(kVadCapture) == 1; }));
  EXPECT_TRUE(Stays([] { return Routing() == 1 && State(kVadRender) == 1 && State(kVadCapture) == 1; }));

  // A person disables one VAD endpoint: the other follows, and the value is written back.
  RunTool(HALCYRA_REG_TOOL, {"add",
                             "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio\\Render\\"
                             "{0B5C3C8E-6A0B-4B52-9D3E-1F8A5A0C7D01}",
                             "/v", "DeviceState", "/t", "REG_DWORD", "/d", "2", "/f"});
  EXPECT_TRUE(Eventually([] { return State(kVadCapture) == 2 && Routing() == 0; }))
      << State(kVadCapture) << " " << Routing();
  EXPECT_TRUE(Stays([] { return Routing() == 0 && State(kVadRender) == 2 && State(kVadCapture) == 2; }));

  // The value written back by the daemon is set again: the endpoints follow once more. No burst of
  // values from here: a write that lands between the firing of the daemon's watch and its re-arming
  // (a queued work item) after the daemon has read goes unheard, and the endpoints' echo of an
  // earlier value can be written back after a later one. The debounce's folding of a burst is shown
  // by the synchronizer's own tests, where no other process writes.
  RunTool(HALCYRA_DATA_TOOL, {"set", "Profiles.bVacRoutingState", "true"});
  EXPECT_TRUE(Eventually([] { return State(kVadRender) == 1 && State(kVadCapture) == 1; }));

  // The exchange settles, and no other endpoint was ever touched.
  EXPECT_TRUE(Stays([] { return Routing() == 1 && State(kVadRender) == 1 && State(kVadCapture) == 1; }));
  EXPECT_EQ(OtherEndpoints(), others);
  daemon.Interrupt();
  ChildProcess::Result ended = daemon.Finish(10000);
  EXPECT_EQ(ended.exitCode, 0) << ended.output << ended.error;
}

}  // namespace
