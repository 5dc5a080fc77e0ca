// An in-memory system: drives, shares, links, 8.3 names, and a shell that deletes what it is given,
// with wildcards and only up to the first NUL.
#pragma once

#include "base/paths.h"
#include "base/text.h"
#include "fileops/machine.h"
#include "scan/folder_reader.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace vorda::test {

inline constexpr std::uint64_t kMiB = 1ULL << 20;

struct DiskNode {
  std::wstring name;
  std::wstring shortName;
  std::wstring link; // the target of a link
  bool folder = true;
  bool locked = false; // the shell fails to delete it
  bool mount = false;  // another volume is mounted here
  std::uint64_t size = 0;
  std::uint64_t lastWrite = 0;
  std::uint64_t id = 0;
  std::uint32_t tag = kNoReparseTag; // of a reparse point that is no link
  std::optional<std::uint64_t> disk; // bytes on disk, if not as many clusters as the size takes
  std::uint32_t attributes = 0;
  DiskNode* parent = nullptr;
  std::vector<std::shared_ptr<DiskNode>> children;
};

class MemoryDisk final : public FolderSource, public Machine {
public:
  std::vector<KnownFolder> known;
  std::vector<std::wstring> mounts;
  std::set<std::wstring> noBins; // roots
  std::function<void()> beforeShell;
  std::function<bool(const std::wstring&)> mayDelete; // called for each path that the shell gets
  std::function<void(const std::wstring&)> onHold;
  std::set<std::wstring> notHeld; // folders that somebody has open in order to rename them
  std::function<void(const std::wstring&)> onLook;   // called before facts are looked up
  std::function<void(const std::wstring&)> onOpen;   // called on the thread that opens a folder
  std::set<std::wstring> unreadable;                 // folders that cannot be listed
  std::set<std::wstring> endingEarly;                // folders whose listing fails at the end
  std::function<void(const std::wstring&)> onRemove; // called before an entry is removed by handle
  bool linksAreStuck = false;                        // the system cannot open a link as such
  std::set<std::wstring> denied;                     // paths that this account may not delete
  std::string log;
  bool logFails = false;
  bool journalFails = false;
  bool dead = false; // the program has ended: it writes and removes nothing any more
  struct JournalOnDisk {
    std::string bytes;
    bool open;
  };
  std::vector<std::shared_ptr<JournalOnDisk>> journals;
  std::uint64_t binBytes = 0;
  std::uint64_t binItems = 0;
  std::int32_t emptyResult = 0;
  bool binsAreHidden = false; // nobody can tell what is in the bins
  std::wstring sid = L"S-1";
  bool binsNothing = false; // the shell deletes permanently instead
  bool aborts = false;
  bool lies = false; // the shell always reports success
  // What the system can determine.
  bool longPaths = true;
  bool finalPlaces = true;
  bool identities = true;
  std::uint32_t cluster = 0; // in bytes; 0: listings tell neither bytes on disk nor identities
  int shellCalls = 0;
  std::atomic<int> listed{0}; // folders opened
  std::vector<std::wstring> handed;

  // Makes a drive ("C:") or a share ("\\server\share"), or another name for an existing folder.
  DiskNode* volume(const std::wstring& name, const std::wstring& target = {}) {
    DiskNode*& root = volumes_[lowerCase(name)];
    if (!target.empty()) return root = at(target);
    root = roots_.emplace_back(std::make_shared<DiskNode>()).get();
    root->name = name;
    root->id = ++lastId_;
    return root;
  }

  // Makes a file, or a folder if the path ends in "\", and its parents. Names are not checked.
  DiskNode& add(const std::wstring& path, std::uint64_t size = 1) {
    std::size_t from = rootLength(path);
    const auto root = volumes_.find(lowerCase(path.substr(0, from)));
    DiskNode* node = root == volumes_.end() ? volume(path.substr(0, from)) : root->second;
    while (++from < path.size()) {
      const std::size_t to = std::min(path.find(L'\\', from), path.size());
      const std::wstring name = path.substr(from, to - from);
      DiskNode* child = childOf(*node, name);
      node = child != nullptr ? child : &append(*node, name, to < path.size(), size);
      from = to;
    }
    return *node;
  }

  // Without looking for an entry of the same name.
  DiskNode& addFile(const std::wstring& folder, const std::wstring& name, std::uint64_t size,
                    std::uint64_t lastWrite = 0) {
    DiskNode& file = append(add(joinPath(folder, L"")), name, false, size);
    file.lastWrite = lastWrite;
    return file;
  }

  // Returns the path.
  std::wstring addFolder(const std::wstring& folder, const std::wstring& name) {
    std::wstring path = joinPath(folder, name);
    add(joinPath(path, L""));
    return path;
  }

  DiskNode& hardLink(const std::wstring& path, const DiskNode& file) {
    DiskNode& node = add(path, file.size);
    node.id = file.id;
    node.disk = file.disk;
    node.attributes = file.attributes;
    return node;
  }

  DiskNode& link(const std::wstring& path, const std::wstring& target) {
    DiskNode& node = add(path + L'\\');
    node.link = target;
    return node;
  }

  DiskNode* at(const std::wstring& path) const { return resolve(path, false); }

  void removeNode(DiskNode& node) {
    std::erase_if(node.parent->children, [&node](const auto& one) { return one.get() == &node; });
  }

  // The full paths of all files and folders.
  std::vector<std::wstring> snapshot() const {
    std::vector<std::wstring> all;
    for (const auto& root : roots_) list(*root, root->name, all);
    std::sort(all.begin(), all.end());
    return all;
  }

  std::unique_ptr<FolderReader> reader() override { return std::make_unique<Reader>(*this); }
  PathFacts facts(const std::wstring& path) override {
    if (onLook) onLook(path);
    const DiskNode* node = resolve(path, false);
    if (node == nullptr) return {};
    const bool link = !node->link.empty() || node->mount;
    return {true, node->folder, link, node->size, node->lastWrite, node->attributes};
  }
  std::wstring absolute(const std::wstring& path) override {
    if (path.size() == 2) return path + L"\\current"; // the current folder of the drive
    std::wstring out = path;
    std::replace(out.begin(), out.end(), L'/', L'\\');
    return out;
  }
  std::uint32_t clusterBytes(const std::wstring& folder) override {
    const DiskNode* node = resolve(folder, true);
    return node != nullptr && node->folder ? cluster : 0;
  }
  std::uint64_t allocatedBytes(const std::wstring& path) override {
    const DiskNode* node = resolve(path, false);
    return node == nullptr || cluster == 0 ? kUnknownDisk : diskOf(*node);
  }

  std::wstring fullPath(const std::wstring& path) override { return read(path); }

  std::optional<std::wstring> longPath(const std::wstring& path) override {
    if (!longPaths || resolve(path, false) == nullptr) return std::nullopt;
    std::wstring out = path.substr(0, rootLength(path));
    std::wstring spelled = out;
    for (const std::wstring_view part :
         pathComponents(std::wstring_view(path).substr(out.size()))) {
      spelled.append(L"\\").append(part);
      const DiskNode* node = resolve(spelled, false);
      if (node == nullptr) return std::nullopt;
      out.append(L"\\").append(node->parent == nullptr ? std::wstring(part) : node->name);
    }
    return out;
  }

  std::optional<FinalPlace> finalPlace(const std::wstring& path) override {
    const DiskNode* node = resolve(path, true);
    if (!finalPlaces || node == nullptr) return std::nullopt;
    std::wstring below;
    std::wstring onVolume;
    bool inMount = false;
    // The final path on a share lies on the share: the server does not reveal its own path.
    const std::wstring share = path.starts_with(L"\\\\") ? path.substr(0, rootLength(path)) : L"";
    const auto shared = volumes_.find(lowerCase(share));
    for (; node->parent != nullptr; node = node->parent) {
      below.insert(0, L"\\" + node->name);
      if (shared != volumes_.end() && shared->second == node) {
        return FinalPlace{share + below.substr(1 + node->name.size()), below};
      }
      inMount = inMount || node->mount;
      if (!inMount) onVolume.insert(0, L"\\" + node->name);
    }
    if (onVolume.empty()) onVolume = L"\\";
    return FinalPlace{node->name + (below.empty() ? L"\\" : below), onVolume};
  }

  std::optional<FileIdentity> identity(const std::wstring& path) override {
    const DiskNode* node = resolve(path, false);
    if (!identities || node == nullptr) return std::nullopt;
    return FileIdentity{1, {node->id, 0}};
  }

  std::shared_ptr<void> hold(const std::wstring& folder) override {
    if (onHold) onHold(folder);
    if (notHeld.contains(folder)) return nullptr;
    const auto at = held_.insert(folder);
    return std::shared_ptr<void>(this, [this, at](void*) { held_.erase(at); });
  }
  // Whether somebody holds the folder, so that nobody can rename or replace it.
  bool isHeld(const std::wstring& folder) const { return held_.contains(folder); }

  std::vector<KnownFolder> knownFolders() override { return known; }
  std::vector<std::wstring> volumeRoots() override { return mounts; }
  bool hasBin(const std::wstring& root) override {
    return root.size() == 3 && !noBins.contains(root);
  }
  std::optional<BinFigures> binFigures(const std::wstring& root) override {
    if (binsAreHidden || root.size() > 3) return std::nullopt;
    return BinFigures{binBytes, binItems};
  }
  std::int32_t emptyBins() override {
    if (emptyResult < 0) return emptyResult;
    binBytes = binItems = 0;
    if (DiskNode* bin = at(L"C:\\$Recycle.Bin\\S-1")) bin->children.clear();
    return emptyResult;
  }
  std::wstring userSid() override { return sid; }

  ShellOutcome shellDelete(const std::vector<std::wstring>& paths, bool intoBin) override {
    if (beforeShell) beforeShell();
    ++shellCalls;
    ShellOutcome outcome;
    for (const std::wstring& path : paths) {
      handed.push_back(path);
      const std::wstring seen = path.substr(0, path.find(L'\0'));
      const std::size_t slash = seen.find_last_of(L"\\/");
      DiskNode* folder = resolve(seen.substr(0, slash), true);
      if (folder == nullptr) continue;
      const std::wstring name = seen.substr(slash + 1);
      std::vector<DiskNode*> found;
      if (name.find_first_of(L"*?<>\"") != std::wstring::npos) {
        for (const auto& child : folder->children) found.push_back(child.get());
      } else if (DiskNode* node = resolve(seen, false)) {
        found.push_back(node);
      }
      if (found.empty()) outcome.code = 2;
      if (mayDelete && !mayDelete(path)) {
        outcome.code = 32;
        continue;
      }
      for (DiskNode* node : found) {
        if (!removeTree(*node, intoBin && !binsNothing)) outcome.code = 32;
      }
    }
    outcome.aborted = aborts;
    if (lies) outcome.code = 0;
    return outcome;
  }

  std::shared_ptr<void> holdExactly(const std::wstring& folder) override {
    const DiskNode* node = exactly(folder);
    return node == nullptr || !node->link.empty() || !node->folder ? nullptr : hold(folder);
  }

  int removeEntry(const std::wstring& path, const EntryFacts& expected) override {
    if (onRemove) onRemove(path);
    DiskNode* node = exactly(path);
    const bool same = node != nullptr && node->folder == expected.folder &&
                      node->link.empty() != expected.link &&
                      (!expected.identity || expected.identity == identity(path));
    if (!same || (expected.link && linksAreStuck)) return kNotAsExpected;
    if (node->locked || isHeld(path)) return 32;
    if (node->link.empty() && !node->children.empty()) return 145;
    removeNode(*node);
    return 0;
  }

  bool appendToLog(std::string_view bytes) override {
    if (logFails || dead) return false;
    log += bytes;
    return true;
  }
  std::unique_ptr<JournalFile> writeJournal(std::string_view bytes) override {
    if (journalFails) return nullptr;
    return open(*journals.emplace_back(
        std::make_shared<JournalOnDisk>(JournalOnDisk{std::string(bytes), false})));
  }
  std::vector<FoundJournal> abandonedJournals() override {
    std::vector<FoundJournal> found;
    for (const auto& one : journals) {
      if (!one->open) found.push_back({one->bytes, open(*one)});
    }
    return found;
  }
  std::optional<LogEnd> endOfLog(std::size_t mostBytes) override {
    if (logFails) return std::nullopt;
    const std::size_t length = std::min(log.size(), mostBytes);
    return LogEnd{log.substr(log.size() - length), length == log.size()};
  }
  int deletionProblem(const std::wstring& path, bool folder) override {
    const DiskNode* node = exactly(path);
    if (node == nullptr) return 2;
    return denied.contains(path) || node->folder != folder ? 5 : node->locked ? 32 : 0;
  }
  LocalTime now() override { return {2026, 1, 2, 3, 4, 5}; }

private:
  class MemoryJournal final : public JournalFile {
  public:
    MemoryJournal(MemoryDisk& disk, JournalOnDisk& journal) : disk_(disk), journal_(journal) {
      journal_.open = true;
    }
    ~MemoryJournal() override {
      journal_.open = false;
      if (!removed_) return;
      std::erase_if(disk_.journals, [this](const auto& one) { return one.get() == &journal_; });
    }
    MemoryJournal(const MemoryJournal&) = delete;
    MemoryJournal& operator=(const MemoryJournal&) = delete;
    void remove() override { removed_ = !disk_.dead; }

  private:
    MemoryDisk& disk_;
    JournalOnDisk& journal_;
    bool removed_ = false;
  };
  std::unique_ptr<JournalFile> open(JournalOnDisk& journal) {
    return std::make_unique<MemoryJournal>(*this, journal);
  }

  std::uint64_t diskOf(const DiskNode& node) const {
    return node.disk.value_or((node.size + cluster - 1) / cluster * cluster);
  }

  class Reader final : public FolderReader {
  public:
    explicit Reader(MemoryDisk& disk) : disk_(disk) {}
    bool open(const std::wstring& folder, bool literal) override {
      ++disk_.listed;
      next_ = 0; // whoever reads on after a failure gets the wrong entries
      if (disk_.onOpen) disk_.onOpen(folder);
      const DiskNode* node = disk_.resolve(literal ? L"\\\\?\\" + folder : folder, true);
      if (node == nullptr || !node->folder || disk_.unreadable.contains(folder)) return false;
      endsEarly_ = disk_.endingEarly.contains(folder);
      items_ = node->children;
      return true;
    }
    bool next(FolderItem& item) override {
      if (next_ == items_.size()) return false;
      const DiskNode& one = *items_[next_++];
      const bool reparsePoint = !one.link.empty() || one.tag != kNoReparseTag;
      item = {one.name, one.size, one.lastWrite, one.folder, false, reparsePoint};
      item.attributes = one.attributes;
      item.tag = one.link.empty() ? one.tag : 0xA000'000C;
      if (disk_.cluster != 0) {
        item.disk = disk_.diskOf(one);
        item.id = one.id;
      }
      return true;
    }
    bool endedEarly() const override { return endsEarly_; }

  private:
    MemoryDisk& disk_;
    bool endsEarly_ = false;
    std::vector<std::shared_ptr<DiskNode>> items_;
    std::size_t next_ = 0;
  };

  // The length of the drive or share that a path begins with.
  static std::size_t rootLength(const std::wstring& path) {
    if (!path.starts_with(L"\\\\")) return std::min<std::size_t>(2, path.size());
    const std::size_t server = path.find(L'\\', 2);
    return server == std::wstring::npos ? path.size()
                                        : std::min(path.find(L'\\', server + 1), path.size());
  }

  DiskNode& append(DiskNode& folder, const std::wstring& name, bool isFolder, std::uint64_t size) {
    DiskNode& child = *folder.children.emplace_back(std::make_shared<DiskNode>());
    child.name = name;
    child.id = ++lastId_;
    child.parent = &folder;
    child.folder = isFolder;
    child.size = isFolder ? 0 : size;
    return child;
  }

  // As in folders that mind the case, the entry with exactly this name comes first.
  static DiskNode* childOf(const DiskNode& folder, std::wstring_view name) {
    for (const auto& child : folder.children) {
      if (child->name == name) return child.get();
    }
    for (const auto& child : folder.children) {
      if (equalsIgnoreCase(child->name, name) ||
          (!child->shortName.empty() && equalsIgnoreCase(child->shortName, name))) {
        return child.get();
      }
    }
    return nullptr;
  }

  // The path as the system reads it.
  static std::wstring read(std::wstring path) {
    path = path.substr(0, path.find(L'\0'));
    if (path.starts_with(L"\\\\?\\")) return path;
    std::replace(path.begin(), path.end(), L'/', L'\\');
    std::wstring out = path.substr(0, rootLength(path));
    for (const std::wstring_view part :
         pathComponents(std::wstring_view(path).substr(out.size()))) {
      const std::size_t end = part.find_last_not_of(L". ");
      if (part == L"..") out.resize(std::max(out.rfind(L'\\'), rootLength(out)));
      if (end == std::wstring_view::npos) continue;
      const std::wstring_view name = part.substr(0, end + 1);
      if (equalsIgnoreCase(name.substr(0, name.find(L'.')), L"nul")) return L"\\\\.\\nul";
      out.append(L"\\").append(name);
    }
    return out.size() == 2 ? out + L'\\' : out;
  }

  DiskNode* resolve(const std::wstring& given, bool followLast, int links = 0) const {
    std::wstring path = read(given);
    for (const wchar_t* prefix : {L"\\\\?\\", L"\\\\.\\"}) {
      if (path.starts_with(prefix)) path = path.substr(4);
    }
    if (path.starts_with(L"GLOBALROOT\\C")) path = L"C:" + path.substr(12);
    const std::size_t rootEnd = rootLength(path);
    const auto volume = volumes_.find(lowerCase(path.substr(0, rootEnd)));
    if (volume == volumes_.end() || links > 8) return nullptr;
    DiskNode* node = volume->second;
    const std::wstring rest = path.substr(rootEnd);
    const auto parts = pathComponents(rest);
    for (std::size_t i = 0; i < parts.size() && node != nullptr; ++i) {
      // A stream is part of its file.
      node = childOf(*node, parts[i].substr(0, parts[i].find(L':')));
      const bool follow = followLast || i + 1 < parts.size();
      if (node != nullptr && follow && !node->link.empty()) {
        node = resolve(node->link, true, links + 1);
      }
    }
    return node;
  }

  // Whatever its names end in.
  DiskNode* exactly(const std::wstring& path) const { return resolve(L"\\\\?\\" + path, false); }

  bool removeTree(DiskNode& node, bool intoBin) {
    if (node.locked) return false;
    bool all = true;
    const auto children = node.children;
    for (const auto& child : children) all = removeTree(*child, intoBin) && all;
    if (!all || node.parent == nullptr) return false;
    if (intoBin) {
      binBytes += node.size;
      ++binItems;
      if (DiskNode* bin = at(L"C:\\$Recycle.Bin\\S-1"); bin != nullptr && !node.folder) {
        DiskNode& binned =
            add(L"C:\\$Recycle.Bin\\S-1\\$R" + std::to_wstring(node.id) + node.name, node.size);
        binned.id = node.id;
        binned.disk = node.disk;
      }
    }
    removeNode(node);
    return true;
  }

  static void list(const DiskNode& node, const std::wstring& path, std::vector<std::wstring>& all) {
    all.push_back(path + (node.link.empty() ? L"" : L" -> " + node.link));
    for (const auto& child : node.children) list(*child, path + L"\\" + child->name, all);
  }

  std::vector<std::shared_ptr<DiskNode>> roots_;
  std::map<std::wstring, DiskNode*> volumes_; // by lower-case name
  std::multiset<std::wstring> held_;
  std::uint64_t lastId_ = 0;
};

} // namespace vorda::test
