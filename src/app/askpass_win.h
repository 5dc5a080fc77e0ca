// The program as ssh's helper that answers the question for a password.
#pragma once

#include <string_view>

namespace vorda {

// Whether ssh has started this process to be asked.
bool startedAsAskpass();

// Writes the password, which the environment carries, as one line to the standard output;
// exit code 0. Any other question gets no answer and 1.
int askpassMain(std::wstring_view prompt);

} // namespace vorda
