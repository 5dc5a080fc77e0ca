// The scan run of the command line: scans, writes the result and prints a summary. The outputs
// are passed in.
#pragma once

#include "report/csv_report.h"
#include "scan/job.h"

#include <functional>
#include <mutex>
#include <optional>
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
  std::optional<std::uint64_t> smallest{}; // bytes
  FileBounds bounds{};

  bool filters() const {
    return !ext.empty() || !find.empty() || smallest.has_value() || bounds.any();
  }
};

struct ScanRunOutputs {
  std::function<void(std::wstring_view)> message; // to standard error, without adding a line break
  std::function<bool(std::string_view)> standardOut; // UTF-8; false on failure
  // Writes the whole file or nothing. Returns the reason of a failure, or an empty string.
  std::function<std::wstring(const std::wstring& name, std::string_view text)> writeFile;
  // Why writeFile would fail, before there is anything to write; empty if nothing is known.
  std::function<std::wstring(const std::wstring& name)> whyNotWritable;
};

// Lets another thread stop a run. A stopped run writes nothing: either the whole result is written, or
// none of it.
class ScanRunStop {
public:
  void request();

  // For the run itself. The scan's progress is that of request() until the object is attached to none.
  void attach(ScanProgress* progress);
  // False if the run was stopped; after true it can no longer be.
  bool beginWriting();

  bool writing() const;

private:
  mutable std::mutex mutex_;
  ScanProgress* progress_ = nullptr;
  bool requested_ = false;
  bool writing_ = false;
};

// Returns the exit code: kExitDone, or kExitFailed if scanning or writing failed, if the connection to
// a host broke, or if the run was stopped.
int runScanCommand(const ScanRunRequest& request, const ScanSteps& steps,
                   const ScanRunOutputs& outputs, ScanRunStop& stop);

// The size in the summary, such as "1023 B", "1.0 KB" or "1.5 GB", up to PB.
std::string summarySize(std::uint64_t bytes);

} // namespace vorda
