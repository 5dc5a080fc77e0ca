// The reports that crashes leave behind: their names, and which are kept.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

inline constexpr std::size_t kKeptReports = 3;

// "crash-YYYYMMDD-hhmmss-PID.dmp"; the time is that of the crash in UTC.
bool isCrashReport(std::wstring_view name);

// The names of reports among those of a folder, newest first.
std::vector<std::wstring> crashReports(std::vector<std::wstring> names);

} // namespace vorda
