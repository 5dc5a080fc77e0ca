// Reads a whole file into memory.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vorda {

// Nothing if the file cannot be read or is larger than maxBytes.
std::optional<std::string> readFile(const std::wstring& path, std::uint32_t maxBytes);

} // namespace vorda
