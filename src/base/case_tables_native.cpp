#include "base/case_tables.h"

#include <locale>

namespace vorda {

void readCaseTables(CaseTables& tables) {
  const std::locale unicode("C.UTF-8");
  const auto& letters = std::use_facet<std::ctype<wchar_t>>(unicode);
  for (std::size_t i = 0; i < kUnitCount; ++i) {
    const auto unit = static_cast<wchar_t>(i);
    const bool surrogate = i >= 0xD800 && i < 0xE000;
    const wchar_t upper = surrogate ? unit : letters.toupper(unit);
    const wchar_t lower = surrogate ? unit : letters.tolower(unit);
    // A unit whose other case lies outside the BMP maps to itself.
    tables.upper[i] = upper < static_cast<wchar_t>(kUnitCount) ? upper : unit;
    tables.lower[i] = lower < static_cast<wchar_t>(kUnitCount) ? lower : unit;
  }
}

} // namespace vorda
