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
#include "tree/disk_keys.h"
#include "tree/disk_sums.h"
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

// What was asked for beyond the plain figures.
struct MoreFigures {
  std::optional<Promise> promise;
  bool unseenNames = false;
  std::optional<std::uint64_t> freeBefore;
  std::optional<std::uint64_t> freeAfter;
};

void writeMore(JsonWriter& json, const MoreFigures& more) {
  if (more.promise) {
    json.number("x", more.promise->back);
    if (more.unseenNames) json.number("xs", 1);
    json.number("shared", more.promise->shared);
  }
  if (more.freeBefore && more.freeAfter) {
    json.number("freeBefore", *more.freeBefore);
    json.number("freeAfter", *more.freeAfter);
  }
}

HttpResponse deleteAnswer(const DeleteResult& result, const DeleteRequest& request,
                          const MoreFigures& more) {
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
  writeMore(json, more);
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

MoreFigures promised(const Job& job, const DeleteResult& result, FolderSource& folders) {
  std::vector<std::uint64_t> disk; // of each file, asked for before the lock
  for (const DeletedPath& one : result.wouldDelete) {
    const std::uint64_t bytes = one.folder ? 0 : folders.allocatedBytes(one.real);
    disk.push_back(bytes == kUnknownDisk ? 0 : bytes);
  }
  const std::lock_guard lock(job.resultMutex);
  const ScanResult& scan = job.result;
  if (!knowsDisk(scan)) return {};
  Selection selection;
  for (std::size_t i = 0; i < result.wouldDelete.size(); ++i) {
    const DeletedPath& one = result.wouldDelete[i];
    const auto folder = findFolder(scan.folders, scan.rootPath,
                                   one.folder ? one.inTree : std::wstring(parentOf(one.inTree)));
    if (!folder) continue;
    if (one.folder) {
      selection.folders.push_back(*folder);
    } else {
      selection.files.push_back({*folder, std::wstring(lastName(one.inTree)), disk[i]});
    }
  }
  MoreFigures more;
  more.promise = promiseOf(scan, selection);
  more.unseenNames = !scan.links.complete;
  return more;
}

std::optional<std::uint64_t> freeSpace(const DriveSpace& space, const std::wstring& path) {
  const DriveFigures figures = space ? space(path) : DriveFigures();
  return figures.totalBytes == 0 ? std::nullopt : std::optional(figures.freeBytes);
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
                         RunningOperations& operations, const DriveSpace& space) {
  const std::unique_ptr<FormFields> fields = completeForm(request);
  if (!fields) return errorAnswer(400, words::kIncomplete);
  const std::shared_ptr<Job> job = usableJob(jobs, *fields);
  DeleteRequest wanted;
  if (job) wanted.root = job->rootPath();
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
  const bool more = fields->get("more") == "1";
  ContentKeeper keeper(contents);
  if (wanted.dryRun) {
    DeleteResult result = deletePaths(machine, folders, keeper, wanted);
    if (job) addScannedFolders(*job, result);
    return deleteAnswer(result, wanted,
                        more && job ? promised(*job, result, folders) : MoreFigures());
  }
  const RunningOperations::Operation running = operations.begin();
  TouchedScans scans(jobs, machine, folders, job.get());
  MoreFigures figures;
  if (more) figures.freeBefore = freeSpace(space, wanted.paths.front());
  const DeleteResult result = deletePaths(machine, folders, keeper, wanted);
  if (more) figures.freeAfter = freeSpace(space, wanted.paths.front());
  scans.update(result);
  if (result.unknown) return errorAnswer(500, kNoMemory);
  return deleteAnswer(result, wanted, figures);
}

} // namespace vorda
