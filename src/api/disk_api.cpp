#include "api/disk_api.h"

#include "api/request_fields.h"
#include "api/words.h"
#include "base/paths.h"
#include "base/text.h"
#include "json/json_writer.h"
#include "tree/account.h"
#include "tree/disk_keys.h"
#include "tree/size_tree.h"

#include <algorithm>

namespace vorda {

namespace {

void writeRow(JsonWriter& json, const AccountRow& row) {
  json.open('{');
  json.string("code", row.code);
  if (row.bytes) {
    json.number("bytes", *row.bytes);
    json.boolean("exact", row.exact);
  }
  if (row.count) json.number("count", *row.count);
  if (!row.told) json.boolean("told", false);
  if (row.info) json.boolean("info", true);
  if (!row.path.empty()) json.string("p", row.path);
  if (!row.parts.empty()) {
    json.open("parts", '[');
    for (const AccountPart& part : row.parts) {
      json.open('{');
      json.string("n", part.name);
      json.number("bytes", part.bytes);
      json.close('}');
    }
    json.close(']');
  }
  json.close('}');
}

// What a scan knows of one file.
struct ScannedFile {
  bool inScan = false;
  const FileEntry* kept = nullptr;
  const LinkedFile* link = nullptr;
};

ScannedFile findFile(const ScanResult& result, const std::wstring& path) {
  ScannedFile found;
  const std::wstring name(lastName(path));
  const auto folder = findFolder(result.folders, result.rootPath, parentOf(path));
  if (!folder || name.empty() || name == L"." || name == L"..") return {};
  found.inScan = true;
  const auto kept =
      std::find_if(result.files.begin(), result.files.end(), [&](const FileEntry& file) {
        return file.folder == *folder && equalsIgnoreCase(file.name, name);
      });
  if (kept != result.files.end()) found.kept = &*kept;
  const std::uint32_t hash = foldedHash(name);
  for (const LinkedFile& file : result.links.files) {
    for (std::uint32_t n = 0; n < file.count; ++n) {
      const LinkName& one = result.links.names[file.first + n];
      if (one.folder == *folder && one.nameHash == hash) found.link = &file;
    }
  }
  return found;
}

std::vector<std::wstring> knownNames(const ScanResult& result, const LinkedFile& file) {
  std::vector<std::wstring> names;
  for (std::uint32_t n = 0; n < file.count; ++n) {
    const LinkName& name = result.links.names[file.first + n];
    const std::wstring_view text = result.links.nameOf(name);
    if (text.empty()) continue;
    names.push_back(joinPath(folderPath(result.folders, name.folder, result.separator), text));
  }
  return names;
}

const char* cloudWord(const FileDetails& details) {
  if (!isCloudFile(details.attributes, details.tag)) return "no";
  const std::uint64_t disk = details.disk.value_or(0);
  if (disk == 0 && details.size != 0) return "only";
  return disk < details.size ? "partly" : "no";
}

const char* compressionWord(const FileDetails& details) {
  if (details.systemCompressed) return "system";
  return (details.attributes & kAttributeCompressed) != 0 ? "ntfs" : "no";
}

void writeTimes(JsonWriter& json, const FileDetails& details) {
  if (details.modified != 0) json.number("m", details.modified);
  if (details.created != 0) json.number("created", details.created);
  if (details.accessed != 0) json.number("accessed", details.accessed);
}

struct Names {
  std::vector<std::wstring> known;
  std::optional<std::uint64_t> count;
  bool unseen = true; // there may be more than those of the scan
};

void writeNames(JsonWriter& json, const Names& names) {
  if (names.count) json.number("links", *names.count);
  json.open("names", '[');
  for (const std::wstring& name : names.known) json.string(name);
  json.close(']');
  json.boolean("allNames", !names.unseen || (names.count && *names.count == names.known.size()));
}

void writeDetails(JsonWriter& json, const FileDetails& details) {
  if (details.streams) {
    json.open("streams", '[');
    for (const FileStream& stream : *details.streams) {
      json.open('{');
      json.string("n", stream.name);
      json.number("s", stream.size);
      json.close('}');
    }
    json.close(']');
  }
  if (!details.found) return;
  json.string("cloud", cloudWord(details));
  json.string("compressed", compressionWord(details));
  json.boolean("sparse", (details.attributes & kAttributeSparse) != 0);
}

// The figures of the scan come first: the same as in its lists.
std::string fileDocument(const ScanResult& result, const ScannedFile& scanned,
                         const std::wstring& path, const FileDetails& details) {
  JsonWriter json;
  json.open('{');
  json.string("p", path);
  if (scanned.kept != nullptr) {
    json.number("s", scanned.kept->size);
  } else if (details.found) {
    json.number("s", details.size);
  }
  Names names;
  names.known = details.names;
  if (details.links) names.count = *details.links;
  std::optional<std::uint64_t> disk = details.disk;
  bool alone = details.links.value_or(1) == 1;
  std::uint64_t cloud = 0;
  if (details.found && isCloudFile(details.attributes, details.tag)) {
    cloud = details.size - std::min(details.size, details.disk.value_or(0));
  }
  if (knowsDisk(result)) {
    if (scanned.kept != nullptr) {
      disk = scanned.kept->disk;
      cloud = scanned.kept->cloud;
    }
    if (scanned.link != nullptr) {
      disk = scanned.link->disk;
      cloud = scanned.link->cloud;
      alone = scanned.link->count == 1 && !scanned.link->stays;
      if (names.known.empty()) names.known = knownNames(result, *scanned.link);
      if (!names.count) names.count = scanned.link->count;
    }
    names.unseen = !result.links.complete || (scanned.link != nullptr && scanned.link->stays);
  }
  if (names.known.empty()) names.known.push_back(path);
  if (disk) writeDiskKeys(json, {*disk, alone ? *disk : 0, cloud});
  FileDetails times = details;
  if (times.modified == 0 && scanned.kept != nullptr) times.modified = scanned.kept->modified;
  writeTimes(json, times);
  writeNames(json, names);
  writeDetails(json, details);
  json.close('}');
  return json.take();
}

} // namespace

HttpResponse driveAccount(const HttpRequest& request, const JobTable& jobs) {
  const std::shared_ptr<Job> job = finishedJob(jobs, request);
  if (!job || !isUsable(*job)) return errorAnswer(404, words::kNoJob);
  Account account;
  {
    const std::lock_guard lock(job->resultMutex);
    account = accountOf(job->result);
  }
  JsonWriter json;
  json.open('{');
  if (account.used) {
    json.number("used", *account.used);
    json.string("source", account.fromBitmap ? "bitmap" : "drive");
    if (account.cluster != 0) json.number("cluster", account.cluster);
    json.signedNumber("unexplained", account.unexplained);
  }
  json.open("rows", '[');
  for (const AccountRow& row : account.rows) writeRow(json, row);
  json.close(']');
  json.close('}');
  return answer(200, json.take());
}

HttpResponse describeFile(const HttpRequest& request, const JobTable& jobs,
                          const FileDetailsSource& details) {
  const std::optional<std::string> wanted = request.queryValue("p");
  if (!wanted || !request.queryValue("id")) return errorAnswer(400, words::kNoPath);
  const std::shared_ptr<Job> job = finishedJob(jobs, request);
  if (!job || !isUsable(*job)) return errorAnswer(404, words::kNoJob);
  const std::wstring path = toUtf16(*wanted);
  const auto inScan = [&job, &path] {
    const std::lock_guard lock(job->resultMutex);
    return findFile(job->result, path).inScan;
  };
  if (!inScan()) return errorAnswer(404, words::kNotScanned);
  // Not while the lock is held: the disk may take its time. A remote path is none of this machine.
  const FileDetails facts = job->overSsh() || !details ? FileDetails() : details(path);
  const std::lock_guard lock(job->resultMutex);
  const ScannedFile scanned = findFile(job->result, path);
  return answer(200, fileDocument(job->result, scanned, path, facts));
}

} // namespace vorda
