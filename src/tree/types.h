// The types of a scan, sorted.
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

// Largest first, equal sizes by name.
std::vector<TypeRow> sortedTypes(const TypeTotals& totals);

} // namespace vorda
