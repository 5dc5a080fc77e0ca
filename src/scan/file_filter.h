// Which files a scan keeps in its list: by extension, by name pattern, or by size.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// 50 MiB: without a filter, files from this size on are kept.
inline constexpr std::uint64_t kFileListThreshold = 52'428'800;

// ".jpg .png", "jpg;png", "*.JPG, png": blanks, commas and semicolons separate, a
// leading "*." is a ".", a missing dot is added, case does not count.
std::vector<std::wstring> parseExtensions(std::wstring_view text);

// "holiday*; 2019": patterns separated by ";", blanks around each dropped, empty ones
// ignored.
std::vector<std::wstring> parseNamePatterns(std::wstring_view text);

// Whether a file passes: its type is among the extensions (when there are any) and its
// name matches one of the patterns (when there are any).
bool passesFilter(std::wstring_view fileName, const std::vector<std::wstring>& extensions,
                  const std::vector<std::wstring>& patterns);

} // namespace vorda
