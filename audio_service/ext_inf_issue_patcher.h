// ExtInfIssuePatcher: repairs audio endpoints that an extension INF package left half-configured.
//
// An endpoint that holds one of the product's audio processing objects in its effects store must
// also carry three marker properties in its endpoint store; some installations got the effects
// without the markers. At each module start the patcher walks the endpoints, picks those holding a
// product effect, and adds whichever marker is missing. It never changes a value that is present,
// so a second run over a repaired machine changes and logs nothing. It keeps nothing between runs.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/types.h"

class ExtInfIssuePatcher {
public:
  // A marker property as text: the key ("{fmtid},pid"), its kind (0 a 32-bit number, 1 a string)
  // and the value it gets when missing.
  struct MarkerText {
    const char16_t* key;
    std::int32_t kind;
    const char16_t* text;
    Platform::DWORD number;
  };

  // What the patcher looks for and adds, as text; the key texts become property keys at each run.
  struct Texts {
    std::vector<const char16_t*> effectKeys;
    std::vector<const char16_t*> effectClsids;
    std::vector<MarkerText> markers;
  };

  // The product's effect keys, effect CLSIDs and markers. Built once; any thread.
  static const Texts& ProductTexts();

  // Walks every endpoint that is active, disabled or unplugged and repairs those that need it. Logs
  // one line at info level when it repaired something, one at error level when a key text did not
  // parse or a COM call of the walk failed; throws nothing. Runs synchronously on the caller's
  // thread (the daemon's control thread), which it initializes for COM for the walk.
  static void PatchSupportedDevices();
  // The same over `texts` instead of the product's.
  static void PatchSupportedDevices(const Texts& texts);
};
