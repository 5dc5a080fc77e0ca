// Receives the files that pass a scan's filter one by one, for callers that keep only a few of
// them.
//
// With a sink, a scan method passes on each such file once and leaves the list of its result
// empty. Each scanning thread has its own taker and destroys it when done. A method that fails
// must not have passed on any file, unless by an exception, which ends the search.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace vorda {

// The views are valid only during the call.
struct FoundFile {
  std::wstring_view folder; // full path
  std::wstring_view name;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC); 0: unknown
};

class FileTaker {
public:
  virtual ~FileTaker() = default;
  virtual void take(const FoundFile& file) = 0;
  // Called after the last file; without it, what was taken may be lost.
  virtual void finish() {}
};

// Shared by all threads of a scan.
class FileSink {
public:
  virtual ~FileSink() = default;
  virtual std::unique_ptr<FileTaker> taker() = 0;
};

} // namespace vorda
