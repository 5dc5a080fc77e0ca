// The upper and lower case of every UTF-16 code unit, read from the system once per process
// and constant from then on.
#pragma once

#include <array>

namespace vorda {

inline constexpr std::size_t kUnitCount = 0x10000;

struct CaseTables {
  std::array<wchar_t, kUnitCount> upper;
  std::array<wchar_t, kUnitCount> lower;
};

const CaseTables& caseTables();

// Fills the tables from the system; one implementation per platform.
void readCaseTables(CaseTables& tables);

} // namespace vorda
