// The values of the options that narrow the file list by size and age.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorda {

// "500", "10K", "10M", "4G", "2T": bytes, or units of 1,024 of the next smaller one; lower case and a "B"
// at the end are allowed. Nothing for anything else, and beyond 64 bits.
std::optional<std::uint64_t> parseSizeValue(std::wstring_view text);

// A moment in milliseconds since 1970: "2026-01-31", midnight UTC at the beginning of a day, or an age
// before now, "36h", "365d", "8w" or "2y" of hours, days, weeks or years of 365 days. Nothing for anything
// else, for days that do not exist, and for moments before 1970-01-02.
std::optional<std::uint64_t> parseMomentValue(std::wstring_view text, std::uint64_t nowMs);

} // namespace vorda
