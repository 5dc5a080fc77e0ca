// Identifies a file on this machine independently of its path.
#pragma once

#include <array>
#include <cstdint>
#include <tuple>

namespace vorda {

struct FileIdentity {
  std::uint64_t volume = 0;
  std::array<std::uint64_t, 2> number{}; // file ID within the volume; up to 128 bits

  bool operator==(const FileIdentity&) const = default;
  bool operator<(const FileIdentity& other) const {
    return std::tie(volume, number) < std::tie(other.volume, other.number);
  }
};

} // namespace vorda
