// Answers the password prompt of ssh, which starts this program as its askpass helper.
#pragma once

#include <string_view>

namespace vorda {

// Whether ssh started this process to answer a prompt.
bool startedAsAskpass();

// Answers a password prompt with the password from the environment, as one line on standard
// output. Returns the exit code: kExitDone, or kExitFailed for any other prompt, which gets no
// answer.
int askpassMain(std::wstring_view prompt);

} // namespace vorda
