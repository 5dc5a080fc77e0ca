// Byte counts formatted for display.
#pragma once

#include <cstdint>
#include <string>

namespace vorda {

// "1023 B", "2 KB", "3 MB", "1,5 GB", "1,25 TB": powers of 1024, with a decimal comma.
std::string formatSize(std::uint64_t bytes);

} // namespace vorda
