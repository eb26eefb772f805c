// What the fuzz targets make of their input: UTF-16 text from bytes, and a debug channel that
// keeps quiet, since the code under test reports every bad input there.
#pragma once

#include <string>

#include "platform/debug_channel.h"

namespace Fuzzing {

// UTF-16 from `bytes`: each byte widened (so that ASCII grammars are easy to reach) or, with
// `pairs`, each pair of bytes as one code unit (so that any unit can appear).
inline std::u16string TextFrom(const std::string& bytes, bool pairs) {
  std::u16string text;
  if (pairs) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
      text.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                           (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    }
  } else {
    for (const char byte : bytes) text.push_back(static_cast<unsigned char>(byte));
  }
  return text;
}

// Drops the debug channel's lines for the rest of the run.
inline void SilenceDebugChannel() {
  Platform::SetDebugChannelHook([](void*, const char*) {}, nullptr);
}

}  // namespace Fuzzing
