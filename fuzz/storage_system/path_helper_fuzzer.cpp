// Feeds arbitrary paths to the storage system's path helper: the check of forbidden characters,
// the split into parent and leaf (plain and native), the native copy, and an item's own name and
// path. Whatever it takes, the parts it gives must put the path back together.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz/support/fuzz_input.h"
#include "storage_system/path_helper.h"
#include "tests/storage_system/fake_storage.h"

using StorageSystem::CPathHelper;

namespace {

std::u16string Text(const char16_t* text) { return text == nullptr ? std::u16string() : std::u16string(text); }

void SplitAndJoin(CPathHelper& helper, const std::u16string& path, bool native) {
  char16_t* block = nullptr;
  char16_t* parent = nullptr;
  char16_t* leaf = nullptr;
  const ErrorCode code = native ? helper.ToSplitPathNative(path.c_str(), &block, &parent, &leaf)
                                : helper.ToSplitPath(path.c_str(), &block, &parent, &leaf);
  if (code == ErrorNone && !native) {
    // One leading separator is dropped; the rest comes back as parent and leaf.
    std::u16string expected = !path.empty() && path[0] == u'/' ? path.substr(1) : path;
    if (Text(parent) + Text(leaf) != expected) __builtin_trap();
  }
  helper.FreePath(block);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Fuzzing::SilenceDebugChannel();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Testing::FakeStorageSystem root;
  static Testing::FakeItem store{&root, nullptr, true};
  static Testing::FakeItem value{&root, nullptr, false};

  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  std::u16string path = Fuzzing::TextFrom(provider.ConsumeRemainingBytesAsString(), (mode & 1) != 0);
  // Callers pass terminated strings: the path ends at its first terminator.
  path.resize(std::char_traits<char16_t>::length(path.c_str()));

  (void)CPathHelper::CheckPath(path.c_str());
  CPathHelper helper{(mode & 2) != 0 ? &store : &value};
  SplitAndJoin(helper, path, false);
  SplitAndJoin(helper, path, true);
  char16_t* copy = nullptr;
  if (helper.AllocReplace(path.c_str(), &copy) == ErrorNone && Text(copy).size() != path.size()) __builtin_trap();
  helper.FreePath(copy);
  (void)helper.InitializeNameAndPath(path.c_str());
  return 0;
}
