#include "api/delete_api.h"

#include "api/kept_contents.h"
#include "api/request_fields.h"
#include "api/touched_scans.h"
#include "api/words.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "fileops/delete.h"
#include "json/json_writer.h"
#include "tree/size_tree.h"

#include <algorithm>

namespace vorda {

namespace {

// The folders that are still there, but without a part of their contents.
void writePartial(JsonWriter& json, const DeleteResult& result) {
  const auto isPartial = [](const DeletedPath& one) { return one.lost.any; };
  if (std::none_of(result.left.begin(), result.left.end(), isPartial)) return;
  json.open("partial", '[');
  for (const DeletedPath& one : result.left) {
    if (!isPartial(one)) continue;
    json.open('{');
    json.string("p", one.path);
    json.number("bytes", one.lost.bytes);
    json.close('}');
  }
  json.close(']');
}

// What a dry run measured of each path that would go.
void writeItems(JsonWriter& json, const DeleteResult& result) {
  json.open("items", '[');
  for (const DeletedPath& one : result.wouldDelete) {
    json.open('{');
    json.number("s", one.measure.bytes);
    json.number("f", one.measure.files);
    json.number("m", one.folder ? 0 : unixMsFromFileTime(one.seen.mark));
    if (one.folder) json.boolean("dir", true);
    json.close('}');
  }
  json.close(']');
}

// What is still there though it was to go, and why.
void writeStayed(JsonWriter& json, const DeleteResult& result) {
  if (result.stayed.empty()) return;
  json.open("stayed", '[');
  for (const StayedPath& one : result.stayed) {
    json.open('{');
    json.string("p", one.path);
    json.string("why", wordOf(one.why));
    json.close('}');
  }
  json.close(']');
}

HttpResponse deleteAnswer(const DeleteResult& result, const DeleteRequest& request) {
  const bool dryRun = request.dryRun;
  JsonWriter json;
  json.open('{');
  json.number("deleted", result.deleted.size());
  json.number("bytes", result.bytes);
  if (!dryRun) {
    json.number("freed", result.bytes - result.binned);
    json.number("binned", result.binned);
  }
  json.string("error", result.error);
  json.boolean("dryRun", dryRun);
  json.open("refused", '[');
  for (const RefusedPath& one : result.refused) {
    json.open('{');
    json.string("p", one.path);
    json.string("why", wordOf(one.why));
    json.close('}');
  }
  json.close(']');
  json.open("wouldDelete", '[');
  for (const DeletedPath& one : result.wouldDelete) json.string(one.path);
  json.close(']');
  if (dryRun) {
    json.open("noBin", '[');
    for (const std::wstring& path : result.noBin) json.string(path);
    json.close(']');
  }
  if (request.wantSeen) {
    json.open("seen", '[');
    for (const DeletedPath& one : result.wouldDelete) json.string(seenText(one.seen, one.path));
    json.close(']');
    writeItems(json, result);
  }
  writePartial(json, result);
  writeStayed(json, result);
  if (!result.logged) json.boolean("logged", false);
  json.close('}');
  return answer(200, json.take());
}

// A dry run measures files only; the sizes of folders come from the scan.
void addScannedFolders(const Job& job, DeleteResult& result) {
  const std::lock_guard lock(job.resultMutex);
  for (const DeletedPath& one : result.wouldDelete) {
    if (!one.folder) continue;
    const auto folder = findFolder(job.result.folders, job.result.rootPath, one.inTree);
    if (folder) result.bytes += job.result.folders[*folder].totalBytes;
  }
}

// What the client expects of each path: lists of fields in the order of the paths. False if a list
// is neither empty nor of the same length.
bool readExpected(const FormFields& fields, DeleteRequest& wanted) {
  const std::vector<std::string> seen = valuesOf(fields, "seen");
  const std::vector<std::string> keep = valuesOf(fields, "keep");
  const std::vector<std::string> keepSeen = valuesOf(fields, "keepseen");
  for (const auto* list : {&seen, &keep, &keepSeen}) {
    if (!list->empty() && list->size() != wanted.paths.size()) return false;
  }
  if (seen.empty() && keep.empty() && keepSeen.empty()) return true;
  wanted.expected.resize(wanted.paths.size());
  const auto parse = [](const std::string& text, const std::wstring& path, Expected& expected) {
    if (text.empty()) return std::optional<Seen>();
    std::optional<Seen> parsed = parseSeen(text, path);
    expected.unusable = expected.unusable || !parsed;
    return parsed;
  };
  for (std::size_t i = 0; i < wanted.paths.size(); ++i) {
    Expected& one = wanted.expected[i];
    if (!seen.empty()) one.seen = parse(seen[i], wanted.paths[i], one);
    if (!keep.empty()) one.keep = toUtf16(keep[i]);
    if (!keepSeen.empty()) one.keepSeen = parse(keepSeen[i], one.keep, one);
  }
  return true;
}

} // namespace

HttpResponse deleteFiles(HttpRequest& request, const JobTable& jobs, Machine& machine,
                         FolderSource& folders, FileContents& contents,
                         RunningOperations& operations) {
  const std::unique_ptr<FormFields> fields = completeForm(request);
  if (!fields) return errorAnswer(400, words::kIncomplete);
  const std::shared_ptr<Job> job = usableJob(jobs, *fields);
  DeleteRequest wanted;
  if (job) wanted.root = job->result.rootPath;
  // An empty root would disable the check that paths lie inside the scan.
  if (fields->has("job") && wanted.root.empty()) return errorAnswer(404, words::kNoJob);
  wanted.permanent = fields->get("permanent") == "1";
  wanted.dryRun = fields->get("dryrun") == "1";
  wanted.paths = requestedPaths(*fields);
  if (wanted.paths.empty()) return errorAnswer(400, words::kNothingGiven);
  // A dry run has "seen" to say whether it is to tell what it sees.
  wanted.wantSeen = wanted.dryRun && fields->get("seen") == "1";
  wanted.wantWhy = fields->get("why") == "1";
  if (!wanted.dryRun && !readExpected(*fields, wanted)) return errorAnswer(400, words::kIncomplete);
  wanted.nowMs = nowUnixMs();
  ContentKeeper keeper(contents);
  if (wanted.dryRun) {
    DeleteResult result = deletePaths(machine, folders, keeper, wanted);
    if (job) addScannedFolders(*job, result);
    return deleteAnswer(result, wanted);
  }
  const RunningOperations::Operation running = operations.begin();
  TouchedScans scans(jobs, machine, folders, job.get());
  const DeleteResult result = deletePaths(machine, folders, keeper, wanted);
  scans.update(result);
  if (result.unknown) return errorAnswer(500, kNoMemory);
  return deleteAnswer(result, wanted);
}

} // namespace vorda
