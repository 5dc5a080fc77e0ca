#include "tree/types.h"

#include <algorithm>

namespace vorda {

std::vector<TypeRow> sortedTypes(const TypeTotals& totals) {
  std::vector<TypeRow> rows;
  rows.reserve(totals.size());
  for (const auto& [type, total] : totals) rows.push_back({type, total});
  std::sort(rows.begin(), rows.end(), [](const TypeRow& a, const TypeRow& b) {
    return a.total.bytes != b.total.bytes ? a.total.bytes > b.total.bytes : a.type < b.type;
  });
  return rows;
}

} // namespace vorda
