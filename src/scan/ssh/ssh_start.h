// What starting ssh.exe is decided by: where it may come from, what its environment
// holds, and which of its questions the password answers. No system calls.
#pragma once

#include "base/secret.h"

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// The variable through which the password reaches this program when ssh starts it again.
inline constexpr std::wstring_view kPasswordVariable = L"VORDA_ASKPASS";

// The folders of a PATH that say by themselves which place they mean, in their order;
// quotes around one are dropped.
std::vector<std::wstring> absoluteFolders(std::wstring_view pathVariable);

// A block of environment variables, "NAME=value" each behind the other with a NUL after
// each and one more at the end, as the system hands it out: the same with those that lead
// ssh to this program and to the password, in the order of names that the system asks for.
WideSecret askpassEnvironment(const wchar_t* block, std::wstring_view program,
                              const Secret& password);

// Whether a question of ssh is one that the password may answer: not one for the pass
// phrase of a key, the PIN of a security key or the trust in a host's key.
bool asksForPassword(std::wstring_view prompt);

} // namespace vorda
