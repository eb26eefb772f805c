// halcyra-reg: reg.exe's command line over this system's registry, so that people and scripts can
// act as the product's other processes.
//
//   halcyra-reg query KEY [/v NAME | /ve] [/s]
//   halcyra-reg add KEY [/v NAME | /ve] [/t TYPE] [/s SEPARATOR] [/d DATA] [/f]
//   halcyra-reg delete KEY [/v NAME | /ve | /va] [/f]
//   halcyra-reg export KEY FILE [/y]
//   halcyra-reg import FILE
//   halcyra-reg watch KEY [/s]
//
// The entry point of each system (main_posix.cpp, main_win32.cpp) hands the arguments over in UTF-8.
#include <cctype>
#include <string>

#include "tools/halcyra-reg/reg_commands.h"
#include "tools/halcyra-reg/reg_console.h"

namespace {

const char* const kUsage =
    "REG Operation [Parameter List]\n"
    "\n"
    "  Operation  [ QUERY   | ADD    | DELETE  |\n"
    "               EXPORT  | IMPORT | WATCH ]\n"
    "\n"
    "Return Code: (Except for REG COMPARE)\n"
    "\n"
    "  0 - Successful\n"
    "  1 - Failed\n"
    "\n"
    "For help on a specific operation type:\n"
    "\n"
    "  REG Operation /?";

const char* const kOperationUsage[][2] = {
    {"QUERY", "REG QUERY KeyName [/v ValueName | /ve] [/s]"},
    {"ADD", "REG ADD KeyName [/v ValueName | /ve] [/t Type] [/s Separator] [/d Data] [/f]"},
    {"DELETE", "REG DELETE KeyName [/v ValueName | /ve | /va] [/f]"},
    {"EXPORT", "REG EXPORT KeyName FileName [/y]"},
    {"IMPORT", "REG IMPORT FileName"},
    {"WATCH", "REG WATCH KeyName [/s]"},
};

}  // namespace

namespace RegTool {

bool IsOption(const std::string& argument, const char* option) {
  if (argument.size() < 2 || (argument[0] != '/' && argument[0] != '-')) return false;
  std::string name = argument.substr(1);
  if (name.size() != std::char_traits<char>::length(option)) return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(name[i])) != std::tolower(static_cast<unsigned char>(option[i])))
      return false;
  }
  return true;
}

bool IsHelp(const Arguments& arguments) {
  return arguments.size() == 1 && (IsOption(arguments[0], "?") || IsOption(arguments[0], "h"));
}

}  // namespace RegTool

namespace RegTool {

int RunRegTool(const Arguments& words) {
  if (words.empty()) return InvalidSyntax("");
  std::string operation = words[0];
  for (char& c : operation) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  Arguments arguments(words.begin() + 1, words.end());
  if (IsOption(operation, "?") || IsOption(operation, "H")) {
    PrintLine(kUsage);
    return kSuccess;
  }
  for (const auto& [name, usage] : kOperationUsage) {
    if (operation == name && IsHelp(arguments)) {
      PrintLine(usage);
      return kSuccess;
    }
  }
  if (operation == "QUERY") return Query(arguments);
  if (operation == "ADD") return Add(arguments);
  if (operation == "DELETE") return Delete(arguments);
  if (operation == "EXPORT") return Export(arguments);
  if (operation == "IMPORT") return Import(arguments);
  if (operation == "WATCH") return Watch(arguments);
  return InvalidSyntax("");
}

}  // namespace RegTool
