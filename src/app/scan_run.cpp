#include "app/scan_run.h"

#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "scan/file_filter.h"

#include <array>
#include <cstdio>
#include <memory>

namespace vorda {

namespace {

std::unique_ptr<Job> makeJob(const ScanRunRequest& request) {
  auto job = std::make_unique<Job>();
  job->id = 1;
  job->target = request.target;
  const TargetClass target = classifyTarget(request.target);
  job->kind = wordOf(target);
  if (target == TargetClass::drive && request.target.size() == 2) job->target.push_back(L'\\');
  job->label = job->target;
  job->extensions = parseExtensions(request.ext);
  job->namePatterns = parseNamePatterns(request.find);
  return job;
}

std::string summary(const Job& job, const ScanRunRequest& request) {
  const ScanResult& result = job.result;
  const ProgressTexts texts = job.progress.texts();
  const std::uint64_t total =
      result.folders.empty() ? result.byteCount : result.folders[0].totalBytes;
  char duration[64];
  std::snprintf(duration, sizeof duration, "%.1f", result.seconds);
  std::string line = "Vorda: " + toUtf8(job.target) + "  " + std::to_string(result.fileCount) +
                     " files  " + summarySize(total) + "  " + duration + " s  (" +
                     std::string(wordOf(texts.method)) + ")";
  if (result.unreadableFolders > 0) {
    line += "  " + std::to_string(result.unreadableFolders) + " folders could not be read";
  }
  if (classifyTarget(job.target) == TargetClass::drive && !texts.noTurbo.empty()) {
    line += texts.noTurbo == kNoAdmin ? "  turbo mode needs administrator rights"
                                      : "  turbo mode unavailable: " + texts.noTurbo;
  }
  return line + "\n  -> " + toUtf8(request.outFile) + "\n";
}

} // namespace

std::string summarySize(std::uint64_t bytes) {
  static constexpr std::array<const char*, 6> kUnits = {"B", "KB", "MB", "GB", "TB", "PB"};
  auto value = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (value >= 1024 && unit + 1 < kUnits.size()) {
    value /= 1024;
    ++unit;
  }
  char text[64];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
  return text;
}

int runScanCommand(const ScanRunRequest& request, const ScanSteps& steps,
                   const ScanRunOutputs& outputs) {
  const std::unique_ptr<Job> job = makeJob(request);
  outputs.message(L"Vorda: scanning " + job->target);
  runJob(*job, steps);
  const std::string error = job->progress.texts().error;
  if (!error.empty()) {
    outputs.message(L" failed: " + toUtf16(failureText(error)) + L"\n");
    return 1;
  }
  outputs.message(L"\n");
  const bool csv = request.format == "csv";
  const std::string report =
      csv ? buildCsvReport(*job, request.what, localNow(), nowUnixMs()) : std::string();
  const std::string& text = csv ? report : *job->document;
  if (request.outFile == L"-") return outputs.standardOut(text) ? 0 : 1;
  const std::wstring reason = outputs.writeFile(request.outFile, text);
  if (!reason.empty()) {
    outputs.message(L"Vorda: could not write " + request.outFile + L": " + reason + L"\n");
    return 1;
  }
  outputs.standardOut(summary(*job, request));
  return 0;
}

} // namespace vorda
