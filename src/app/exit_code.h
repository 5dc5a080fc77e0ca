// The exit codes of the process.
#pragma once

namespace vorda {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitWrongArguments = 2;
inline constexpr int kExitNewerVersion = 3; // --check-update only

} // namespace vorda
