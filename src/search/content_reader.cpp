#include "search/content_reader.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace vorda {

namespace {

constexpr std::size_t kBlockBytes = 1'048'576;
constexpr std::size_t kDrivesAtOnce = 16;

// "c:" or "\\server\share".
std::wstring driveOf(std::wstring_view path) {
  if (isDriveLetterPath(path)) return lowerCase(path.substr(0, 2));
  std::wstring drive;
  const auto parts = pathComponents(path);
  for (std::size_t i = 0; i < std::min<std::size_t>(parts.size(), 2); ++i) {
    drive.append(L"\\").append(lowerCase(parts[i]));
  }
  return drive;
}

} // namespace

ContentReader::ContentReader(FileContents& contents, Run& run, Writers writers)
    : contents_(contents), run_(run), writers_(writers), buffer_(kBlockBytes) {}

std::uint64_t endBytes(std::uint64_t size) { return std::min(size, 2 * kEndBytes); }

FileFailure ContentReader::digestWhole(const std::wstring& path, const FileState& expected,
                                       Digest& out) {
  return digest(path, expected, {{0, expected.size}}, out);
}

FileFailure ContentReader::digestEnds(const std::wstring& path, const FileState& expected,
                                      Digest& out) {
  if (expected.size <= 2 * kEndBytes) return digestWhole(path, expected, out);
  return digest(path, expected, {{0, kEndBytes}, {expected.size - kEndBytes, kEndBytes}}, out);
}

FileFailure ContentReader::digest(const std::wstring& path, const FileState& expected,
                                  const std::vector<Range>& ranges, Digest& out) {
  FileFailure failure = FileFailure::none;
  const std::unique_ptr<ContentFile> file = contents_.open(path, writers_, failure);
  if (!file) return failure;
  const std::optional<OpenState> before = file->state();
  if (!before || before->file != expected) return FileFailure::changed;
  const std::unique_ptr<Hasher> hasher = contents_.hasher();
  for (const Range& range : ranges) {
    failure = addRange(*file, range, *hasher);
    if (failure != FileFailure::none) return failure;
  }
  if (file->state() != before) return FileFailure::changed;
  const std::optional<Digest> finished = hasher->finish();
  if (!finished) return FileFailure::unreadable;
  out = *finished;
  return FileFailure::none;
}

FileFailure ContentReader::addRange(ContentFile& file, const Range& range, Hasher& hasher) {
  for (std::uint64_t done = 0; done < range.length;) {
    if (run_.cancelled()) return FileFailure::cancelled;
    const auto piece =
        static_cast<std::size_t>(std::min<std::uint64_t>(range.length - done, buffer_.size()));
    const std::span<std::byte> block(buffer_.data(), piece);
    const std::optional<std::size_t> count = file.read(range.from + done, block);
    if (!count) return FileFailure::unreadable;
    if (*count != piece) return FileFailure::changed; // shorter than expected
    hasher.add(block);
    done += piece;
    run_.update([piece](RunCounters& counters) { counters.read += piece; });
  }
  return FileFailure::none;
}

void forEachByDrive(const std::vector<const std::wstring*>& paths, const Run& run,
                    const std::function<ItemWork()>& makeWork) {
  std::map<std::wstring, std::vector<std::size_t>> drives;
  for (std::size_t i = 0; i < paths.size(); ++i) drives[driveOf(*paths[i])].push_back(i);
  using Share = std::vector<const std::vector<std::size_t>*>;
  std::vector<Share> shares(std::min(drives.size(), kDrivesAtOnce));
  std::size_t next = 0;
  for (const auto& [drive, items] : drives) shares[next++ % shares.size()].push_back(&items);
  std::mutex mutex;
  std::exception_ptr failure;
  std::atomic<bool> failed{false}; // then the others need not go on
  const auto readShare = [&](const Share& share) noexcept {
    try {
      const ItemWork work = makeWork();
      for (const std::vector<std::size_t>* items : share) {
        for (const std::size_t item : *items) {
          if (failed || run.cancelled()) return;
          work(item);
        }
      }
    } catch (...) {
      const std::lock_guard lock(mutex);
      failure = std::current_exception();
      failed = true;
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(shares.size());
  std::size_t started = 1;
  try {
    for (; started < shares.size(); ++started) {
      threads.emplace_back([&readShare, &share = shares[started]] { readShare(share); });
    }
  } catch (const std::exception&) {
    // No more threads: this one processes the remaining drives.
  }
  if (!shares.empty()) readShare(shares[0]);
  for (std::size_t i = started; i < shares.size(); ++i) readShare(shares[i]);
  for (std::thread& thread : threads) thread.join();
  if (failure) std::rethrow_exception(failure);
}

} // namespace vorda
