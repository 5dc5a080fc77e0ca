// The type of a file, derived from its name, and the totals per type.
#pragma once

#include "base/keyed_hash.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vorda {

struct TypeTotal {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  // If the scan knows them:
  std::uint64_t disk = 0;  // bytes on disk
  std::uint64_t back = 0;  // bytes that come back if all files of the type are deleted
  std::uint64_t cloud = 0; // bytes only in the cloud

  void add(const TypeTotal& other);
};

using TypeTotals = std::unordered_map<std::wstring, TypeTotal, KeyedTextHash, std::equal_to<>>;

// The type of a file name: its extension with the dot, in lower case, if that has fewer than
// 13 UTF-16 units, else "(other)". "(none)" if the name has no dot, or its last dot is its
// first or last character. Needs no allocation, for lookups in hot loops.
class TypeKey {
public:
  explicit TypeKey(std::wstring_view fileName);
  std::wstring_view view() const { return {units_.data(), length_}; }

private:
  static constexpr std::size_t kShortestOther = 13;
  std::array<wchar_t, kShortestOther> units_;
  std::size_t length_;
};

std::wstring typeKeyOf(std::wstring_view fileName);

void addToType(TypeTotals& totals, std::wstring_view fileName, std::uint64_t bytes);
void addToType(TypeTotals& totals, std::wstring_view fileName, const TypeTotal& more);
void mergeTypes(TypeTotals& into, const TypeTotals& from);

} // namespace vorda
