#include "base/case_tables.h"

#include <windows.h>

namespace vorda {

void readCaseTables(CaseTables& tables) {
  for (std::size_t i = 0; i < kUnitCount; ++i) {
    tables.upper[i] = static_cast<wchar_t>(i);
    tables.lower[i] = static_cast<wchar_t>(i);
  }
  // CompareStringOrdinal folds with the invariant upper-case mapping. Surrogates map to
  // themselves; they are skipped because the system would treat some of them as pairs.
  constexpr std::size_t kFirstSurrogate = 0xD800;
  constexpr std::size_t kAfterSurrogates = 0xE000;
  const auto mapRange = [&tables](std::size_t from, std::size_t to) {
    const std::size_t count = to - from;
    std::array<wchar_t, kUnitCount> source = tables.upper;
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, source.data() + from,
                  static_cast<int>(count), tables.upper.data() + from, static_cast<int>(count),
                  nullptr, nullptr, 0);
    CharLowerBuffW(tables.lower.data() + from, static_cast<DWORD>(count));
  };
  mapRange(1, kFirstSurrogate);
  mapRange(kAfterSurrogates, kUnitCount);
}

} // namespace vorda
