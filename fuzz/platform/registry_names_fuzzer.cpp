// Feeds arbitrary key paths and names to the Linux registry's name rules: the parsing of a path
// into its components and the case folding that makes names compare without regard to case.
//
// A path it takes must split into components that are neither empty nor over the length limit nor
// hold a backslash, and whose folded forms joined by backslashes are the path's folded form; a path
// it refuses must start with a backslash or hold a component over the limit. Folding keeps the
// length and folds a folded name to itself.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz/support/fuzz_input.h"
#include "platform/posix/registry/names.h"
#include "platform/registry.h"

using namespace Platform;
using Posix::Folded;
using Posix::KeyPath;

namespace {

void CheckPath(const std::u16string& text) {
  KeyPath path;
  const LSTATUS status = Posix::ParseKeyPath(text.c_str(), path);
  bool tooLong = false;
  std::size_t run = 0;
  for (char16_t c : text) {
    run = c == u'\\' ? 0 : run + 1;
    tooLong = tooLong || run > MAX_KEY_NAME_LENGTH;
  }
  if (!text.empty() && text[0] == u'\\') {
    if (status != ERROR_BAD_PATHNAME) __builtin_trap();
    return;
  }
  if (tooLong != (status == ERROR_INVALID_PARAMETER) || (status != ERROR_SUCCESS && !tooLong)) __builtin_trap();
  if (status != ERROR_SUCCESS) return;
  std::u16string joined;
  for (std::u16string_view component : path.components) {
    if (component.empty() || component.size() > MAX_KEY_NAME_LENGTH) __builtin_trap();
    if (component.find(u'\\') != std::u16string_view::npos) __builtin_trap();
    if (!joined.empty()) joined += u'\\';
    joined += Folded(component);
  }
  if (joined != path.folded) __builtin_trap();
  if (Posix::JoinFolded(u"", path.folded) != path.folded) __builtin_trap();
}

void CheckFolding(const std::u16string& name) {
  const std::u16string folded = Folded(name);
  if (folded.size() != name.size() || Folded(folded) != folded) __builtin_trap();
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (Posix::FoldCase(name[i]) != folded[i]) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  std::u16string text = Fuzzing::TextFrom(provider.ConsumeRemainingBytesAsString(), (mode & 1) != 0);
  // Callers pass terminated strings: the text ends at its first terminator.
  text.resize(std::char_traits<char16_t>::length(text.c_str()));
  CheckPath(text);
  CheckFolding(text);
  return 0;
}
