// What halcyra-data shows a person: UTF-16 text on standard output, the library's reports on
// standard error.
#pragma once

#include <string>

#include "foundation/error.h"

namespace HalcyraData {

// Writes `text` and a line feed to standard output as UTF-8.
void PrintLine(const std::u16string& text);
// Routes the debug channel, where the data system reports its failures, to standard error, each
// report once (the reporter writes every line twice while no debugger watches).
void ShowReportsOnStandardError();
// Keeps the reports from now on to itself until ShowReportsOnStandardError, which drops them, or
// ShowHeldReports, which shows them: opening the data system reports the normal absence of the
// product's library, which a person needs to see only when opening fails.
void HoldReports();
void ShowHeldReports();
// Writes "halcyra-data: <what>: error <code> (<table text>)" to standard error and returns `code`.
ErrorCode Fail(const char* what, ErrorCode code);

}  // namespace HalcyraData
