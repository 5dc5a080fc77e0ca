#include "report/result_document.h"

#include "base/text.h"
#include "json/json_writer.h"
#include "rules/safety_rules.h"
#include "tree/advice.h"
#include "tree/disk_keys.h"
#include "tree/file_list.h"
#include "tree/types.h"

#include <algorithm>
#include <numeric>

namespace vorda {

namespace {

std::size_t limitOf(std::int32_t value) { return static_cast<std::size_t>(std::max(value, 0)); }

void writeMeta(JsonWriter& json, const Job& job, bool more) {
  const ScanResult& result = job.result;
  const std::uint64_t keptBytes =
      std::accumulate(result.files.begin(), result.files.end(), std::uint64_t{0},
                      [](std::uint64_t sum, const FileEntry& file) { return sum + file.size; });
  json.open("meta", '{');
  json.string("path", job.target);
  json.string("method", wordOf(job.progress.texts().method));
  json.string("host", job.origin);
  // "host:/path" has no account, so it is not recognised as a remote target by its form.
  json.string("kind", wordOf(job.overSsh() ? TargetClass::ssh : classifyTarget(job.target)));
  json.seconds(result.seconds);
  json.number("files", result.fileCount);
  json.number("dirs", result.folderCount);
  json.number("denied", result.unreadableFolders);
  json.number("skipped", result.skippedFolders);
  json.number("used", result.byteCount);
  json.number("bigFileBytes", keptBytes);
  json.number("volumeSize", job.drive.totalBytes);
  json.number("volumeFree", job.drive.freeBytes);
  json.string("volumeLabel", job.drive.label);
  json.number("freed", job.freed);
  json.number("binned", job.binned);
  if (result.partial != Partial::none) json.string("partial", wordOf(result.partial));
  if (more) writeUnseenNames(json, result);
  json.close('}');
}

void writeTypes(JsonWriter& json, const ScanResult& result, std::size_t most, bool more) {
  json.open("exts", '[');
  std::vector<TypeRow> rows = sortedTypes(result.types);
  rows.resize(std::min(rows.size(), most));
  for (const TypeRow& row : rows) {
    json.open('{');
    json.string("e", row.type);
    json.number("s", row.total.bytes);
    json.number("c", row.total.files);
    if (more) writeDiskKeys(json, typeKeys(row.total));
    json.close('}');
  }
  json.close(']');
}

void writeFiles(JsonWriter& json, const ScanResult& result, std::size_t most, bool more) {
  json.open("files", '[');
  for (const FileEntry* file : largestFiles(result, most)) {
    writeFileEntry(json, result, *file, more);
  }
  json.close(']');
}

// One of the parallel arrays of a finding, with one element per item.
template <typename Write>
void writeList(JsonWriter& json, const char* name, const Finding& finding, Write write) {
  json.open(name, '[');
  for (const FindingItem& item : finding.items) write(item);
  json.close(']');
}

void writeFinding(JsonWriter& json, const Finding& finding, bool more) {
  json.open('{');
  json.string("code", finding.code);
  json.string("level", finding.level);
  json.number("bytes", finding.bytes);
  json.number("n1", finding.count);
  json.number("n2", finding.fileCount);
  json.string("target", finding.target);
  writeList(json, "paths", finding, [&](const FindingItem& item) { json.string(item.path); });
  writeList(json, "pathBytes", finding, [&](const FindingItem& item) { json.number(item.bytes); });
  writeList(json, "pathFiles", finding, [&](const FindingItem& item) { json.number(item.files); });
  writeList(json, "pathGroup", finding, [&](const FindingItem& item) { json.number(item.group); });
  writeList(json, "pathLock", finding,
            [&](const FindingItem& item) { json.string(wordOf(deleteRefusal(item.path))); });
  if (more) {
    writeList(json, "pathTimes", finding,
              [&](const FindingItem& item) { json.number(item.modified); });
  }
  json.open("notes", '[');
  for (const std::string& note : finding.notes) json.string(note);
  json.close(']');
  json.close('}');
}

// more: with bytes on disk, which the scan then must have, and times of change in the advice.
std::string documentOf(const Job& job, const TreeOptions& options, std::uint64_t nowMs, bool more) {
  const ScanResult& result = job.result;
  JsonWriter json;
  json.open('{');
  writeMeta(json, job, more);
  json.key("tree");
  if (result.folders.empty()) {
    json.null();
  } else {
    writeTreeNode(result.folders, result.rootPath, options, json, 0, 0,
                  more ? &result.disk : nullptr);
  }
  writeTypes(json, result, limitOf(options.maxTypes), more);
  writeFiles(json, result, limitOf(options.maxFiles), more);
  json.open("advice", '[');
  for (const Finding& finding : buildAdvice(result, nowMs)) writeFinding(json, finding, more);
  json.close(']');
  json.close('}');
  return json.take();
}

} // namespace

const std::string& buildResultDocument(Job& job, const TreeOptions& options, std::uint64_t nowMs) {
  job.document = std::make_shared<const std::string>(documentOf(job, options, nowMs, false));
  return *job.document;
}

std::shared_ptr<const std::string> fullResultDocument(Job& job, const TreeOptions& options,
                                                      std::uint64_t nowMs) {
  if (!knowsDisk(job.result)) return job.document;
  if (!job.fullDocument) {
    job.fullDocument = std::make_shared<const std::string>(documentOf(job, options, nowMs, true));
  }
  return job.fullDocument;
}

} // namespace vorda
