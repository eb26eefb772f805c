// Feeds arbitrary values to the Linux registry's value rules: the checks of a value to set and the
// size stored, and the shaping of what RegGetValueW returns (expansion, terminators, type
// restrictions).
//
// The size stored is the size given, or for a string whose terminator was left out, one character
// more; terminated strings end with one terminator (two for a multi-string); an expanded text ends
// with its terminator; a type restriction answers one of its three codes.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/support/fuzz_input.h"
#include "platform/posix/registry/value_rules.h"
#include "platform/registry.h"

using namespace Platform;

namespace {

char16_t UnitFromEnd(const std::vector<BYTE>& data, std::size_t fromEnd) {
  char16_t unit = 0;
  std::memcpy(&unit, data.data() + data.size() - 2 * fromEnd, 2);
  return unit;
}

void CheckValueToSet(DWORD type, const std::vector<BYTE>& bytes, DWORD size, std::size_t nameLength) {
  const std::u16string name(nameLength, u'n');
  DWORD stored = 0;
  const LSTATUS status = Posix::CheckValueToSet(name, type, bytes.data(), size, stored);
  if ((status == ERROR_INVALID_PARAMETER) != (nameLength > MAX_VALUE_NAME_LENGTH)) __builtin_trap();
  if (status != ERROR_SUCCESS) return;
  if (stored != size && stored != (size / 2 + 1) * 2) __builtin_trap();
  if (Posix::CheckValueToSet(u"", type, nullptr, 1, stored) != ERROR_NOACCESS) __builtin_trap();
}

void CheckShaping(DWORD type, DWORD flags, std::vector<BYTE> data) {
  const LSTATUS restriction = Posix::CheckTypeRestriction(flags, type, data.size());
  if (restriction != ERROR_SUCCESS && restriction != ERROR_UNSUPPORTED_TYPE && restriction != ERROR_DATATYPE_MISMATCH) {
    __builtin_trap();
  }
  std::vector<BYTE> terminated = data;
  Posix::TerminateStrings(type, terminated);
  const bool isString = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
  if (!isString || data.empty()) {
    if (terminated != data) __builtin_trap();
  } else {
    if (terminated.size() % 2 != 0 || UnitFromEnd(terminated, 1) != 0) __builtin_trap();
    if (type == REG_MULTI_SZ && (terminated.size() < 4 || UnitFromEnd(terminated, 2) != 0)) __builtin_trap();
    if (std::memcmp(terminated.data(), data.data(), data.size()) != 0) __builtin_trap();
  }
  Posix::ExpandEnvironmentText(data);
  if (data.size() < 2 || data.size() % 2 != 0 || UnitFromEnd(data, 1) != 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto type = provider.ConsumeIntegralInRange<DWORD>(0, 12);
  const auto flags = provider.ConsumeIntegral<DWORD>();
  const auto nameLength = provider.ConsumeIntegralInRange<std::size_t>(0, MAX_VALUE_NAME_LENGTH + 2);
  std::string raw = provider.ConsumeRemainingBytesAsString();
  std::vector<BYTE> bytes(raw.begin(), raw.end());
  // The given size leaves room for the character after it, which a string's check may read.
  const DWORD given = bytes.size() >= 2 ? static_cast<DWORD>(bytes.size() - 2) : 0;
  bytes.resize(given + 2, 0);
  CheckValueToSet(type, bytes, given, nameLength);
  CheckShaping(type, flags, std::vector<BYTE>(bytes.begin(), bytes.begin() + given));
  return 0;
}
