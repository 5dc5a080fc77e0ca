// The names of the options that the code compares or passes to another copy. Part of the
// interface.
#pragma once

#include "update/agent_record.h" // --agent, --server, --service and --token

namespace vorda {

inline constexpr std::wstring_view kHelpOption = L"--help";
inline constexpr std::wstring_view kShortHelpOption = L"-h";
inline constexpr std::wstring_view kPortOption = L"--port";
inline constexpr std::wstring_view kNoOpenOption = L"--no-open";
inline constexpr std::wstring_view kLockOption = L"--lock";
inline constexpr std::wstring_view kCloseForUpdateOption = L"--close-for-update";
inline constexpr std::wstring_view kCloseForRemovalOption = L"--close-for-removal";

} // namespace vorda
