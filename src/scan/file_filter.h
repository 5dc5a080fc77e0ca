// Decides which files a scan keeps in its list: by extension, name pattern or size.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// 50 MiB. Without a filter, files of at least this size are kept.
inline constexpr std::uint64_t kFileListThreshold = 52'428'800;

// Bounds on the size and the age of the files that are kept. Of a file whose time is not known it is
// not known either whether it is within bounds on time, so it is not.
struct FileBounds {
  std::uint64_t most = UINT64_MAX; // bytes
  std::uint64_t after = 0;         // changed then or later; milliseconds since 1970, 0: no bound
  std::uint64_t before = 0;        // changed earlier; likewise

  bool byTime() const { return after != 0 || before != 0; }
  bool any() const { return byTime() || most != UINT64_MAX; }
  bool hold(std::uint64_t bytes, std::uint64_t modified) const {
    if (bytes > most) return false;
    if (!byTime()) return true;
    return modified != 0 && modified >= after && (before == 0 || modified < before);
  }
};

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
