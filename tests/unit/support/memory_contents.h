// In-memory file contents. Tests can modify files in the hooks while they are read.
#pragma once

#include "search/file_contents.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace vorda::test {

struct MemoryFile {
  std::string content;
  FileState state;
  std::uint64_t changed = 0;
  std::uint64_t number = 0;                // the identity; 0 if unknown
  FileFailure failure = FileFailure::none; // of look and open
  bool failsReading = false;
};

class MemoryContents final : public FileContents {
public:
  // Called first in each function, on the calling thread.
  std::function<void(const std::wstring&)> onLook;
  std::function<void(const std::wstring&)> onIdentity;
  std::function<void(const std::wstring&)> onOpen;
  std::function<void(const std::wstring&)> onState; // of an open file
  std::function<void(const std::wstring&)> onRead;
  std::atomic<std::uint64_t> bytesRead{0};
  std::atomic<int> opened{0};
  std::atomic<bool> hashersFail{false};

  // Paths with the same number are names of one file; 0 assigns a new one.
  void add(const std::wstring& path, std::string content, std::uint64_t number = 0) {
    edit(path, [&](MemoryFile& file) {
      file.number = number == 0 ? ++nextNumber_ : number;
      file.state = {content.size(), 1, number == 0 ? file.number : 1};
      file.content = std::move(content);
    });
  }

  template <typename Change> void edit(const std::wstring& path, Change change) {
    const std::lock_guard lock(mutex_);
    change(files_[path]);
  }

  // Replaces the content and updates the times, as a file system does.
  void rewrite(const std::wstring& path, std::string content) {
    edit(path, [&](MemoryFile& file) {
      file.state.size = content.size();
      file.changed = ++file.state.lastWrite;
      file.content = std::move(content);
    });
  }

  void remove(const std::wstring& path) {
    const std::lock_guard lock(mutex_);
    files_.erase(path);
  }

  std::optional<FileState> look(const std::wstring& path, FileFailure& failure) override {
    if (onLook) onLook(path);
    const std::optional<MemoryFile> file = copy(path);
    failure = file ? file->failure : FileFailure::missing;
    return failure == FileFailure::none ? std::optional(file->state) : std::nullopt;
  }

  std::optional<FileIdentity> identity(const std::wstring& path) override {
    if (onIdentity) onIdentity(path);
    const std::optional<MemoryFile> file = copy(path);
    if (!file || file->number == 0) return std::nullopt;
    return FileIdentity{7, {file->number, 0}};
  }

  std::unique_ptr<ContentFile> open(const std::wstring& path, Writers writers,
                                    FileFailure& failure) override {
    if (onOpen) onOpen(path);
    const std::optional<MemoryFile> file = copy(path);
    failure = file ? file->failure : FileFailure::missing;
    if (failure != FileFailure::none) return nullptr;
    ++opened;
    return std::make_unique<File>(*this, path, *file, writers);
  }

  // Whether somebody else could write to a file now, or delete it.
  bool isWritable(const std::wstring& path) { return !isOpen(path, Writers::refused); }
  bool isDeletable(const std::wstring& path) { return !isOpen(path, Writers::refusedAsDeleters); }

  std::unique_ptr<Hasher> hasher() override {
    return std::make_unique<ChecksumHasher>(hashersFail);
  }
  void lowerPriority() override { lowered() = true; }
  // Whether the calling thread has a low priority.
  static bool& lowered() {
    static thread_local bool value = false;
    return value;
  }

private:
  std::optional<MemoryFile> copy(const std::wstring& path) {
    const std::lock_guard lock(mutex_);
    const auto at = files_.find(path);
    return at == files_.end() ? std::nullopt : std::optional(at->second);
  }

  class File final : public ContentFile {
  public:
    File(MemoryContents& owner, std::wstring path, MemoryFile file, Writers writers)
        : owner_(owner), path_(std::move(path)), file_(std::move(file)), writers_(writers) {
      const std::lock_guard lock(owner_.mutex_);
      place_ = owner_.open_.emplace(path_, writers_);
    }
    ~File() override {
      const std::lock_guard lock(owner_.mutex_);
      owner_.open_.erase(place_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::optional<OpenState> state() override {
      if (owner_.onState) owner_.onState(path_);
      return refresh() ? std::optional(OpenState{file_.state, file_.changed}) : std::nullopt;
    }

    std::optional<std::size_t> read(std::uint64_t offset, std::span<std::byte> into) override {
      if (owner_.onRead) owner_.onRead(path_);
      refresh();
      if (file_.failsReading) return std::nullopt;
      const std::size_t from = std::min<std::size_t>(offset, file_.content.size());
      const std::size_t count = std::min(into.size(), file_.content.size() - from);
      std::memcpy(into.data(), file_.content.data() + from, count);
      owner_.bytesRead += count;
      return count;
    }

  private:
    // False if the path now leads to a different file, or to none.
    bool refresh() {
      const std::optional<MemoryFile> now = owner_.copy(path_);
      const bool named = now && now->number == file_.number;
      if (named) file_ = *now;
      return named;
    }

    MemoryContents& owner_;
    std::wstring path_;
    MemoryFile file_;
    Writers writers_;
    std::multiset<std::pair<std::wstring, Writers>>::iterator place_;
  };

  class ChecksumHasher final : public Hasher {
  public:
    explicit ChecksumHasher(bool fails) : fails_(fails) {}
    void add(std::span<const std::byte> bytes) override {
      for (const std::byte byte : bytes) {
        sum_ = (sum_ ^ static_cast<std::uint64_t>(byte)) * 1'099'511'628'211ULL;
      }
    }
    std::optional<Digest> finish() override {
      if (fails_) return std::nullopt;
      Digest digest{};
      std::memcpy(digest.data(), &sum_, sizeof sum_);
      return digest;
    }

  private:
    bool fails_;
    std::uint64_t sum_ = 1;
  };

  // Whether the file is open in this mode or a stricter one.
  bool isOpen(const std::wstring& path, Writers least) {
    const std::lock_guard lock(mutex_);
    return std::any_of(open_.begin(), open_.end(),
                       [&](const auto& one) { return one.first == path && one.second >= least; });
  }

  std::mutex mutex_;
  std::multiset<std::pair<std::wstring, Writers>> open_;
  std::map<std::wstring, MemoryFile> files_;
  std::uint64_t nextNumber_ = 1000;
};

} // namespace vorda::test
