#include "api/listing_api.h"

#include "api/words.h"
#include "base/natural_order.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "json/json_writer.h"
#include "rules/refusal.h"
#include "scan/words.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace vorda {

namespace {

constexpr std::size_t kFilesListed = 1'000;
constexpr std::size_t kMostFilesListed = 200'000; // of one folder, in all pages together

struct ListedFolder {
  std::wstring name;
  std::wstring path;
  bool hidden = false;
  bool link = false;
};

struct ListedFile {
  std::wstring name;
  std::uint64_t size = 0;
  std::uint64_t modified = 0;
};

// The canonical path of the folder named in a request.
std::wstring requestedFolder(const std::string& path, FolderSource& source) {
  return normaliseRoot(source.absolute(normaliseRoot(toUtf16(path))));
}

// What a relative path means depends on the folder this program was started in, which the client
// does not know.
bool isAbsolute(const std::string& path) { return path.empty() || isAbsolutePath(toUtf16(path)); }

// Calls take(item) for each entry of a folder; false when it cannot be listed.
template <typename Take>
bool listFolder(FolderSource& source, const std::wstring& folder, Take take) {
  const auto parts = pathComponents(folder);
  const bool literal = std::any_of(parts.begin(), parts.end(), losesItsEnd);
  const std::unique_ptr<FolderReader> reader = source.reader();
  if (folder.empty() || !reader->open(folder, literal)) return false;
  FolderItem item;
  while (reader->next(item)) take(item);
  return true;
}

std::vector<ListedFolder> placesToStart(const TargetList& targets) {
  std::vector<ListedFolder> places;
  for (const DriveTarget& drive : targets.drives) places.push_back({drive.path, drive.path});
  for (const WslTarget& wsl : targets.wsl) places.push_back({wsl.name, wsl.path});
  return places;
}

std::string folderDocument(const std::wstring& path, const std::vector<ListedFolder>& folders,
                           bool failed) {
  JsonWriter json;
  json.open('{');
  json.string("path", path);
  json.string("parent", parentOf(path));
  json.open("dirs", '[');
  for (const ListedFolder& folder : folders) {
    json.open('{');
    json.string("n", folder.name);
    json.string("p", folder.path);
    json.boolean("hidden", folder.hidden);
    if (folder.link) json.boolean("link", true);
    json.close('}');
  }
  json.close(']');
  if (failed) json.string("error", kNoSuchDir);
  json.close('}');
  return json.take();
}

bool larger(const ListedFile& a, const ListedFile& b) {
  return a.size != b.size ? a.size > b.size : compareNatural(a.name, b.name) < 0;
}

// Drops all but the largest. Called repeatedly, so that memory stays bounded in a folder of
// millions of files.
void cutToLargest(std::vector<ListedFile>& files, std::size_t most) {
  if (files.size() <= most) return;
  const auto cut = files.begin() + static_cast<std::ptrdiff_t>(most);
  std::nth_element(files.begin(), cut, files.end(), larger);
  files.erase(cut, files.end());
}

// A number in a request; `otherwise` if it is missing or none.
std::size_t numberIn(const HttpRequest& request, const char* name, std::size_t otherwise) {
  const std::optional<std::string> text = request.queryValue(name);
  std::size_t value = 0;
  if (!text) return otherwise;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
  return error == std::errc() && end == text->data() + text->size() ? value : otherwise;
}

} // namespace

HttpResponse browseFolders(const HttpRequest& request, FolderSource& source,
                           const std::function<TargetList()>& targets) {
  const std::optional<std::string> wanted = request.queryValue("p");
  if (!wanted || wanted->empty()) {
    return answer(200, folderDocument({}, placesToStart(targets()), false));
  }
  if (!isAbsolute(*wanted)) return errorAnswer(400, wordOf(Refusal::notAbsolute));
  const std::wstring path = requestedFolder(*wanted, source);
  std::vector<ListedFolder> folders;
  const bool listed = listFolder(source, path, [&folders, &path](const FolderItem& item) {
    if (!item.folder) return;
    folders.push_back(
        {std::wstring(item.name), joinPath(path, item.name), item.hidden, item.reparsePoint});
  });
  std::sort(folders.begin(), folders.end(), [](const ListedFolder& a, const ListedFolder& b) {
    return compareNatural(a.name, b.name) < 0;
  });
  return answer(200, folderDocument(path, folders, !listed));
}

HttpResponse browseFiles(const HttpRequest& request, FolderSource& source) {
  const std::optional<std::string> wanted = request.queryValue("p");
  if (!wanted) return errorAnswer(400, words::kNoPath);
  if (!isAbsolute(*wanted)) return errorAnswer(400, wordOf(Refusal::notAbsolute));
  const std::wstring path = requestedFolder(*wanted, source);
  // A page of the list: the folder is listed again for each, and the largest are in front in all of them.
  const std::size_t from = std::min(numberIn(request, "from", 0), kMostFilesListed);
  const std::size_t most =
      from + std::min(numberIn(request, "most", kFilesListed), kMostFilesListed - from);
  std::vector<ListedFile> files;
  std::uint64_t total = 0;
  std::uint64_t folders = 0;
  const bool listed = listFolder(source, path, [&](const FolderItem& item) {
    if (item.folder) {
      ++folders;
      return;
    }
    ++total;
    files.push_back({std::wstring(item.name), item.size, unixMsFromFileTime(item.lastWrite)});
    if (files.size() >= 2 * most + kFilesListed) cutToLargest(files, most);
  });
  cutToLargest(files, most);
  std::sort(files.begin(), files.end(), larger);
  files.erase(files.begin(),
              files.begin() + static_cast<std::ptrdiff_t>(std::min(from, files.size())));
  JsonWriter json;
  json.open('{');
  json.string("path", path);
  json.open("files", '[');
  for (const ListedFile& file : files) {
    json.open('{');
    json.string("n", file.name);
    json.number("s", file.size);
    json.number("m", file.modified);
    json.close('}');
  }
  json.close(']');
  json.number("total", total);
  json.number("dirs", folders);
  if (!listed) json.string("error", kNoSuchDir);
  json.close('}');
  return answer(200, json.take());
}

} // namespace vorda
