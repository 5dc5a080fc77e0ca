// Totals by file extension while turbo adds the files.
#pragma once

#include "scan/turbo/record_table.h"
#include "scan/type_totals.h"

#include <algorithm>
#include <array>
#include <bit>
#include <unordered_map>

namespace vorda {

// Totals by file extension as spelled, so that type keys are computed once per extension and
// not once per file.
class TypeTally {
public:
  explicit TypeTally(const NamePool& names) : names_(names) {}

  void add(const PooledName& name, const TypeTotal& more) {
    const Ending ending = endingOf(name);
    if (last_ == nullptr || last_->first != ending) last_ = &*totals_.try_emplace(ending).first;
    last_->second.add(more);
  }

  void moveInto(TypeTotals& types) const {
    for (const auto& [ending, total] : totals_) {
      // Without the "x", a name that starts with a dot would have no type.
      std::wstring name = L"x";
      for (std::size_t i = 0; i < ending.length; ++i) {
        name.push_back(static_cast<wchar_t>(ending.units[i]));
      }
      types[typeKeyOf(name)].add(total);
    }
  }

private:
  static constexpr std::size_t kMost = 13; // from this length on, the type is "(other)"

  struct Ending {
    std::array<std::uint16_t, 16> units{}; // whole 64-bit words, for the hash
    std::size_t length = 0;
    bool operator==(const Ending&) const = default;
  };

  struct EndingHash {
    std::size_t operator()(const Ending& ending) const {
      std::uint64_t hash = ending.length;
      for (const std::uint64_t word : std::bit_cast<std::array<std::uint64_t, 4>>(ending.units)) {
        hash = (hash ^ word) * 0x9E37'79B9'7F4A'7C15ULL;
        hash ^= hash >> 32U;
      }
      return static_cast<std::size_t>(hash);
    }
  };

  Ending endingOf(const PooledName& name) const {
    Ending ending;
    const NamePool::Units units = names_.units(name);
    std::size_t dot = name.length;
    while (dot > 0 && units[dot - 1] != '.') --dot;
    // No dot, or only a leading or trailing one: no extension.
    if (dot <= 1 || dot == name.length) return ending;
    ending.length = std::min<std::size_t>(name.length - (dot - 1), kMost);
    for (std::size_t i = 0; i < ending.length; ++i) ending.units[i] = units[dot - 1 + i];
    return ending;
  }

  using Totals = std::unordered_map<Ending, TypeTotal, EndingHash>;
  const NamePool& names_;
  Totals totals_;
  Totals::value_type* last_ = nullptr;
};

} // namespace vorda
