// Feeds arbitrary /t types, separators and /d texts to the data reader of "reg add", and arbitrary
// values to the data column of "reg query", and checks what they give: strings stored whole and
// terminated, numbers and bytes that read back from what query shows, multi-strings that end where
// they should.
#include "tools/halcyra-reg/reg_value_text.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/utf.h"

namespace {

using namespace RegTool;
using Platform::BYTE;
using Platform::DWORD;

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

const DWORD kTypes[] = {Platform::REG_SZ,     Platform::REG_EXPAND_SZ,        Platform::REG_NONE,
                        Platform::REG_DWORD,  Platform::REG_DWORD_BIG_ENDIAN, Platform::REG_QWORD,
                        Platform::REG_BINARY, Platform::REG_MULTI_SZ};

std::vector<BYTE> Terminated(const std::u16string& text) {
  std::vector<BYTE> bytes;
  for (char16_t c : text) {
    bytes.push_back(static_cast<BYTE>(c & 0xFF));
    bytes.push_back(static_cast<BYTE>(c >> 8));
  }
  bytes.insert(bytes.end(), {0, 0});
  return bytes;
}

// The strings of a multi-string: non-empty ones, or one empty one alone, each terminated, and a
// terminator after the last.
void CheckMultiString(const std::vector<BYTE>& bytes) {
  Check(bytes.size() >= 2 && bytes.size() % 2 == 0);
  std::u16string all;
  for (std::size_t i = 0; i < bytes.size(); i += 2) all += static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
  Check(all.back() == u'\0');
  if (all.size() <= 2) return;
  Check(all[all.size() - 2] == u'\0');
  for (std::size_t i = 0; i + 2 < all.size(); ++i) Check(all[i] != u'\0' || all[i + 1] != u'\0');
}

void CheckParsed(DWORD type, const std::optional<std::u16string>& data, const std::vector<BYTE>& bytes) {
  const Value value{u"", type, bytes};
  std::vector<BYTE> again;
  switch (type) {
    case Platform::REG_DWORD:
    case Platform::REG_DWORD_BIG_ENDIAN:
    case Platform::REG_QWORD:
      Check(bytes.size() == (type == Platform::REG_QWORD ? 8u : 4u));
      Check(ParseData(type, Platform::Utf8ToUtf16(QueryText(value)), 0, again) && again == bytes);
      break;
    case Platform::REG_BINARY:
      Check(bytes.size() == (data.value_or(u"").size() + 1) / 2);
      Check(ParseData(type, Platform::Utf8ToUtf16(QueryText(value)), 0, again) && again == bytes);
      break;
    case Platform::REG_MULTI_SZ:
      CheckMultiString(bytes);
      break;
    default:
      Check(bytes == Terminated(data.value_or(u"")));
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  FuzzedDataProvider provider(input, size);
  const DWORD type = provider.PickValueInArray(kTypes);
  const bool hasData = provider.ConsumeBool();
  const bool ownSeparator = provider.ConsumeBool();
  const char16_t separator = ownSeparator ? provider.ConsumeIntegralInRange<char16_t>(1, 0xFFFF) : u'\0';
  const DWORD storedType = provider.ConsumeIntegral<DWORD>() % 16;
  const std::string text = provider.ConsumeRandomLengthString(512);
  std::optional<std::u16string> data;
  if (hasData) data = Platform::Utf8ToUtf16(text);
  std::vector<BYTE> bytes;
  if (ParseData(type, data, separator, bytes)) CheckParsed(type, data, bytes);

  // Whatever a value holds, query shows it.
  const std::string rest = provider.ConsumeRemainingBytesAsString();
  const Value stored{u"", storedType, std::vector<BYTE>(rest.begin(), rest.end())};
  (void)QueryText(stored);
  return 0;
}
