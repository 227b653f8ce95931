// Small helpers shared by the driver package's programs: UTF-8 and UTF-16
// text, and where a program's messages for the user go.
#pragma once

#include "px/posix.h"

#include <string>

namespace package {

std::string utf8(const WCHAR* text);
std::u16string wide(const std::string& text);

// Shows a message to the person printing. The package has no windows on
// Linux: the message goes to the file named by PUMEX_MESSAGES when the print
// command set it (it shows the messages when the job is done), else to the
// terminal the job runs on, else to standard error.
void tellUser(const std::string& message);

// The output version the printer writes its streams in (3 when it says none).
unsigned outputVersion(const std::string& printer);

}  // namespace package
