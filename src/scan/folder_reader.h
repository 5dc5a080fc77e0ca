// Reading one folder after another: the only way the walk touches the file system, so
// that it can be run on a made-up tree as well.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vorda {

struct FolderItem {
  std::wstring_view name;      // valid until the next call on the reader
  std::uint64_t size = 0;      // bytes, for a file
  std::uint64_t lastWrite = 0; // FILETIME units, 0 when not known
  bool folder = false;
  bool hidden = false;
  bool reparsePoint = false; // a junction, a symbolic link or another reparse entry
};

struct PathFacts {
  bool exists = false;
  bool folder = false;
  bool reparsePoint = false;
  std::uint64_t size = 0; // bytes, for a file
};

// Lists the items of one folder at a time. Not shared between threads.
class FolderReader {
public:
  virtual ~FolderReader() = default;

  // Starts on a folder, ending the one before. literal: the path holds a name that the
  // system would read as another one. False when the folder cannot be listed.
  virtual bool open(const std::wstring& folder, bool literal) = 0;

  // The next item, without "." and ".."; false at the end.
  virtual bool next(FolderItem& item) = 0;

  // Whether the end that next() met was an error and not the end of the folder.
  virtual bool endedEarly() const = 0;
};

// Makes readers; shared between threads.
class FolderSource {
public:
  virtual ~FolderSource() = default;
  virtual std::unique_ptr<FolderReader> reader() = 0;
  virtual PathFacts facts(const std::wstring& path) = 0;
  // The absolute spelling of a path that names its place relative to something, or with
  // "/", "." or ".."; any other path unchanged.
  virtual std::wstring absolute(const std::wstring& path) = 0;
};

// The system's own file system.
std::unique_ptr<FolderSource> systemFolders();

} // namespace vorda
