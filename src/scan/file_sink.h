// Where a scan hands the files that pass its filter when nobody wants to hold them all:
// a search may find half of a million files and keep the best few.
//
// A scan method with a sink gives every such file to it once and adds none to the list of
// its result. Each thread that finds files works with a taker of its own, which it
// destroys when it is done; no two threads share one. A method that fails must not have
// given anything to the sink.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace vorda {

// The views are valid during the call only.
struct FoundFile {
  std::wstring_view folder; // full path
  std::wstring_view name;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC), 0 when not known
};

class FileTaker {
public:
  virtual ~FileTaker() = default;
  virtual void take(const FoundFile& file) = 0;
};

// Shared by all threads of a scan.
class FileSink {
public:
  virtual ~FileSink() = default;
  virtual std::unique_ptr<FileTaker> taker() = 0;
};

} // namespace vorda
