// Decides which files a scan keeps in its list: by extension, name pattern or size.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// 50 MiB. Without a filter, files of at least this size are kept.
inline constexpr std::uint64_t kFileListThreshold = 52'428'800;

// Parses ".jpg .png", "jpg;png" or "*.JPG, png": separated by spaces, tabs, commas or
// semicolons. The result is lower case with a leading dot.
std::vector<std::wstring> parseExtensions(std::wstring_view text);

// Parses "holiday*; 2019": separated by ";", trimmed, empty patterns dropped.
std::vector<std::wstring> parseNamePatterns(std::wstring_view text);

// Whether the file's type is one of the extensions and its name matches one of the patterns. An
// empty list passes every file. A pattern without "*" or "?" matches any part of the name.
bool passesFilter(std::wstring_view fileName, const std::vector<std::wstring>& extensions,
                  const std::vector<std::wstring>& patterns);

} // namespace vorda
