#include "api/tree_api.h"

#include "api/request_fields.h"
#include "api/words.h"
#include "base/text.h"
#include "json/json_writer.h"
#include "tree/disk_keys.h"
#include "tree/file_list.h"
#include "tree/size_tree.h"
#include "tree/types.h"

#include <algorithm>
#include <unordered_map>

namespace vorda {

namespace {

constexpr std::size_t kMaxChildren = 1'000'000;
constexpr std::size_t kFoldersOfType = 15;
constexpr std::size_t kFilesOfType = 200;

struct FolderOfType {
  std::uint32_t folder;
  std::uint64_t bytes;
  std::uint64_t files;
  DiskKeys disk;
};

std::vector<FolderOfType> foldersOf(const std::vector<const FileEntry*>& files) {
  std::unordered_map<std::uint32_t, FolderOfType> byFolder;
  for (const FileEntry* file : files) {
    FolderOfType& one =
        byFolder.try_emplace(file->folder, FolderOfType{file->folder, 0, 0, {}}).first->second;
    one.bytes += file->size;
    ++one.files;
    one.disk.disk += file->disk;
    one.disk.cloud += file->cloud;
  }
  std::vector<FolderOfType> folders;
  for (const auto& [index, folder] : byFolder) folders.push_back(folder);
  std::sort(folders.begin(), folders.end(), [](const FolderOfType& a, const FolderOfType& b) {
    return a.bytes != b.bytes ? a.bytes > b.bytes : a.folder < b.folder;
  });
  return folders;
}

HttpResponse describe(const HttpRequest& request, const JobTable& jobs, const char* parameter,
                      int statusWithoutJob,
                      std::string (*describePart)(const ScanResult&, std::wstring_view, bool)) {
  const std::optional<std::string> part = request.queryValue(parameter);
  if (!part || !request.queryValue("id")) {
    return errorAnswer(400, words::kNoPath);
  }
  const std::shared_ptr<Job> job = finishedJob(jobs, request);
  if (!job) return errorAnswer(statusWithoutJob, words::kNoJob);
  const std::lock_guard lock(job->resultMutex);
  return answer(200, describePart(job->result, toUtf16(*part), wantsMore(request)));
}

} // namespace

std::string listScannedFolder(const ScanResult& result, std::wstring_view path, bool more) {
  more = more && knowsDisk(result);
  const FolderTable& folders = result.folders;
  JsonWriter json;
  json.open('{');
  json.string("path", path);
  const auto found = findFolder(folders, result.rootPath, path);
  if (!found) {
    json.open("dirs", '[');
    json.close(']');
    json.string("error", words::kNotScanned);
    json.close('}');
    return json.take();
  }
  std::vector<std::uint32_t> children;
  for (std::uint32_t child = folders[*found].firstChild;
       child != kNoFolder && children.size() < kMaxChildren; child = folders[child].nextSibling) {
    children.push_back(child);
  }
  std::sort(children.begin(), children.end(), [&folders](std::uint32_t a, std::uint32_t b) {
    const std::uint64_t left = folders[a].totalBytes;
    const std::uint64_t right = folders[b].totalBytes;
    return left != right ? left > right : folders[a].name < folders[b].name;
  });
  json.number("s", folders[*found].totalBytes);
  json.number("f", folders[*found].totalFiles);
  if (more) writeDiskKeys(json, totalKeys(result.disk[*found]));
  json.open("dirs", '[');
  for (const std::uint32_t child : children) {
    json.open('{');
    json.string("n", folders[child].name);
    json.number("s", folders[child].totalBytes);
    json.number("f", folders[child].totalFiles);
    if (more) writeDiskKeys(json, totalKeys(result.disk[child]));
    json.close('}');
  }
  json.close(']');
  json.number("total", children.size());
  if (more) writeUnseenNames(json, result);
  json.close('}');
  return json.take();
}

std::string typeDetail(const ScanResult& result, std::wstring_view type, bool more) {
  more = more && knowsDisk(result);
  std::vector<const FileEntry*> files;
  for (const FileEntry& file : result.files) {
    if (equalsIgnoreCase(TypeKey(file.name).view(), type)) files.push_back(&file);
  }
  const std::size_t total = files.size();
  const std::vector<FolderOfType> folders = foldersOf(files);
  keepLargest(result, files, kFilesOfType);
  JsonWriter json;
  json.open('{');
  json.string("ext", type);
  json.open("folders", '[');
  for (std::size_t i = 0; i < std::min(folders.size(), kFoldersOfType); ++i) {
    json.open('{');
    json.string("p", folderPath(result.folders, folders[i].folder, result.separator));
    json.number("s", folders[i].bytes);
    json.number("c", folders[i].files);
    if (more) writeDiskKeys(json, folders[i].disk);
    json.close('}');
  }
  json.close(']');
  json.open("files", '[');
  for (const FileEntry* file : files) writeFileEntry(json, result, *file, more);
  json.close(']');
  json.number("total", total);
  if (more) writeUnseenNames(json, result);
  json.close('}');
  return json.take();
}

HttpResponse scannedFolder(const HttpRequest& request, const JobTable& jobs) {
  return describe(request, jobs, "p", 404, listScannedFolder);
}

HttpResponse scannedType(const HttpRequest& request, const JobTable& jobs) {
  return describe(request, jobs, "e", 400, typeDetail);
}

HttpResponse scannedTypes(const HttpRequest& request, const JobTable& jobs) {
  if (!request.queryValue("id")) return errorAnswer(400, words::kNoPath);
  const std::shared_ptr<Job> job = finishedJob(jobs, request);
  if (!job) return errorAnswer(404, words::kNoJob);
  const std::lock_guard lock(job->resultMutex);
  const bool more = wantsMore(request) && knowsDisk(job->result);
  const std::vector<TypeRow> rows = sortedTypes(job->result.types);
  JsonWriter json;
  json.open('{');
  json.open("types", '[');
  for (const TypeRow& row : rows) {
    json.open('{');
    json.string("e", row.type);
    json.number("s", row.total.bytes);
    json.number("c", row.total.files);
    if (more) writeDiskKeys(json, typeKeys(row.total));
    json.close('}');
  }
  json.close(']');
  json.number("total", rows.size());
  if (more) writeUnseenNames(json, job->result);
  json.close('}');
  return answer(200, json.take());
}

} // namespace vorda
