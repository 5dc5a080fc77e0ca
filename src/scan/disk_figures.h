// What a scan found out about bytes on disk, beside the sizes in the folder table.
//
// Scan methods fill the own figures of each folder by the files that have one name only, and put
// files with several names into the link table. sumDisk in src/tree shares those out and sums
// everything upwards.
#pragma once

#include "scan/folder_table.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// All in bytes. "Back" is what comes back if exactly this folder is deleted.
struct FolderDisk {
  std::uint64_t ownDisk = 0;    // of the files directly in the folder, with all streams
  std::uint64_t ownStreams = 0; // the part of it, and of the folder, that is in further streams
  std::uint64_t ownTables = 0;  // the folder's own tables
  std::uint64_t ownBack = 0;    // of files all of whose names are directly in the folder
  std::uint64_t ownCloud = 0;   // only in the cloud
  std::uint64_t jointBack = 0;  // of files whose names are below, but in several folders
  std::uint64_t totalDisk = 0;
  std::uint64_t totalBack = 0;
  std::uint64_t totalCloud = 0;
  bool fixed = false; // nobody can delete it: the root, and what belongs to the file system

  void addFile(std::uint64_t disk, std::uint64_t cloud, bool comesBack) {
    ownDisk += disk;
    ownCloud += cloud;
    if (comesBack) ownBack += disk;
  }
};

inline constexpr std::uint32_t kNoLink = 0xFFFFFFFF;
inline constexpr std::uint32_t kNoText = 0xFFFFFFFF;

struct LinkName {
  std::uint32_t folder = 0;
  std::uint32_t nameHash = 0;     // foldedHash of the name
  std::uint32_t nameAt = kNoText; // in LinkTable::text, if known
  std::uint32_t type = 0;         // index into LinkTable::types
};

// A file with several names in the scan.
struct LinkedFile {
  std::uint64_t id = 0; // of the file on its volume
  std::uint64_t size = 0;
  std::uint64_t disk = 0;
  std::uint64_t cloud = 0;
  std::uint32_t first = 0; // index of its first name in LinkTable::names
  std::uint32_t count = 0; // names left, consecutive
  bool stays = false;      // has names that nobody can delete, or that the scan did not see
};

// The first name of a file is the one whose folder and type its bytes on disk count in.
struct LinkTable {
  std::vector<LinkedFile> files; // sorted by id
  std::vector<LinkName> names;
  std::vector<std::wstring> types;
  std::wstring text; // names, each ended by NUL
  // Whether all names are known, and the first is where the file's size counts (turbo). Otherwise sumDisk
  // sorts the names by path.
  bool complete = false;

  std::wstring_view nameOf(const LinkName& name) const {
    return name.nameAt < text.size() ? std::wstring_view(text.c_str() + name.nameAt)
                                     : std::wstring_view();
  }
  // The file with this identity, or kNoLink.
  std::uint32_t find(std::uint64_t id) const;
  // Appends a text and returns its place; kNoText if the table is full.
  std::uint32_t addText(std::wstring_view name);
};

// Ignores case. Names of one file in one folder are told apart by it.
std::uint32_t foldedHash(std::wstring_view name);

inline constexpr std::uint32_t kNoType = 0xFFFFFFFF; // the plain figures leave the file out

// A file as one of its names shows it. In bytes.
struct MetFile {
  std::uint64_t id = 0;
  std::uint64_t size = 0;
  std::uint64_t disk = 0;
  std::uint32_t folder = 0;
  std::uint32_t nameHash = 0;
  std::uint32_t type = 0; // number of the type, or kNoType
  bool cloud = false;
};

// A file that has a line of its own in the account.
struct AccountPart {
  std::wstring name;
  std::uint64_t bytes = 0; // on disk
};

// What is known of a scanned drive as a whole. Figures in bytes.
struct VolumeFacts {
  bool wholeVolume = false; // the scan's root is a drive
  bool counted = false;     // turbo: streams, folders' tables and the file system's files are in
  bool usedKnown = false;
  bool fromBitmap = false;         // used is counted in the volume's own map of clusters
  bool exact = true;               // false: some allocations were believed, not counted
  std::uint64_t used = 0;          // when scanned
  std::uint64_t diskThen = 0;      // what the scan had found by then
  std::uint32_t cluster = 0;       // 0: unknown
  std::vector<AccountPart> system; // the file system's own files in the root
  std::vector<AccountPart> paging; // paging and hibernation files in the root
  bool shadowKnown = false;
  std::uint64_t shadow = 0; // as Windows says
  bool reservedKnown = false;
  std::uint64_t reserved = 0;
  std::uint64_t unlistedFiles = 0; // counted by these figures only
  std::uint64_t unlistedBytes = 0; // their sizes
};

// Whether a file in the root of a drive is one for paging or hibernation.
bool isPagingFile(std::wstring_view name);

} // namespace vorda
