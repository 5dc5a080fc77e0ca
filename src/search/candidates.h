// The files that a duplicate search compares, collected while scans are listed. Empty files and
// the contents of recycle bins are ignored. Each folder path is stored once.
#pragma once

#include "scan/file_sink.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vorda {

// One path of a file, and the scan that found it.
struct FileName {
  std::wstring path;
  std::uint64_t modified = 0; // milliseconds since 1970; 0 if unknown
  int scan = 0;
};

struct SizedName {
  std::uint64_t size = 0; // bytes
  FileName name;
};

class Candidates {
public:
  // Receives the files of one scan. Lives as long as the candidates.
  FileSink& sinkOf(int scan);

  // Removes all files and returns those whose size is not unique, sorted by size (largest first)
  // and path. Call when all takers are destroyed.
  std::vector<SizedName> takeSameSized();

private:
  class Sink;
  class Taker;
  struct Folder {
    std::wstring path;
    int scan;
  };
  struct Item {
    std::uint64_t size;
    std::uint64_t modified;
    const Folder* folder;
    std::wstring name;
  };
  // The files of one taker. Items point to its folders, which therefore never move.
  struct Part {
    std::deque<Folder> folders;
    std::vector<Item> items;
  };

  Part& newPart();

  std::vector<std::unique_ptr<FileSink>> sinks_;
  std::mutex mutex_; // guards the member below
  std::vector<std::unique_ptr<Part>> parts_;
};

} // namespace vorda
