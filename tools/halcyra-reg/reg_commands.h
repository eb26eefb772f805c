// The operations of halcyra-reg, each given the arguments after its name. Each returns the exit
// code (0 success, 1 failure) after printing what reg.exe would.
#pragma once

#include <string>
#include <vector>

namespace RegTool {

using Arguments = std::vector<std::string>;

// Runs the command line `words` (the operation and its arguments, in UTF-8) and returns the exit
// code. Called once, from the process's entry point.
int RunRegTool(const Arguments& words);

int Query(const Arguments& arguments);
int Add(const Arguments& arguments);
int Delete(const Arguments& arguments);
int Export(const Arguments& arguments);
int Import(const Arguments& arguments);
int Watch(const Arguments& arguments);

// Options are case-insensitive and start with '/' or '-'.
bool IsOption(const std::string& argument, const char* option);
bool IsHelp(const Arguments& arguments);

}  // namespace RegTool
