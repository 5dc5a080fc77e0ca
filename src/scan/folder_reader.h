// The walk's interface to the file system, so that it also runs on an in-memory tree.
#pragma once

#include "scan/reparse_tag.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace vorda {

inline constexpr std::uint64_t kUnknownDisk = std::numeric_limits<std::uint64_t>::max();

struct FolderItem {
  std::wstring_view name;      // one part of a path; valid until the next call on the reader
  std::uint64_t size = 0;      // bytes, for a file
  std::uint64_t lastWrite = 0; // FILETIME (100 ns since 1601, UTC); 0: unknown
  bool folder = false;
  bool hidden = false;
  bool reparsePoint = false;         // junction, symbolic link or other reparse point
  std::uint32_t attributes = 0;      // of a file, see reparse_tag.h
  std::uint32_t tag = kNoReparseTag; // of a reparse point, if the listing tells it
  std::uint64_t disk = kUnknownDisk; // bytes allocated for a file
  std::uint64_t id = 0;              // of the file on its volume; 0: unknown
};

struct PathFacts {
  bool exists = false;
  bool folder = false;
  bool reparsePoint = false;
  std::uint64_t size = 0;       // bytes, for a file
  std::uint64_t lastWrite = 0;  // FILETIME; 0: unknown
  std::uint32_t attributes = 0; // see reparse_tag.h
};

// Lists the items of one folder at a time. Not shared between threads.
class FolderReader {
public:
  virtual ~FolderReader() = default;

  // Starts listing a folder and closes the previous one. literal: a name in the path ends in
  // dots or spaces, which the system would strip. False if the folder cannot be listed.
  virtual bool open(const std::wstring& folder, bool literal) = 0;

  // The next item except "." and ".."; false at the end.
  virtual bool next(FolderItem& item) = 0;

  // Whether next() stopped because of an error.
  virtual bool endedEarly() const = 0;
};

// Creates readers. Thread-safe.
class FolderSource {
public:
  virtual ~FolderSource() = default;
  virtual std::unique_ptr<FolderReader> reader() = 0;
  virtual PathFacts facts(const std::wstring& path) = 0;
  // The size of a cluster of the volume that a folder is on, in bytes; 0 if unknown.
  virtual std::uint32_t clusterBytes(const std::wstring&) { return 0; }
  // The bytes allocated for a file, links not followed; kUnknownDisk if unknown.
  virtual std::uint64_t allocatedBytes(const std::wstring&) { return kUnknownDisk; }
  // Makes a path absolute and resolves "/", "." and ".."; other paths are returned unchanged.
  virtual std::wstring absolute(const std::wstring& path) = 0;
};

// The file system of this machine.
std::unique_ptr<FolderSource> systemFolders();

} // namespace vorda
