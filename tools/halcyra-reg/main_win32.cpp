// The entry point on Windows: the arguments as UTF-16, so that names outside the ANSI code page
// reach the tool whole, and in UTF-8 from here on.
#include "platform/utf.h"
#include "tools/halcyra-reg/reg_commands.h"

int wmain(int argc, wchar_t** argv) {
  RegTool::Arguments words;
  for (int i = 1; i < argc; ++i) {
    std::u16string argument;
    for (const wchar_t* c = argv[i]; *c != 0; ++c) argument += static_cast<char16_t>(*c);
    words.push_back(Platform::Utf16ToUtf8(argument));
  }
  return RegTool::RunRegTool(words);
}
