#include "base/paths.h"

#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::size_t kLongPathLength = 240;
constexpr std::wstring_view kLiteralPrefix = L"\\\\?\\";
constexpr std::wstring_view kLiteralSharePrefix = L"\\\\?\\UNC\\";

std::wstring_view withoutPrefix(std::wstring_view path) {
  return path.starts_with(kLiteralPrefix) ? path.substr(kLiteralPrefix.size()) : path;
}

// "X:" or "Volume{…}": with a separator behind it, the root of that volume.
bool isVolumeName(std::wstring_view name) {
  const bool drive = name.size() == 2 && name[1] == L':';
  return drive || (startsWithIgnoreCase(name, L"Volume{") && name.ends_with(L'}') &&
                   std::none_of(name.begin(), name.end(), isSeparator));
}

} // namespace

bool isDriveLetterPath(std::wstring_view path) { return path.size() >= 2 && path[1] == L':'; }

std::wstring systemPath(std::wstring_view path) {
  return path.size() < kLongPathLength ? std::wstring(path) : literalPath(path);
}

std::wstring literalPath(std::wstring_view path) {
  if (path.starts_with(kLiteralPrefix)) return std::wstring(path);
  std::wstring out;
  if (path.starts_with(L"\\\\")) {
    out.append(kLiteralSharePrefix).append(path.substr(2));
  } else {
    out.append(kLiteralPrefix).append(path);
  }
  return out;
}

bool losesItsEnd(std::wstring_view name) {
  return !name.empty() && (name.back() == L'.' || name.back() == L' ');
}

bool isAbsolutePath(std::wstring_view path) {
  if (path.size() < 2) return false;
  if (isSeparator(path[0])) return isSeparator(path[1]) && path.size() > 2 && !isSeparator(path[2]);
  const bool letter = (path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z');
  return letter && path[1] == L':' && (path.size() == 2 || isSeparator(path[2]));
}

bool isPlainAbsolute(std::wstring_view path) {
  const bool anchored =
      path.starts_with(L"\\\\") || (isDriveLetterPath(path) && path.size() > 2 && path[2] == L'\\');
  if (!anchored || path.find(L'/') != std::wstring_view::npos) return false;
  if (path.starts_with(kLiteralPrefix)) return true;
  const auto parts = pathComponents(path);
  return std::none_of(parts.begin(), parts.end(),
                      [](std::wstring_view part) { return part == L"." || part == L".."; });
}

std::wstring joinPath(std::wstring_view folder, std::wstring_view name, wchar_t separator) {
  std::wstring out;
  out.reserve(folder.size() + 1 + name.size());
  out.append(folder);
  appendName(out, name, separator);
  return out;
}

void appendName(std::wstring& path, std::wstring_view name, wchar_t separator) {
  const bool ended =
      !path.empty() && (path.back() == separator || (separator == L'\\' && path.back() == L'/'));
  if (!ended) path.push_back(separator);
  path.append(name);
}

std::vector<std::wstring_view> pathComponents(std::wstring_view path, bool (*separates)(wchar_t)) {
  std::vector<std::wstring_view> parts;
  std::size_t from = 0;
  while (from < path.size()) {
    std::size_t to = from;
    while (to < path.size() && !separates(path[to])) ++to;
    if (to > from) parts.push_back(path.substr(from, to - from));
    from = to + 1;
  }
  return parts;
}

std::wstring_view lastName(std::wstring_view path) { return path.substr(folderPart(path).size()); }

std::wstring_view folderPart(std::wstring_view path) {
  return path.substr(0, path.find_last_of(L"\\/") + 1);
}

std::wstring parentOf(std::wstring_view path) {
  const std::size_t end = path.find_last_of(L"\\/");
  if (end == std::wstring_view::npos || path.size() <= 3) return {};
  if (isDriveLetterPath(path)) {
    return std::wstring(path.substr(0, std::max<std::size_t>(end, 3))); // keeps "X:\"
  }
  // A server and a share together are one root.
  return pathComponents(path).size() <= 2 ? std::wstring() : std::wstring(path.substr(0, end));
}

std::wstring placeRoot(const std::wstring& path) {
  std::wstring at = path;
  for (std::wstring above = parentOf(at); !above.empty(); above = parentOf(at)) at = above;
  return at;
}

std::wstring normaliseRoot(std::wstring_view root) {
  while (root.size() > 3 && isSeparator(root.back())) root.remove_suffix(1);
  std::wstring out(root);
  if (isVolumeName(withoutPrefix(root))) out.push_back(L'\\');
  return out;
}

std::wstring withoutLiteralPrefix(std::wstring_view path) {
  const std::wstring_view rest = withoutPrefix(path);
  const auto parts = pathComponents(rest, [](wchar_t unit) { return unit == L'\\'; });
  const bool plain = std::all_of(parts.begin(), parts.end(), [](std::wstring_view part) {
    return !losesItsEnd(part) && part.find(L'/') == std::wstring_view::npos;
  });
  if (rest.size() == path.size() || !plain) return std::wstring(path);
  if (startsWithIgnoreCase(path, kLiteralSharePrefix)) {
    return L"\\\\" + std::wstring(path.substr(kLiteralSharePrefix.size()));
  }
  return std::wstring(isDriveLetterPath(rest) ? rest : path);
}

bool liesBelow(std::wstring_view path, std::wstring_view folder) {
  return path.size() > folder.size() && startsWithIgnoreCase(path, folder) &&
         (folder.ends_with(L'\\') || path[folder.size()] == L'\\');
}

bool isSshPath(std::wstring_view path) {
  return path.starts_with(L'/') && !path.starts_with(L"//");
}

} // namespace vorda
