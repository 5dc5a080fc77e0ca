// The types of a scan, in the order in which people look at them.
#pragma once

#include "scan/type_totals.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct TypeRow {
  std::wstring type;
  TypeTotal total;
};

// Largest first, equal ones by name.
std::vector<TypeRow> sortedTypes(const TypeTotals& totals);

} // namespace vorda
