// A whole small file at once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vorda {

// Nothing when the file cannot be opened or read, or holds more bytes than that.
std::optional<std::string> readFile(const std::wstring& path, std::uint32_t mostBytes);

} // namespace vorda
