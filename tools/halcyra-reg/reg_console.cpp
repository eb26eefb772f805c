#include "tools/halcyra-reg/reg_console.h"

#include <cstdio>
#include <iostream>

#include "platform/registry.h"
#include "platform/system_error.h"
#include "platform/utf.h"

namespace RegTool {

void PrintLine(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

void PrintError(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fputc('\n', stderr);
  std::fflush(stderr);
}

int Succeeded() {
  PrintLine("The operation completed successfully.");
  return kSuccess;
}

int InvalidSyntax(const std::string& operation) {
  PrintError("ERROR: Invalid syntax.");
  PrintError(operation.empty() ? "Type \"REG /?\" for usage." : "Type \"REG " + operation + " /?\" for usage.");
  return kFailure;
}

int InvalidKeyName(const std::string& operation) {
  PrintError("ERROR: Invalid key name.");
  PrintError("Type \"REG " + operation + " /?\" for usage.");
  return kFailure;
}

int Failed(Platform::LSTATUS status) {
  if (status == Platform::ERROR_FILE_NOT_FOUND) {
    PrintError("ERROR: The system was unable to find the specified registry key or value.");
    return kFailure;
  }
  char16_t text[512];
  Platform::DWORD length =
      Platform::FormatMessageW(Platform::FORMAT_MESSAGE_FROM_SYSTEM | Platform::FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                               static_cast<Platform::DWORD>(status), 0, text, 512, nullptr);
  std::string message =
      length != 0 ? Platform::Utf16ToUtf8(std::u16string_view(text, length)) : "Error " + std::to_string(status) + ".";
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
  PrintError("ERROR: " + message);
  return kFailure;
}

bool Confirm(const std::string& question) {
  std::fputs((question + " (Yes/No)? ").c_str(), stdout);
  std::fflush(stdout);
  std::string answer;
  if (!std::getline(std::cin, answer)) return false;
  while (!answer.empty() && (answer.back() == '\r' || answer.back() == ' ')) answer.pop_back();
  for (char& c : answer) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return answer == "y" || answer == "yes";
}

int Canceled() {
  PrintLine("The operation was canceled by the user.");
  return kSuccess;
}

}  // namespace RegTool
