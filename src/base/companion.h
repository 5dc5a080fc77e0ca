// What vorda.com and the program that it starts agree on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// Set for the started program: the number of an inherited event, which is set once the user wants the
// program to stop.
inline constexpr const wchar_t* kStopEventVariable = L"VORDA_STOP_EVENT";

// The command line that starts a program with the arguments of another command line, which are taken
// over as they stand: what the user quoted, and how, stays as it was.
std::wstring commandLineFor(std::wstring_view program, std::wstring_view ownCommandLine);

// The number of a handle from its decimal digits. Nothing for any other text and for 0.
std::optional<std::uintptr_t> readHandleNumber(std::wstring_view text);

} // namespace vorda
