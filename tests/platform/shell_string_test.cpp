#include "platform/shell_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using namespace Platform;

TEST(ShellStringTest, StrStrIWFindsTheFirstPlaceIgnoringCase) {
  const char16_t* text = u"ROOT\\quillonhl3VAD\\0000 QuillonHL3Vad";
  EXPECT_EQ(StrStrIW(text, u"QuillonHL3Vad"), text + 5);
  EXPECT_EQ(StrStrIW(text, u"root"), text);
}

TEST(ShellStringTest, StrStrIWGivesNullWhenNotFoundOrForNullOrEmptyArguments) {
  EXPECT_EQ(StrStrIW(u"HDAUDIO\\FUNC_01", u"QuillonHL3Vad"), nullptr);
  EXPECT_EQ(StrStrIW(u"abc", u""), nullptr);
  EXPECT_EQ(StrStrIW(nullptr, u"a"), nullptr);
  EXPECT_EQ(StrStrIW(u"a", nullptr), nullptr);
  EXPECT_EQ(StrStrIW(u"ab", u"abc"), nullptr);
}

TEST(ShellStringTest, StrStrIWIgnoresTheCaseOfAccentedLetters) {
  const char16_t* text = u"x\u00E9y";
  EXPECT_EQ(StrStrIW(text, u"\u00C9"), text + 1);
}

TEST(ShellStringTest, CharUpperWTurnsAStringToUpperCaseInPlace) {
  char16_t text[] = u"vid_0b05&pid_1916 \u00E9\u00FF\u0101\u03B1\u0430z";
  EXPECT_EQ(CharUpperW(text), text);
  EXPECT_EQ(std::u16string(text), u"VID_0B05&PID_1916 \u00C9\u0178\u0100\u0391\u0410Z");
}

TEST(ShellStringTest, CharUpperWTakesASingleCharacterInThePointer) {
  auto single = [](char16_t c) {
    return static_cast<char16_t>(
        reinterpret_cast<std::uintptr_t>(CharUpperW(reinterpret_cast<LPWSTR>(static_cast<std::uintptr_t>(c)))));
  };
  EXPECT_EQ(single(u'q'), u'Q');
  EXPECT_EQ(single(u'7'), u'7');
}

}  // namespace
