// Reading many files for a run: drive by drive, in large blocks, with an eye on whether a
// file stays what it was.
#pragma once

#include "search/background_run.h"
#include "search/file_contents.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Files of up to twice this size have nothing between their two ends.
inline constexpr std::uint64_t kEndBytes = 65'536;

// The reader of one thread.
class ContentReader {
public:
  ContentReader(FileContents& contents, Run& run, Writers writers);

  // The digest of the whole file, or of its first and last 64 KiB (which are the whole when
  // it has no more than 128 KiB). Empty with the digest in out, or why there is none: a word
  // of FileContents, "changed" when the file was not in the expected state before and after,
  // "cancelled". What was read counts in the run.
  std::string_view digestWhole(const std::wstring& path, const FileState& expected, Digest& out);
  std::string_view digestEnds(const std::wstring& path, const FileState& expected, Digest& out);

private:
  struct Range {
    std::uint64_t from;
    std::uint64_t length;
  };
  std::string_view digest(const std::wstring& path, const FileState& expected,
                          const std::vector<Range>& ranges, Digest& out);
  std::string_view addRange(ContentFile& file, const Range& range, Hasher& hasher);

  FileContents& contents_;
  Run& run_;
  Writers writers_;
  std::vector<std::byte> buffer_;
};

// The bytes that digestEnds reads.
std::uint64_t endBytes(std::uint64_t size);

// What one thread does with an item, given by its index.
using ItemWork = std::function<void(std::size_t item)>;

// Works through the paths: those of one drive in their order and one at a time, several
// drives side by side, each thread with the work that makeWork gives it when called there.
// Ends early after a cancel.
void forEachByDrive(const std::vector<const std::wstring*>& paths, const Run& run,
                    const std::function<ItemWork()>& makeWork);

} // namespace vorda
