// What halcyra-reg says, where, and how it ends, in reg.exe's words: results on standard output,
// errors on standard error, exit code 0 for success and 1 for failure.
#pragma once

#include <string>

#include "platform/types.h"

namespace RegTool {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;

// A line on standard output (UTF-8, flushed, so that a reader of a pipe sees it at once).
void PrintLine(const std::string& text);
// A line on standard error.
void PrintError(const std::string& text);

// "The operation completed successfully." Returns kSuccess.
int Succeeded();
// "ERROR: Invalid syntax." with the usage hint of `operation` ("ADD", ... or empty). Returns kFailure.
int InvalidSyntax(const std::string& operation);
// "ERROR: Invalid key name." with the usage hint. Returns kFailure.
int InvalidKeyName(const std::string& operation);
// The message of a registry status (not found, access denied, or the system's text). Returns kFailure.
int Failed(Platform::LSTATUS status);

// Asks `question` followed by " (Yes/No)? " and reads the answer; only yes counts (y or yes, any
// case). An end of input counts as no.
bool Confirm(const std::string& question);
// "The operation was canceled by the user." Returns kSuccess, as reg.exe does.
int Canceled();

}  // namespace RegTool
