#include "fileops/deletion_log.h"

#include "base/text.h"

namespace vorda {

using namespace log_text;

namespace {

constexpr std::string_view kLineEnd = "\r\n";

std::string_view modeText(DeletionMode mode) {
  switch (mode) {
  case DeletionMode::permanent: return kPermanent;
  case DeletionMode::binned: return kBinned;
  case DeletionMode::binRefused: return kBinRefused;
  }
  return {};
}

// The fields that every record begins with.
std::string lineStart(const LocalTime& at, std::string_view what) {
  return secondText(at).append(kSeparator).append(what);
}

} // namespace

std::string deletedLine(const LocalTime& at, const Manner& manner, std::uint64_t bytes,
                        std::wstring_view path) {
  std::string line = lineStart(at, modeText(manner.mode));
  if (manner.partly) line.append(kPart);
  if (manner.interrupted) line.append(kInterrupted);
  line.append(kSeparator).append(std::to_string(bytes)).append(kSeparator);
  appendUtf8(line, path);
  return line.append(kLineEnd);
}

std::string failedLine(const LocalTime& at, int code, std::uint64_t left, std::uint64_t paths) {
  std::string line = lineStart(at, kFailed);
  line.append(" (").append(std::to_string(code)).append(")").append(kSeparator);
  line.append(std::to_string(left)).append(kOf).append(std::to_string(paths));
  return line.append(kPathsLeft).append(kLineEnd);
}

std::string cleanedLine(const LocalTime& at, const Cleaned& cleaned, std::wstring_view folder) {
  std::string line = lineStart(at, kCleaned);
  if (cleaned.interrupted) line.append(kInterrupted);
  line.append(kSeparator).append(std::to_string(cleaned.bytes)).append(kSeparator);
  appendUtf8(line, folder);
  line.append(kSeparator).append("(").append(std::to_string(cleaned.deleted)).append(kRemoved);
  return line.append(std::to_string(cleaned.skipped)).append(kSkipped).append(")").append(kLineEnd);
}

} // namespace vorda
