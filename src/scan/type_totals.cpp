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

void TypeTotal::add(const TypeTotal& other) {
  bytes += other.bytes;
  files += other.files;
  disk += other.disk;
  back += other.back;
  cloud += other.cloud;
}

void addToType(TypeTotals& totals, std::wstring_view fileName, const TypeTotal& more) {
  const TypeKey key(fileName);
  auto at = totals.find(key.view());
  if (at == totals.end()) at = totals.emplace(key.view(), TypeTotal{}).first;
  at->second.add(more);
}

void addToType(TypeTotals& totals, std::wstring_view fileName, std::uint64_t bytes) {
  addToType(totals, fileName, TypeTotal{bytes, 1});
}

void mergeTypes(TypeTotals& into, const TypeTotals& from) {
  for (const auto& [key, total] : from) into[key].add(total);
}

} // namespace vorda
