// A hash for tables whose keys somebody else chooses, such as the names of a foreign host: which
// keys fall into the same place cannot be computed without the key, so nobody can make such a
// table slow.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorda {

struct HashKey {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

// SipHash-1-3.
std::uint64_t sipHash(const HashKey& key, std::string_view bytes);

// With a random key that this process keeps.
std::uint64_t keyedHash(std::string_view bytes);
std::uint64_t keyedHash(std::wstring_view text);

// For a map from std::wstring that can be searched with a view.
struct KeyedTextHash {
  using is_transparent = void;
  std::size_t operator()(std::wstring_view text) const {
    return static_cast<std::size_t>(keyedHash(text));
  }
};

} // namespace vorda
