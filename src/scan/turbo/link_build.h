// Collects the files with several names while turbo builds its tree.
#pragma once

#include "scan/scan_result.h"
#include "scan/turbo/record_table.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace vorda {

// In bytes.
struct FileDisk {
  std::uint64_t bytes = 0;
  std::uint64_t streams = 0; // the part of bytes in further streams
  std::uint64_t cloud = 0;
  std::uint32_t link = kNoLink; // if the file has several names
  bool comesBack = false;       // all of bytes, if this one file is deleted
};

class LinkBuilder {
public:
  LinkBuilder(RecordTable& table, ScanResult& result) : table_(table), result_(result) {
    result_.links.complete = true;
  }

  // The place of a file in the link table, to which it is added, or kNoLink if it has one name.
  // Records must be passed in ascending order and only once. folder: of the name that the record's entry
  // has. unseen: the file has names that were not found.
  std::uint32_t linkOf(std::uint32_t record, std::uint32_t folder, const FileDisk& disk,
                       bool unseen) {
    const std::vector<SideName>& names = table_.sideNames;
    while (next_ < names.size() && names[next_].record < record) ++next_;
    const bool several = next_ < names.size() && names[next_].record == record;
    return several || unseen ? addFile(record, folder, disk, unseen) : kNoLink;
  }

private:
  std::uint32_t addFile(std::uint32_t record, std::uint32_t folder, const FileDisk& disk,
                        bool unseen);
  void addName(std::uint32_t folder, const PooledName& name);
  std::uint32_t typeOf(const std::wstring& name);

  RecordTable& table_;
  ScanResult& result_;
  std::size_t next_ = 0; // in the table's side names
  std::unordered_map<std::wstring, std::uint32_t> types_;
  std::wstring text_;
};

} // namespace vorda
