#include "base/case_tables.h"

#include <windows.h>

#include <memory>

namespace vorda {

namespace {

std::unique_ptr<const CaseTables> readTables() {
  auto tables = std::make_unique<CaseTables>();
  for (std::size_t i = 0; i < kUnitCount; ++i) {
    tables->upper[i] = static_cast<wchar_t>(i);
    tables->lower[i] = static_cast<wchar_t>(i);
  }
  // The invariant upper-casing is the table that CompareStringOrdinal folds with.
  // Surrogates have no case of their own; asked in two stretches around them, the
  // system never sees a pair.
  constexpr std::size_t kFirstSurrogate = 0xD800;
  constexpr std::size_t kAfterSurrogates = 0xE000;
  const auto mapStretch = [&tables](std::size_t from, std::size_t to) {
    const std::size_t count = to - from;
    std::array<wchar_t, kUnitCount> source = tables->upper;
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, source.data() + from,
                  static_cast<int>(count), tables->upper.data() + from, static_cast<int>(count),
                  nullptr, nullptr, 0);
    CharLowerBuffW(tables->lower.data() + from, static_cast<DWORD>(count));
  };
  mapStretch(1, kFirstSurrogate);
  mapStretch(kAfterSurrogates, kUnitCount);
  return tables;
}

} // namespace

const CaseTables& caseTables() {
  static const std::unique_ptr<const CaseTables> tables = readTables();
  return *tables;
}

} // namespace vorda
