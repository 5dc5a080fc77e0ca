// The one rule by which a file name becomes a type, and the totals per type.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vorda {

struct TypeTotal {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
};

struct TypeKeyHash {
  using is_transparent = void;
  std::size_t operator()(std::wstring_view key) const {
    return std::hash<std::wstring_view>()(key);
  }
};

using TypeTotals = std::unordered_map<std::wstring, TypeTotal, TypeKeyHash, std::equal_to<>>;

// The type of a file name: its extension, lower-cased and with the dot, when that is
// shorter than 13 units; "(other)" for a longer one; "(none)" for a name whose last dot
// is missing, first or last. The hot loops use this class to look keys up without
// making a string for each file.
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
void mergeTypes(TypeTotals& into, const TypeTotals& from);

} // namespace vorda
