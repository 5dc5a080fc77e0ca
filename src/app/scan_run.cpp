#include "app/scan_run.h"

#include "app/exit_code.h"
#include "base/out_of_memory.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "report/result_document.h"
#include "scan/file_filter.h"

#include <array>
#include <cstdio>
#include <memory>

namespace vorda {

namespace {

bool isCsv(const ScanRunRequest& request) { return request.format == "csv"; }

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
  job->smallest = request.smallest;
  job->bounds = request.bounds;
  return job;
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// How many files passed a filter; the document lists only some of them.
std::string matches(const Job& job, const ScanRunRequest& request) {
  if (!request.filters()) return {};
  const std::size_t count = job.result.files.size();
  const auto listed = static_cast<std::size_t>(kDocumentOptions.maxFiles);
  std::string text = "  " + counted(count, "file matches", "files match");
  if (!isCsv(request) && count > listed) {
    text += ", JSON lists the largest " + std::to_string(listed);
  }
  return text;
}

std::wstring failureLine(const std::string& word) {
  std::string text = " failed: " + failureText(word);
  const std::size_t colon = word.find(':');
  if (colon != std::string::npos) text += " (exit code " + word.substr(colon + 1) + ")";
  return toUtf16(text + "\n");
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
  if (result.skippedFolders > 0) {
    line += "  " + counted(result.skippedFolders, "entry", "entries") + " skipped";
  }
  if (classifyTarget(job.target) == TargetClass::drive && !texts.noTurbo.empty()) {
    line += texts.noTurbo == kNoAdmin ? "  turbo mode needs administrator rights"
                                      : "  turbo mode unavailable: " + texts.noTurbo;
  }
  if (result.partial != Partial::none) line.append("  partial: ").append(wordOf(result.partial));
  line += matches(job, request);
  return line + "\n  -> " + toUtf8(request.outFile) + "\n";
}

int scanAndWrite(const ScanRunRequest& request, const ScanSteps& steps,
                 const ScanRunOutputs& outputs, ScanRunStop& stop) {
  const bool toFile = request.outFile != L"-";
  const auto notWritten = [&](const std::wstring& reason) {
    outputs.message(L"Vorda: could not write " + request.outFile + L": " + reason + L"\n");
    return kExitFailed;
  };
  // A scan can take an hour.
  if (toFile) {
    const std::wstring why = outputs.whyNotWritable(request.outFile);
    if (!why.empty()) return notWritten(why);
  }
  const std::unique_ptr<Job> job = makeJob(request);
  outputs.message(L"Vorda: scanning " + job->target);
  stop.attach(&job->progress);
  runJob(*job, steps);
  stop.attach(nullptr);
  const std::string error = job->progress.texts().error;
  if (!error.empty()) {
    outputs.message(failureLine(error));
    return kExitFailed;
  }
  outputs.message(L"\n");
  const bool broken = job->result.partial == Partial::broken;
  if (broken) outputs.message(L"Vorda: the connection broke; the result is only a part\n");
  const int done = broken ? kExitFailed : kExitDone;
  const bool csv = isCsv(request);
  const std::string report =
      csv ? buildCsvReport(*job, request.what, localNow(), nowUnixMs()) : std::string();
  const std::string& text = csv ? report : *job->document;
  if (!stop.beginWriting()) {
    outputs.message(L"Vorda: stopped; nothing was written\n");
    return kExitFailed;
  }
  if (!toFile) return outputs.standardOut(text) ? done : kExitFailed;
  const std::wstring reason = outputs.writeFile(request.outFile, text);
  if (!reason.empty()) return notWritten(reason);
  outputs.standardOut(summary(*job, request));
  return done;
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

void ScanRunStop::request() {
  const std::lock_guard lock(mutex_);
  if (writing_) return;
  requested_ = true;
  if (progress_ != nullptr) progress_->cancelRequested = true;
}

void ScanRunStop::attach(ScanProgress* progress) {
  const std::lock_guard lock(mutex_);
  progress_ = progress;
  if (requested_ && progress_ != nullptr) progress_->cancelRequested = true;
}

bool ScanRunStop::beginWriting() {
  const std::lock_guard lock(mutex_);
  writing_ = !requested_;
  return writing_;
}

bool ScanRunStop::writing() const {
  const std::lock_guard lock(mutex_);
  return writing_;
}

int runScanCommand(const ScanRunRequest& request, const ScanSteps& steps,
                   const ScanRunOutputs& outputs, ScanRunStop& stop) {
  try {
    return scanAndWrite(request, steps, outputs, stop);
  } catch (...) {
    const std::string_view word = isOutOfMemory() ? kNoMemory : kScanFailed;
    try {
      outputs.message(L"Vorda:" + failureLine(std::string(word)));
    } catch (...) { // NOLINT(bugprone-empty-catch): then the exit code has to do
    }
    return kExitFailed;
  }
}

} // namespace vorda
