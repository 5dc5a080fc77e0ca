// A finished scan as a CSV text for spreadsheets and scripts: UTF-8 with a byte-order
// mark, a comment line, a column line, one row per item, each ended by CR LF.
#pragma once

#include "base/time.h"
#include "scan/job.h"

#include <string>
#include <string_view>

namespace vorda {

// shape: "types", "advice", or anything else for the list of kept files. The tree must
// be summed; the caller holds job.resultMutex. The times are those of writing.
std::string buildCsvReport(const Job& job, std::string_view shape, const LocalTime& writtenAt,
                           std::uint64_t nowMs);

} // namespace vorda
