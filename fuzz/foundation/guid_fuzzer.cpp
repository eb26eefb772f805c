// Feeds arbitrary text to the GUID parser, with and without the opening brace. A text it takes
// must give a GUID whose printed form, braced and without its brace, parses back to the same GUID.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "foundation/guid.h"
#include "fuzz/support/fuzz_input.h"

using Common::GUID;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Fuzzing::SilenceDebugChannel();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  std::u16string text = Fuzzing::TextFrom(provider.ConsumeRemainingBytesAsString(), (mode & 1) != 0);
  if ((mode & 2) != 0) text.insert(text.begin(), u'{');

  GUID parsed;
  if (GUID::StringToGuid(text.c_str(), parsed) != ErrorNone) {
    if (!parsed.IsNull()) __builtin_trap();  // a failed parse leaves the result untouched
    return 0;
  }
  char16_t printed[GUID::kTextCapacity];
  if (parsed.ToString(printed, GUID::kTextCapacity) != ErrorNone) __builtin_trap();
  GUID braced, bare;
  if (GUID::StringToGuid(printed, braced) != ErrorNone || !(braced == parsed)) __builtin_trap();
  if (GUID::StringToGuid(printed + 1, bare) != ErrorNone || !(bare == parsed)) __builtin_trap();
  return 0;
}
