// Hashes many files for a run: drive by drive, in large blocks, and detects files that are
// modified meanwhile.
#pragma once

#include "search/background_run.h"
#include "search/file_contents.h"

#include <functional>
#include <string>
#include <vector>

namespace vorda {

// The size of each end of a file. Files up to twice this size consist of their ends.
inline constexpr std::uint64_t kEndBytes = 65'536;

// Used by one thread.
class ContentReader {
public:
  ContentReader(FileContents& contents, Run& run, Writers writers);

  // Store the digest of a whole file, or of its two ends, in out. changed if the file is not in
  // the expected state or is modified during reading. Bytes read are counted in the run.
  FileFailure digestWhole(const std::wstring& path, const FileState& expected, Digest& out);
  FileFailure digestEnds(const std::wstring& path, const FileState& expected, Digest& out);

private:
  struct Range {
    std::uint64_t from;
    std::uint64_t length;
  };
  FileFailure digest(const std::wstring& path, const FileState& expected,
                     const std::vector<Range>& ranges, Digest& out);
  FileFailure addRange(ContentFile& file, const Range& range, Hasher& hasher);

  FileContents& contents_;
  Run& run_;
  Writers writers_;
  std::vector<std::byte> buffer_;
};

// How many bytes digestEnds reads of a file of this size.
std::uint64_t endBytes(std::uint64_t size);

// Processes the item with this index.
using ItemWork = std::function<void(std::size_t item)>;

// Processes all paths: those of one drive one at a time and in order, up to 16 drives in
// parallel. Each thread calls makeWork once and uses the work it returns. Returns early if the
// run is cancelled.
void forEachByDrive(const std::vector<const std::wstring*>& paths, const Run& run,
                    const std::function<ItemWork()>& makeWork);

} // namespace vorda
