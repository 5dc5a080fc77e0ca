#include "scan/type_totals.h"

#include "base/text.h"

#include <algorithm>

namespace vorda {

TypeKey::TypeKey(std::wstring_view fileName) {
  const std::size_t dot = fileName.rfind(L'.');
  const bool usable = dot != std::wstring_view::npos && dot != 0 && dot + 1 < fileName.size();
  std::wstring_view key = L"(none)";
  if (usable) {
    key = fileName.substr(dot);
    if (key.size() >= kShortestOther) key = L"(other)";
  }
  length_ = key.size();
  std::transform(key.begin(), key.end(), units_.begin(), lowerUnit);
}

std::wstring typeKeyOf(std::wstring_view fileName) {
  return std::wstring(TypeKey(fileName).view());
}

void addToType(TypeTotals& totals, std::wstring_view fileName, std::uint64_t bytes) {
  const TypeKey key(fileName);
  auto at = totals.find(key.view());
  if (at == totals.end()) at = totals.emplace(key.view(), TypeTotal{}).first;
  at->second.bytes += bytes;
  ++at->second.files;
}

void mergeTypes(TypeTotals& into, const TypeTotals& from) {
  for (const auto& [key, total] : from) {
    TypeTotal& sum = into[key];
    sum.bytes += total.bytes;
    sum.files += total.files;
  }
}

} // namespace vorda
