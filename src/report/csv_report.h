// A finished scan as CSV: UTF-8 with a byte-order mark, a comment line, a header line, one row
// per item, each terminated by CR LF.
#pragma once

#include "base/time.h"
#include "scan/job.h"

#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// What a report lists.
enum class CsvKind { files, types, advice };

// The kind for a word in requests and on the command line; nothing for an unknown word.
std::optional<CsvKind> csvKindOf(std::string_view word);

// The tree must be summed, and the caller must hold job.resultMutex. writtenAt and nowMs
// (milliseconds since 1970) are the current time.
std::string buildCsvReport(const Job& job, CsvKind kind, const LocalTime& writtenAt,
                           std::uint64_t nowMs);

} // namespace vorda
