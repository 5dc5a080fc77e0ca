#include "scan/ssh/listing_tree.h"

#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.ends_with('/')) path.remove_suffix(1);
  return path;
}

// What a text takes beside its object, which holds a short one itself.
template <typename Text> std::uint64_t heapBytes(const Text& text) {
  constexpr std::size_t kPerBlock = 16; // spent by the allocator
  const bool inside = text.capacity() <= Text().capacity();
  return inside ? 0 : (text.capacity() + 1) * sizeof(typename Text::value_type) + kPerBlock;
}

// An entry of a map: beside the pair, a link, the hash, a place in the table, and the block.
template <typename Map> constexpr std::uint64_t nodeBytes() {
  return sizeof(typename Map::value_type) + 3 * sizeof(void*) + 16;
}

// A vector may have room for as many again.
template <typename Item> constexpr std::uint64_t itemBytes() { return 2 * sizeof(Item); }

std::wstring shownRoot(std::string_view root) { return root.empty() ? L"/" : toUtf16(root); }

} // namespace

ListingTree::ListingTree(std::string_view root, const ScanOptions& options, ScanResult& result,
                         const ListingLimits& limits)
    : root_(withoutTrailingSlashes(root)), options_(options), result_(result), limits_(limits) {
  result_ = ScanResult{};
  result_.rootPath = shownRoot(root_);
  result_.separator = L'/';
  result_.folders.emplace_back().name = result_.rootPath;
}

bool ListingTree::addFolder(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (full() || !makeRelative(path)) return false;
  folderAt(path);
  return true;
}

bool ListingTree::isRootItself(std::string_view path) const {
  return path == root_ && result_.folders.size() == 1 && result_.fileCount == 0;
}

bool ListingTree::addFile(std::string_view path, std::uint64_t bytes, std::uint64_t modified) {
  if (full() || path.ends_with('/')) return false;
  const bool isRoot = isRootItself(path);
  std::string_view relative = path;
  if (!isRoot && (!makeRelative(relative) || relative.empty())) return false;
  // Keeps the total, and thus every sum of the tree, within 64 bits.
  if (bytes > limits_.fileBytes || bytes > UINT64_MAX - result_.byteCount) {
    skipEntry();
    return false;
  }
  if (isRoot) becomeParentOfRoot();
  makeRelative(path);
  const std::size_t slash = path.rfind('/');
  const bool inRoot = slash == std::string_view::npos;
  const std::uint32_t folder = inRoot ? folderAt({}) : folderAt(path.substr(0, slash));
  name_.clear();
  appendUtf16(name_, path.substr(slash + 1)); // all of it in the root
  result_.folders[folder].ownBytes += bytes;
  ++result_.folders[folder].ownFiles;
  result_.byteCount += bytes;
  ++result_.fileCount;
  ++entries_;
  const std::size_t types = result_.types.size();
  addToType(result_.types, name_, bytes);
  if (result_.types.size() > types) bytes_ += nodeBytes<TypeTotals>() + heapBytes(name_);
  if (!options_.keeps(name_, bytes) || !options_.bounds.hold(bytes, modified)) return true;
  result_.files.push_back({folder, name_, bytes, modified});
  bytes_ += itemBytes<FileEntry>() + heapBytes(result_.files.back().name);
  return true;
}

std::wstring ListingTree::currentFolder() const {
  return shownRoot(last_.empty() ? root_ : root_ + "/" + last_);
}

bool ListingTree::makeRelative(std::string_view& path) const {
  if (!path.starts_with(root_)) return false;
  path.remove_prefix(root_.size());
  if (!path.empty() && path.front() != '/') return false;
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  return true;
}

std::uint32_t ListingTree::folderAt(std::string_view relativePath) {
  if (relativePath != last_) {
    // The common prefix of both paths needs no lookup.
    const std::size_t shorter = std::min(last_.size(), relativePath.size());
    const auto parting = std::mismatch(
        last_.begin(), last_.begin() + static_cast<std::ptrdiff_t>(shorter), relativePath.begin());
    const auto shared = static_cast<std::size_t>(parting.first - last_.begin());
    const auto isShared = [shared, relativePath](const Step& step) {
      return step.end <= shared &&
             (step.end == relativePath.size() || relativePath[step.end] == '/');
    };
    while (!steps_.empty() && !isShared(steps_.back())) steps_.pop_back();
    std::size_t at = steps_.empty() ? 0 : steps_.back().end;
    last_ = relativePath;
    while (true) {
      at = std::min(relativePath.find_first_not_of('/', at), relativePath.size());
      if (at == relativePath.size()) break;
      const std::size_t end = std::min(relativePath.find('/', at), relativePath.size());
      const std::uint32_t parent = steps_.empty() ? 0 : steps_.back().folder;
      steps_.push_back({end, childOf(parent, relativePath.substr(at, end - at))});
      at = end;
    }
  }
  return steps_.empty() ? 0 : steps_.back().folder;
}

std::uint32_t ListingTree::childOf(std::uint32_t parent, std::string_view name) {
  const auto found = children_.find(KeyView{parent, name});
  if (found != children_.end()) return found->second;
  const auto index = static_cast<std::uint32_t>(result_.folders.size());
  FolderEntry& entry = result_.folders.emplace_back();
  entry.parent = parent;
  entry.name = toUtf16(name);
  const auto child = children_.emplace(Key{parent, std::string(name)}, index).first;
  ++entries_;
  bytes_ += itemBytes<FolderEntry>() + heapBytes(entry.name) + nodeBytes<decltype(children_)>() +
            heapBytes(child->first.name);
  return index;
}

void ListingTree::becomeParentOfRoot() {
  root_.resize(root_.rfind('/'));
  result_.rootPath = shownRoot(root_);
  result_.folders[0].name = result_.rootPath;
}

} // namespace vorda
