// The files among which duplicates are looked for, as a listing finds them: the contents
// of recycle bins and empty files left out, folders held once.
#pragma once

#include "scan/file_sink.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vorda {

// One name of a file, with the scan it came from.
struct FileName {
  std::wstring path;
  std::uint64_t modified = 0; // milliseconds since 1970, 0 when not known
  int scan = 0;
};

struct SizedName {
  std::uint64_t size = 0; // bytes
  FileName name;
};

class Candidates {
public:
  // What takes the files of one scan; lives as long as the candidates.
  FileSink& sinkOf(int scan);

  // Those whose size another one has too, by size and path, largest first. Leaves nothing
  // behind. Only when all takers are gone.
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
  // What one taker has found; addresses of its folders stay.
  struct Part {
    std::deque<Folder> folders;
    std::vector<Item> items;
  };

  std::vector<std::unique_ptr<FileSink>> sinks_;
  std::mutex mutex_; // guards what follows
  std::vector<std::unique_ptr<Part>> parts_;
};

} // namespace vorda
