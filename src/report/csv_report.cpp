#include "report/csv_report.h"

#include "base/text.h"
#include "tree/advice.h"
#include "tree/types.h"

namespace vorda {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";

// Text fields are always quoted, and quotation marks in them doubled.
void appendQuoted(std::string& out, std::string_view text) {
  out.push_back('"');
  for (const char c : text) {
    if (c == '"') out.push_back('"');
    out.push_back(c);
  }
  out.push_back('"');
}

void appendTypes(std::string& out, const ScanResult& result) {
  out.append("extension,bytes,files").append(kLineEnd);
  for (const TypeRow& row : sortedTypes(result.types)) {
    appendQuoted(out, toUtf8(row.type));
    out.append(",").append(std::to_string(row.total.bytes));
    out.append(",").append(std::to_string(row.total.files)).append(kLineEnd);
  }
}

void appendAdvice(std::string& out, const ScanResult& result, std::uint64_t nowMs) {
  out.append("finding,level,bytes,paths").append(kLineEnd);
  for (const Finding& finding : buildAdvice(result, nowMs)) {
    std::string paths;
    for (const FindingItem& item : finding.items) {
      if (!paths.empty()) paths.append(" | ");
      appendUtf8(paths, item.path);
    }
    appendQuoted(out, finding.code);
    out.push_back(',');
    appendQuoted(out, finding.level);
    out.append(",").append(std::to_string(finding.bytes)).append(",");
    appendQuoted(out, paths);
    out.append(kLineEnd);
  }
}

void appendFiles(std::string& out, const ScanResult& result) {
  out.append("path,bytes,modified").append(kLineEnd);
  for (const FileEntry* file : largestFiles(result, result.files.size())) {
    appendQuoted(out, toUtf8(filePath(result, *file)));
    out.append(",").append(std::to_string(file->size));
    out.append(",").append(utcDate(file->modified)).append(kLineEnd);
  }
}

} // namespace

std::optional<CsvKind> csvKindOf(std::string_view word) {
  if (word == "files") return CsvKind::files;
  if (word == "types") return CsvKind::types;
  if (word == "advice") return CsvKind::advice;
  return std::nullopt;
}

std::string buildCsvReport(const Job& job, CsvKind kind, const LocalTime& writtenAt,
                           std::uint64_t nowMs) {
  std::string out(kByteOrderMark);
  out.append("# Vorda  ").append(toUtf8(job.target)).append("  on ");
  if (job.origin != "local") out.append(job.origin);
  out.append("  scanned ").append(minuteText(writtenAt));
  const std::string_view partial = wordOf(job.result.partial);
  if (!partial.empty()) out.append("  partial: ").append(partial);
  out.append(kLineEnd);
  switch (kind) {
  case CsvKind::files: appendFiles(out, job.result); break;
  case CsvKind::types: appendTypes(out, job.result); break;
  case CsvKind::advice: appendAdvice(out, job.result, nowMs); break;
  }
  return out;
}

} // namespace vorda
