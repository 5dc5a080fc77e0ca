// Where the used space of a scanned drive is, as rows that add up.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct AccountRow {
  std::string_view code;
  std::optional<std::uint64_t> bytes; // nothing: unknown
  bool exact = true;
  bool info = false; // not part of the sum
  bool told = true;  // false: the system does not report it
  std::optional<std::uint64_t> count;
  std::wstring path; // of the folder that holds it; may be empty
  std::vector<AccountPart> parts;
};

struct Account {
  std::vector<AccountRow> rows;      // empty without bytes on disk
  std::optional<std::uint64_t> used; // of a whole drive, if known
  std::int64_t unexplained = 0;      // used less the rows that are no information
  bool fromBitmap = false;
  std::uint32_t cluster = 0; // bytes; 0: unknown
};

// As the result is now, after all changes. The caller holds the job's lock.
Account accountOf(const ScanResult& result);

} // namespace vorda
