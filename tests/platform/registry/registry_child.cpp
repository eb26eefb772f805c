// A child program for the registry tests that cross processes. It works below
// HKEY_CURRENT_USER in the registry its environment names, and reports on standard output.
//
//   registry_child sequence KEY COUNT   sets the DWORD values N00000, N00001, ... of KEY in order,
//                                       printing "started" after the first hundred
//   registry_child writer KEY SECONDS   sets the DWORD value "Value" of KEY to 1, 2, 3, ... for that
//                                       long, then prints "failures F last L"
//   registry_child watch KEY SECONDS    arms a watch on KEY and its subtree, prints "armed", and
//                                       prints "signalled" when it fires (or "timeout")
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/registry.h"
#include "platform/synchronization.h"
#include "platform/utf.h"

using namespace Platform;

namespace {

int Sequence(const std::u16string& key, long count) {
  for (long i = 0; i < count; ++i) {
    char name[32];
    std::snprintf(name, sizeof(name), "N%05ld", i);
    DWORD value = static_cast<DWORD>(i);
    LSTATUS status =
        RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), Platform::Utf8ToUtf16(name).c_str(), REG_DWORD, &value, 4);
    if (status != ERROR_SUCCESS) {
      std::printf("failed %ld %d\n", i, static_cast<int>(status));
      return 1;
    }
    if (i == 99) {
      std::printf("started\n");
      std::fflush(stdout);
    }
  }
  std::printf("done\n");
  return 0;
}

int Writer(const std::u16string& key, long seconds) {
  auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  DWORD last = 0;
  long failures = 0;
  while (std::chrono::steady_clock::now() < end) {
    DWORD value = last + 1;
    if (RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), u"Value", REG_DWORD, &value, 4) == ERROR_SUCCESS) {
      last = value;
    } else {
      ++failures;
    }
  }
  std::printf("failures %ld last %u\n", failures, last);
  return failures == 0 ? 0 : 1;
}

int Watch(const std::u16string& key, long seconds) {
  HKEY handle = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_NOTIFY, &handle) != ERROR_SUCCESS) return 2;
  HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  LSTATUS status = RegNotifyChangeKeyValue(
      handle, TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET | REG_NOTIFY_THREAD_AGNOSTIC, event, TRUE);
  if (status != ERROR_SUCCESS) return 3;
  std::printf("armed\n");
  std::fflush(stdout);
  DWORD result = WaitForSingleObject(event, static_cast<DWORD>(seconds * 1000));
  std::printf(result == WAIT_OBJECT_0 ? "signalled\n" : "timeout\n");
  CloseHandle(event);
  RegCloseKey(handle);
  return result == WAIT_OBJECT_0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  std::u16string key = Platform::Utf8ToUtf16(argv[2]);
  long number = std::strtol(argv[3], nullptr, 10);
  if (std::strcmp(argv[1], "sequence") == 0) return Sequence(key, number);
  if (std::strcmp(argv[1], "writer") == 0) return Writer(key, number);
  if (std::strcmp(argv[1], "watch") == 0) return Watch(key, number);
  return 2;
}
