// Feeds arbitrary formats to the bounded formatter, wide and narrow, into buffers of arbitrary
// capacity, and checks that it stays inside the buffer and terminates it.
//
// A format may ask for any argument at any position, so the fuzzer walks it with the formatter's own
// grammar first: the argument of each string conversion is a valid string (made from the input, and
// terminated both as UTF-8 and as UTF-16) or, when the input says so, null; every other
// integer-class argument is an integer from the input, every double one made of the input's bits.
// The format is cut where it could ask for more arguments than the call passes, %n becomes %d, and
// %Lf becomes %lf, since the call passes no long double.
#include "foundation/format.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kIntegerSlots = 16;
constexpr int kFloatSlots = 8;

template <typename Char>
bool IsOneOf(Char character, const char* set) {
  return character != 0 && static_cast<std::uint32_t>(character) < 0x80 &&
         std::strchr(set, static_cast<char>(character)) != nullptr;
}

// Walks `format` as the formatter does, marks the integer-class slots that a string conversion
// reads, and makes the format safe for the fixed argument list.
template <typename Char>
void PlanArguments(std::basic_string<Char>& format, bool (&isString)[kIntegerSlots]) {
  format.resize(std::char_traits<Char>::length(format.c_str()));
  int integers = 0;
  int floats = 0;
  std::size_t i = 0;
  const auto at = [&format](std::size_t index) { return index < format.size() ? format[index] : Char{0}; };
  const auto isDigit = [](Char character) { return character >= '0' && character <= '9'; };
  while (i < format.size()) {
    if (format[i] != '%') {
      ++i;
      continue;
    }
    // One conversion reads at most three integer-class arguments (two stars and its value) or one
    // double.
    if (integers + 3 > kIntegerSlots || floats + 1 > kFloatSlots) {
      format.resize(i);
      return;
    }
    ++i;
    while (IsOneOf(at(i), "-+ #0")) {
      ++i;
    }
    if (at(i) == '*') {
      ++integers;
      ++i;
    } else {
      while (isDigit(at(i))) {
        ++i;
      }
    }
    if (at(i) == '.') {
      ++i;
      if (at(i) == '*') {
        ++integers;
        ++i;
      } else {
        while (isDigit(at(i))) {
          ++i;
        }
      }
    }
    std::size_t longDouble = std::string::npos;
    if (at(i) == 'h' || at(i) == 'l') {
      i += at(i + 1) == at(i) ? 2 : 1;
    } else if (at(i) == 'I') {
      i += (at(i + 1) == '6' && at(i + 2) == '4') || (at(i + 1) == '3' && at(i + 2) == '2') ? 3 : 1;
    } else if (IsOneOf(at(i), "jztw")) {
      ++i;
    } else if (at(i) == 'L') {
      longDouble = i++;
    }
    const Char conversion = at(i);
    if (IsOneOf(conversion, "diuxXocCp")) {
      ++integers;
    } else if (IsOneOf(conversion, "sS")) {
      isString[integers++] = true;
    } else if (conversion == 'n') {
      format[i] = 'd';
      ++integers;
    } else if (IsOneOf(conversion, "fFeEgG")) {
      if (longDouble != std::string::npos) {
        format[longDouble] = 'l';
      }
      ++floats;
    } else if (conversion != '%') {
      return;
    }
    ++i;
  }
}

// A buffer that reads as a terminated UTF-8 string and as a terminated UTF-16 string.
std::vector<char16_t> MakeString(const std::string& bytes) {
  std::vector<char16_t> units(bytes.size() / 2 + 2, 0);
  std::memcpy(units.data(), bytes.data(), bytes.size());
  return units;
}

template <typename Char>
std::basic_string<Char> FormatFrom(const std::string& bytes, bool pairs) {
  if constexpr (sizeof(Char) == 1) {
    return bytes;
  } else {
    std::basic_string<Char> wide;
    if (pairs) {
      for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        wide.push_back(
            static_cast<Char>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
      }
    } else {
      for (const char byte : bytes) {
        wide.push_back(static_cast<unsigned char>(byte));
      }
    }
    return wide;
  }
}

int Call(char16_t* destination, std::size_t capacity, const char16_t* format, const std::uintptr_t (&i)[16],
         const double (&d)[8]) {
  return FormatBounded(destination, capacity, format, i[0], i[1], i[2], i[3], i[4], i[5], i[6], i[7], i[8], i[9], i[10],
                       i[11], i[12], i[13], i[14], i[15], d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
}

int Call(char* destination, std::size_t capacity, const char* format, const std::uintptr_t (&i)[16],
         const double (&d)[8]) {
  return FormatBoundedA(destination, capacity, format, i[0], i[1], i[2], i[3], i[4], i[5], i[6], i[7], i[8], i[9],
                        i[10], i[11], i[12], i[13], i[14], i[15], d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
}

template <typename Char>
void FormatOnce(std::basic_string<Char> format, std::size_t capacity, const std::uint64_t (&integers)[16],
                const double (&doubles)[8], const char16_t* (&strings)[2]) {
  bool isString[kIntegerSlots] = {};
  PlanArguments(format, isString);
  std::uintptr_t slots[kIntegerSlots];
  for (int k = 0; k < kIntegerSlots; ++k) {
    slots[k] =
        isString[k] ? reinterpret_cast<std::uintptr_t>(strings[k % 2]) : static_cast<std::uintptr_t>(integers[k]);
  }
  // Exactly `capacity` elements, so that the address sanitizer sees any write past the end; one
  // sentinel element when the capacity is 0.
  const Char sentinel = static_cast<Char>(0x5A);
  std::vector<Char> destination(capacity == 0 ? 1 : capacity, sentinel);
  const int result = Call(destination.data(), capacity, format.c_str(), slots, doubles);
  if (capacity == 0) {
    if (result != -1 || destination[0] != sentinel) {
      __builtin_trap();
    }
    return;
  }
  if (result < -1 || (result >= 0 && (static_cast<std::size_t>(result) >= capacity || destination[result] != 0))) {
    __builtin_trap();
  }
  bool terminated = false;
  for (const Char unit : destination) {
    terminated = terminated || unit == 0;
  }
  if (!terminated) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  std::size_t capacity = mode >> 1;
  if (capacity == 127) {
    capacity = 8192;
  }
  const bool pairs = (mode & 1) != 0;
  std::uint64_t integers[kIntegerSlots];
  for (auto& value : integers) {
    value = provider.ConsumeIntegral<std::uint64_t>();
  }
  double doubles[kFloatSlots];
  for (auto& value : doubles) {
    const auto bits = provider.ConsumeIntegral<std::uint64_t>();
    std::memcpy(&value, &bits, sizeof value);
  }
  const bool secondStringIsNull = provider.ConsumeBool();
  const std::vector<char16_t> storage[2] = {MakeString(provider.ConsumeRandomLengthString(64)),
                                            MakeString(provider.ConsumeRandomLengthString(64))};
  const char16_t* strings[2] = {storage[0].data(), secondStringIsNull ? nullptr : storage[1].data()};
  const std::string format = provider.ConsumeRemainingBytesAsString();
  FormatOnce(FormatFrom<char16_t>(format, pairs), capacity, integers, doubles, strings);
  FormatOnce(FormatFrom<char>(format, pairs), capacity, integers, doubles, strings);
  return 0;
}
