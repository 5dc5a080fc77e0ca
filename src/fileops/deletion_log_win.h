// The log of what was deleted for good or binned, one per user.
#pragma once

#include <string>

namespace vorda {

// Where the log lies; neither it nor its folder need exist.
std::wstring deletionLogPath();

} // namespace vorda
