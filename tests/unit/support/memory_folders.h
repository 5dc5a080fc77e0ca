// A made-up file system for what walks folders.
#pragma once

#include "base/paths.h"
#include "scan/folder_reader.h"

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vorda::test {

struct MemoryItem {
  std::wstring name;
  std::uint64_t size = 0;
  bool folder = false;
  bool reparsePoint = false;
  std::uint64_t lastWrite = 0;
};

class MemoryFolders final : public FolderSource {
public:
  // Called with the path of every folder that is opened, on the thread that opens it.
  std::function<void(const std::wstring&)> onOpen;
  std::vector<std::wstring> unreadable;
  std::vector<std::wstring> endingEarly;

  void addFile(const std::wstring& folder, const std::wstring& name, std::uint64_t size,
               std::uint64_t lastWrite = 0) {
    items_[folder].push_back({name, size, false, false, lastWrite});
  }

  std::wstring addFolder(const std::wstring& folder, const std::wstring& name) {
    items_[folder].push_back({name, 0, true, false, 0});
    std::wstring path = joinPath(folder, name);
    items_[path];
    return path;
  }

  void addLink(const std::wstring& folder, const std::wstring& name, bool toFolder) {
    items_[folder].push_back({name, 999, toFolder, true, 0});
  }

  std::unique_ptr<FolderReader> reader() override { return std::make_unique<Reader>(*this); }

  PathFacts facts(const std::wstring& path) override {
    if (items_.contains(path)) return {true, true, false, 0};
    for (const auto& [folder, items] : items_) {
      for (const MemoryItem& item : items) {
        if (joinPath(folder, item.name) == path) {
          return {true, item.folder, item.reparsePoint, item.size};
        }
      }
    }
    return {};
  }

  std::wstring absolute(const std::wstring& path) override { return path; }

private:
  class Reader final : public FolderReader {
  public:
    explicit Reader(const MemoryFolders& source) : source_(source) {}

    bool open(const std::wstring& folder, bool) override {
      if (source_.onOpen) source_.onOpen(folder);
      const auto found = source_.items_.find(folder);
      if (found == source_.items_.end() || isIn(source_.unreadable, folder)) return false;
      items_ = &found->second;
      endsEarly_ = isIn(source_.endingEarly, folder);
      at_ = 0;
      return true;
    }

    bool next(FolderItem& item) override {
      if (at_ == items_->size()) return false;
      const MemoryItem& one = (*items_)[at_++];
      item = {one.name, one.size, one.lastWrite, one.folder, false, one.reparsePoint};
      return true;
    }

    bool endedEarly() const override { return endsEarly_; }

  private:
    static bool isIn(const std::vector<std::wstring>& list, const std::wstring& path) {
      for (const std::wstring& one : list) {
        if (one == path) return true;
      }
      return false;
    }

    const MemoryFolders& source_;
    const std::vector<MemoryItem>* items_ = nullptr;
    std::size_t at_ = 0;
    bool endsEarly_ = false;
  };

  std::map<std::wstring, std::vector<MemoryItem>> items_;
};

} // namespace vorda::test
