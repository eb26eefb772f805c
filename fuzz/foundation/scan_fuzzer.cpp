// Feeds arbitrary UTF-16 texts and formats to the bounded scanner and checks that it stores only
// into its targets and gives a sane result.
//
// Each conversion stores through at most one pointer, so the fuzzer cuts the format before its
// seventeenth '%' and passes sixteen targets. Every target holds more than the whole text, which no
// %s, %c, %[ or integer store can outgrow; the address sanitizer watches their ends.
#include "foundation/scan.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/fuzz_input.h"

using Fuzzing::TextFrom;

namespace {

constexpr int kTargets = 16;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  const std::u16string text = TextFrom(provider.ConsumeRandomLengthString(256), (mode & 1) != 0);
  std::u16string format = TextFrom(provider.ConsumeRemainingBytesAsString(), (mode & 2) != 0);

  int percents = 0;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] == u'%' && ++percents > kTargets) {
      format.resize(i);
      break;
    }
  }

  // Room for the whole text and a terminator, and for a 64-bit integer.
  const std::size_t targetUnits = text.size() + 8;
  std::vector<char16_t> targets[kTargets];
  for (auto& target : targets) {
    target.assign(targetUnits, 0);
  }
  const auto t = [&targets](int index) { return targets[index].data(); };
  const int result = ScanBounded(text.c_str(), format.c_str(), t(0), t(1), t(2), t(3), t(4), t(5), t(6), t(7), t(8),
                                 t(9), t(10), t(11), t(12), t(13), t(14), t(15));
  if (result < -1 || result > kTargets) {
    __builtin_trap();
  }
  return 0;
}
