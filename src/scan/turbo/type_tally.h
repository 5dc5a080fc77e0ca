// Totals by file extension while turbo adds the files.
#pragma once

#include "scan/turbo/record_table.h"
#include "scan/type_totals.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace vorda {

// Totals by file extension as spelled, so that type keys are computed once per extension and
// not once per file.
class TypeTally {
public:
  explicit TypeTally(const NamePool& names) : names_(names) {}

  void add(const PooledName& name, const TypeTotal& more) {
    const Ending ending = endingOf(name);
    Totals::value_type*& met = met_[EndingHash()(ending) % met_.size()];
    if (met == nullptr || met->first != ending) met = &*totals_.try_emplace(ending).first;
    met->second.add(more);
  }

  void moveInto(TypeTotals& types) const {
    for (const auto& [ending, total] : totals_) {
      // Without the "x", a name that starts with a dot would have no type.
      std::wstring name = L"x";
      for (std::size_t i = 0; i < ending.length; ++i) {
        const std::uint64_t word = ending.words[i / kInWord] >> (kUnitBits * (i % kInWord));
        name.push_back(static_cast<wchar_t>(word & 0xFFFFU));
      }
      types[typeKeyOf(name)].add(total);
    }
  }

private:
  static constexpr std::size_t kMost = 13; // from this length on, the type is "(other)"
  static constexpr std::size_t kUnitBits = 16;
  static constexpr std::size_t kInWord = 4; // units

  // Built in whole words: reading words whose units were just written one by one is slow.
  struct Ending {
    std::array<std::uint64_t, 4> words{};
    std::size_t length = 0; // units
    bool operator==(const Ending& other) const {
      std::uint64_t differs = length ^ other.length;
      for (std::size_t i = 0; i < words.size(); ++i) differs |= words[i] ^ other.words[i];
      return differs == 0;
    }
  };

  struct EndingHash {
    std::size_t operator()(const Ending& ending) const {
      std::uint64_t hash = ending.length;
      for (const std::uint64_t word : ending.words) {
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
    for (std::size_t word = 0, i = 0; i < ending.length; ++word) {
      const std::size_t end = std::min(ending.length, i + kInWord);
      std::uint64_t units4 = 0;
      for (std::size_t at = 0; i < end; ++i, at += kUnitBits) {
        units4 |= std::uint64_t{units[dot - 1 + i]} << at;
      }
      ending.words[word] = units4;
    }
    return ending;
  }

  using Totals = std::unordered_map<Ending, TypeTotal, EndingHash>;
  const NamePool& names_;
  Totals totals_;
  // The last one of each hash: few endings make up nearly all files.
  std::array<Totals::value_type*, 1024> met_{};
};

} // namespace vorda
