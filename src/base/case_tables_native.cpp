#include "base/case_tables.h"

#include <locale>
#include <memory>

namespace vorda {

namespace {

std::unique_ptr<const CaseTables> readTables() {
  auto tables = std::make_unique<CaseTables>();
  const std::locale unicode("C.UTF-8");
  const auto& letters = std::use_facet<std::ctype<wchar_t>>(unicode);
  for (std::size_t i = 0; i < kUnitCount; ++i) {
    const auto unit = static_cast<wchar_t>(i);
    const bool surrogate = i >= 0xD800 && i < 0xE000;
    const wchar_t upper = surrogate ? unit : letters.toupper(unit);
    const wchar_t lower = surrogate ? unit : letters.tolower(unit);
    // A mapping that leaves the plane has no single unit; the unit then stays.
    tables->upper[i] = upper < static_cast<wchar_t>(kUnitCount) ? upper : unit;
    tables->lower[i] = lower < static_cast<wchar_t>(kUnitCount) ? lower : unit;
  }
  return tables;
}

} // namespace

const CaseTables& caseTables() {
  static const std::unique_ptr<const CaseTables> tables = readTables();
  return *tables;
}

} // namespace vorda
