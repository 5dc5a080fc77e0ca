#include "scan/ssh/ssh_output.h"

#include "scan/ssh/listing_line.h"
#include "scan/ssh/ssh_target.h"

namespace vorda {

namespace {

constexpr std::string_view kRefusal = "Permission denied";

} // namespace

void SshOutput::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, end);
    const bool whole = end != std::string_view::npos;
    tooLong_ = tooLong_ || begun_.size() + piece.size() > kMaxLineBytes;
    if (tooLong_) {
      begun_.clear();
    } else if (!whole || !begun_.empty()) {
      begun_.append(piece);
    }
    if (!whole) return;
    if (tooLong_ && section_ == Section::listing) tree_.skipEntry();
    if (!tooLong_) wholeLine(begun_.empty() ? piece : std::string_view(begun_));
    begun_.clear();
    tooLong_ = false;
    bytes.remove_prefix(end + 1);
  }
}

void SshOutput::finish() {
  cutOff_ = section_ == Section::listing && (tooLong_ || !begun_.empty());
  lookForRefusal(begun_);
}

void SshOutput::wholeLine(std::string_view line) {
  if (section_ != Section::listing && startsSection(line)) return;
  if (carriageReturns_ && line.ends_with('\r')) line.remove_suffix(1);
  if (section_ == Section::fileSystem) {
    if (const auto figures = parseFileSystemLine(line)) fileSystem_ = *figures;
  }
  if (section_ == Section::listing && addToTree(line)) {
    if (++linesListed_ % kPublishEvery == 0) publish();
  } else {
    lookForRefusal(line);
  }
}

bool SshOutput::startsSection(std::string_view line) {
  const bool carriageReturn = line.ends_with('\r');
  if (carriageReturn) line.remove_suffix(1);
  if (line == kListingMark) {
    section_ = Section::listing;
  } else if (line == kFileSystemMark) {
    section_ = Section::fileSystem;
  } else {
    return false;
  }
  carriageReturns_ = carriageReturn;
  return true;
}

bool SshOutput::addToTree(std::string_view line) {
  const auto entry = parseListingLine(line);
  if (!entry) return false;
  return entry->folder ? tree_.addFolder(entry->path)
                       : tree_.addFile(entry->path, entry->size, entry->modified);
}

void SshOutput::lookForRefusal(std::string_view line) {
  permissionDenied_ = permissionDenied_ || line.find(kRefusal) != std::string_view::npos;
}

void SshOutput::publish() {
  progress_.files = result_.fileCount;
  progress_.bytes = result_.byteCount;
  progress_.dirs = result_.folders.size();
  progress_.edit([this](ProgressTexts& texts) { texts.current = tree_.currentFolder(); });
}

std::string sshFailure(std::uint32_t exitCode, bool permissionDenied) {
  if (exitCode == 0) return std::string(kSshEmpty);
  if (permissionDenied) return std::string(kSshDenied);
  return std::string(kSshFailed).append(":").append(std::to_string(exitCode));
}

} // namespace vorda
