// Which file of a machine it is, whatever it is called.
#pragma once

#include <array>
#include <compare>
#include <cstdint>

namespace vorda {

struct FileIdentity {
  std::uint64_t volume = 0;
  std::array<std::uint64_t, 2> number{}; // within the volume; some number with 128 bits

  auto operator<=>(const FileIdentity&) const = default;
};

} // namespace vorda
