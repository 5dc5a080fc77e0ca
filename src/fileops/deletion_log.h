// The lines of the deletion log, one record each, UTF-8, ended by CR LF.
#pragma once

#include "base/time.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// mode: "definitief", "prullenbak" or "definitief (niet in de prullenbak)".
std::string deletedLine(const LocalTime& at, std::string_view mode, std::uint64_t bytes,
                        std::wstring_view path);

// code: the shell's, 0 when it only reported that something was aborted.
std::string failedLine(const LocalTime& at, int code, std::uint64_t left, std::uint64_t handed);

std::string cleanedLine(const LocalTime& at, std::uint64_t bytes, std::wstring_view folder,
                        std::uint64_t deleted, std::uint64_t skipped);

} // namespace vorda
