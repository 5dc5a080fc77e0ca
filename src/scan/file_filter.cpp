#include "scan/file_filter.h"

#include "base/text.h"
#include "base/wildcard.h"
#include "scan/type_totals.h"

#include <algorithm>

namespace vorda {

namespace {

std::wstring_view trim(std::wstring_view text) {
  constexpr std::wstring_view kSpaces = L" \t";
  const std::size_t from = text.find_first_not_of(kSpaces);
  if (from == std::wstring_view::npos) return {};
  return text.substr(from, text.find_last_not_of(kSpaces) - from + 1);
}

template <typename Take>
void forEachPiece(std::wstring_view text, std::wstring_view separators, Take take) {
  while (!text.empty()) {
    const std::size_t end = text.find_first_of(separators);
    const std::wstring_view piece = trim(text.substr(0, end));
    if (!piece.empty()) take(piece);
    if (end == std::wstring_view::npos) break;
    text.remove_prefix(end + 1);
  }
}

bool matchesNamePattern(std::wstring_view pattern, std::wstring_view name) {
  return pattern.find_first_of(L"*?") == std::wstring_view::npos ? containsIgnoreCase(name, pattern)
                                                                 : matchesWildcard(pattern, name);
}

} // namespace

std::vector<std::wstring> parseExtensions(std::wstring_view text) {
  std::vector<std::wstring> extensions;
  forEachPiece(text, L" \t,;", [&extensions](std::wstring_view piece) {
    if (piece.starts_with(L"*.")) piece.remove_prefix(1);
    extensions.push_back((piece.front() == L'.' ? L"" : L".") + lowerCase(piece));
  });
  return extensions;
}

std::vector<std::wstring> parseNamePatterns(std::wstring_view text) {
  std::vector<std::wstring> patterns;
  forEachPiece(text, L";", [&patterns](std::wstring_view piece) { patterns.emplace_back(piece); });
  return patterns;
}

bool passesFilter(std::wstring_view fileName, const std::vector<std::wstring>& extensions,
                  const std::vector<std::wstring>& patterns) {
  if (!extensions.empty()) {
    const TypeKey key(fileName);
    const bool known = std::any_of(extensions.begin(), extensions.end(), [&key](const auto& one) {
      return equalsIgnoreCase(one, key.view());
    });
    if (!known) return false;
  }
  return patterns.empty() ||
         std::any_of(patterns.begin(), patterns.end(), [fileName](const auto& pattern) {
           return matchesNamePattern(pattern, fileName);
         });
}

} // namespace vorda
