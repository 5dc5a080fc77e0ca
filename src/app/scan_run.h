// The scan run of the command line: scan, write the result, say what was found, exit.
//
// What it decides is here; where the texts go and how a file gets onto the disk is
// handed in, so that the run can be tested without either.
#pragma once

#include "report/csv_report.h"
#include "scan/job.h"

#include <functional>
#include <string>
#include <string_view>

namespace vorda {

struct ScanRunRequest {
  std::wstring target;
  std::wstring outFile; // "-" is standard output
  std::string format;   // "json" or "csv"
  CsvKind what = CsvKind::files;
  std::wstring ext;
  std::wstring find;
};

struct ScanRunOutputs {
  std::function<void(std::wstring_view)> message;    // to standard error, as it stands
  std::function<bool(std::string_view)> standardOut; // UTF-8; false when it was not written
  // Writes a file whole or not at all; returns the reason of a failure, or nothing.
  std::function<std::wstring(const std::wstring& name, std::string_view text)> writeFile;
};

// Returns the exit code: 0 done, 1 the scan or the writing failed.
int runScanCommand(const ScanRunRequest& request, const ScanSteps& steps,
                   const ScanRunOutputs& outputs);

// The closing line's size: "1023 B", "1.0 KB", "1.5 GB", up to PB; decimal point.
std::string summarySize(std::uint64_t bytes);

} // namespace vorda
