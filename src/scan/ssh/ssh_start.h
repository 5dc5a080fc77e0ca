// Decisions for starting ssh.exe: where to look for it, its environment, and which prompts the
// password answers. No system calls.
#pragma once

#include "base/secret.h"

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Passes the password to this program when ssh starts it as its askpass helper.
inline constexpr std::wstring_view kPasswordVariable = L"VORDA_ASKPASS";

// The absolute folders of a PATH value in order, without quotes.
std::vector<std::wstring> absoluteFolders(std::wstring_view pathVariable);

// The environment block of ssh: the given block ("NAME=value" entries, each ending in NUL, then
// one more NUL) with the variables that make ssh run program to get the password. Sorted by
// name ignoring case, as Windows requires.
WideSecret askpassEnvironment(const wchar_t* block, std::wstring_view program,
                              const Secret& password);

// Whether a prompt of ssh asks for the account's password, and not for a key's passphrase, a
// security key's PIN or trust in a host key.
bool asksForPassword(std::wstring_view prompt);

} // namespace vorda
