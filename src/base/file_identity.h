// Which file of a machine it is, whatever it is called.
#pragma once

#include <array>
#include <cstdint>
#include <tuple>

namespace vorda {

struct FileIdentity {
  std::uint64_t volume = 0;
  std::array<std::uint64_t, 2> number{}; // within the volume; some number with 128 bits

  bool operator==(const FileIdentity&) const = default;
  bool operator<(const FileIdentity& other) const {
    return std::tie(volume, number) < std::tie(other.volume, other.number);
  }
};

} // namespace vorda
