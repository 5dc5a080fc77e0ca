#include "fileops/copy_proof.h"

namespace vorda {

namespace {

bool looksAlike(const Seen& a, const Seen& b) {
  return a.kind == b.kind && a.bytes == b.bytes && a.mark == b.mark && a.identity == b.identity;
}

} // namespace

CopyProof::Kept& CopyProof::kept(std::map<std::wstring, Kept>& files, const std::wstring& path,
                                 KeepFor what) {
  const auto [at, added] = files.try_emplace(path);
  if (!added) return at->second;
  at->second.file = keeper_.keep(path, what);
  if (!at->second.file) return at->second;
  const std::optional<Seen> state = at->second.file->look();
  if (state) {
    at->second.state = *state;
  } else {
    at->second.file.reset();
  }
  return at->second;
}

// Whether the contents that were seen are known to be those that are there.
bool CopyProof::isFresh(const Kept& one, const std::optional<Seen>& seen) const {
  return seen && seen->contents && looksAlike(*seen, one.state) &&
         seen->contents->readAtMs <= nowMs_ && nowMs_ - seen->contents->readAtMs <= kReadIsFreshMs;
}

bool CopyProof::readNow(Kept& one) {
  if (!one.contents) one.contents = one.file->read();
  return one.contents.has_value();
}

bool CopyProof::prove(const std::wstring& path, const Expected& expected) {
  Kept& file = kept(going_, path, KeepFor::deletion);
  if (!file.file) return false;
  const bool sawContents = expected.seen && expected.seen->contents;
  if (expected.keep.empty()) {
    return isFresh(file, expected.seen) ||
           (readNow(file) && file.contents->digest == expected.seen->contents->digest);
  }
  Kept& copy = kept(staying_, expected.keep, KeepFor::good);
  if (!copy.file) return false;
  // Two names of one place are not two copies.
  if (copy.state.identity ? copy.state.identity == file.state.identity : expected.keep == path) {
    return false;
  }
  if (isFresh(file, expected.seen) && isFresh(copy, expected.keepSeen)) {
    return expected.seen->contents->digest == expected.keepSeen->contents->digest;
  }
  if (copy.state.bytes != file.state.bytes || !readNow(file) || !readNow(copy)) return false;
  return file.contents->digest == copy.contents->digest &&
         (!sawContents || file.contents->digest == expected.seen->contents->digest);
}

bool CopyProof::isStill(const std::wstring& path, const Seen& now) const {
  const auto at = going_.find(path);
  if (at == going_.end() || !at->second.file) return false;
  const std::optional<Seen> held = at->second.file->look();
  return held && looksAlike(*held, at->second.state) && now.kind == SeenKind::file &&
         now.bytes == held->bytes && now.mark == held->mark;
}

void CopyProof::release() {
  going_.clear();
  staying_.clear();
}

} // namespace vorda
