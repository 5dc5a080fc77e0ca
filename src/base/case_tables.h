// The case mapping of every UTF-16 unit, asked of the system once per process and
// constant from then on. Windows and native builds fill it from their own system.
#pragma once

#include <array>

namespace vorda {

inline constexpr std::size_t kUnitCount = 0x10000;

struct CaseTables {
  std::array<wchar_t, kUnitCount> upper;
  std::array<wchar_t, kUnitCount> lower;
};

const CaseTables& caseTables();

} // namespace vorda
