// Totals by file extension while turbo adds the files.
#pragma once

#include "scan/turbo/record_table.h"
#include "scan/type_totals.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>

namespace vorda {

// Totals by file extension as spelled, so that type keys are computed once per extension and
// not once per file.
class TypeTally {
public:
  explicit TypeTally(const NamePool& names) : names_(names) {}

  void add(const PooledName& name, const TypeTotal& more) {
    const std::uint64_t key = shortKeyOf(name);
    if (key == kNoKey) {
      totals_[endingOf(name)].add(more);
      return;
    }
    constexpr std::uint64_t kSpread = 0x9E37'79B9'7F4A'7C15;
    Met& met = met_[key * kSpread >> kMetShift];
    if (met.key != key) met = {key, &totals_[endingOf(name)]};
    met.total->add(more);
  }

  void moveInto(TypeTotals& types) const {
    // Without the "x", a name that starts with a dot would have no type.
    for (const auto& [ending, total] : totals_) types[typeKeyOf(L"x" + ending)].add(total);
  }

private:
  static constexpr std::size_t kMost = 13; // from this length on, the type is "(other)"
  static constexpr std::uint64_t kNoKey = 0;
  static constexpr std::size_t kMetShift = 54; // leaves the 10 bits that count all of met_

  struct Met {
    std::uint64_t key = kNoKey;
    TypeTotal* total = nullptr;
  };

  // What follows the last dot of a narrow name, if that is one to seven bytes; else kNoKey. Most names
  // have such a key, and eight bytes are searched at once.
  std::uint64_t shortKeyOf(const PooledName& name) const {
    constexpr std::uint64_t kDots = 0x2E2E'2E2E'2E2E'2E2E;
    constexpr std::uint64_t kLowBits = 0x7F7F'7F7F'7F7F'7F7F;
    constexpr unsigned kByte = 8; // bits
    const std::uint64_t last = names_.lastBytes(name);
    const std::uint64_t differs = last ^ kDots;
    // The high bit of each byte that is a dot.
    const std::uint64_t dots = ~(((differs & kLowBits) + kLowBits) | differs | kLowBits);
    const auto after = static_cast<unsigned>(std::countl_zero(dots)) / kByte;
    // Without a byte before the dot, or behind it, it does not begin an extension.
    if (after == 0 || after + 1 >= std::min<std::size_t>(name.length, sizeof last + 1))
      return kNoKey;
    return last >> (kByte * (sizeof last - after));
  }

  // The dot and what follows; empty if there is no extension.
  std::wstring endingOf(const PooledName& name) const {
    const NamePool::Units units = names_.units(name);
    std::size_t dot = name.length;
    while (dot > 0 && units[dot - 1] != '.') --dot;
    std::wstring ending;
    // No dot, or only a leading or trailing one.
    if (dot <= 1 || dot == name.length) return ending;
    const std::size_t end = std::min<std::size_t>(name.length, dot - 1 + kMost);
    for (std::size_t i = dot - 1; i < end; ++i) ending.push_back(static_cast<wchar_t>(units[i]));
    return ending;
  }

  const NamePool& names_;
  TypeTotals totals_; // by endings as spelled
  // The last one of each hash: few endings make up nearly all files.
  std::array<Met, 1024> met_{};
};

} // namespace vorda
