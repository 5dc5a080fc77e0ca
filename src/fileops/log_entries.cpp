#include "fileops/log_entries.h"

#include "fileops/deletion_log.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace vorda {

namespace {

constexpr std::size_t kTimeLength = 19;
constexpr std::string_view kTimeForm = "0000-00-00 00:00:00";
constexpr std::size_t kLongestOther = 1'000; // bytes of a line that is no record

bool isTime(std::string_view text) {
  return text.size() == kTimeLength &&
         std::equal(text.begin(), text.end(), kTimeForm.begin(), [](char have, char form) {
           return form == '0' ? have >= '0' && have <= '9' : have == form;
         });
}

bool takeStart(std::string_view& text, std::string_view start) {
  if (!text.starts_with(start)) return false;
  text.remove_prefix(start.size());
  return true;
}

bool takeEnd(std::string_view& text, std::string_view end) {
  if (!text.ends_with(end)) return false;
  text.remove_suffix(end.size());
  return true;
}

bool takeNumber(std::string_view& text, std::uint64_t& number) {
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  if (parsed.ec != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
  return true;
}

bool readDeleted(std::string_view rest, LogEntry& entry) {
  if (!takeNumber(rest, entry.bytes) || !takeStart(rest, log_text::kSeparator)) return false;
  entry.path = rest;
  return true;
}

// "(code)  left van paths paden bleven staan"
bool readFailed(std::string_view rest, LogEntry& entry) {
  return takeStart(rest, " (") && takeNumber(rest, entry.code) && takeStart(rest, ")") &&
         takeStart(rest, log_text::kSeparator) && takeNumber(rest, entry.left) &&
         takeStart(rest, log_text::kOf) && takeNumber(rest, entry.paths) &&
         rest == log_text::kPathsLeft;
}

// "bytes  folder  (deleted weg, skipped overgeslagen)"; the folder may contain anything.
bool readCleaned(std::string_view rest, LogEntry& entry) {
  if (!takeNumber(rest, entry.bytes) || !takeStart(rest, log_text::kSeparator)) return false;
  const std::size_t figures = rest.rfind("  (");
  if (figures == std::string_view::npos) return false;
  entry.path = rest.substr(0, figures);
  rest.remove_prefix(figures + 3);
  return takeNumber(rest, entry.deleted) && takeStart(rest, log_text::kRemoved) &&
         takeNumber(rest, entry.skipped) && takeStart(rest, log_text::kSkipped) && rest == ")";
}

bool readRecord(std::string_view line, LogEntry& entry) {
  if (!isTime(line.substr(0, kTimeLength))) return false;
  entry.at = line.substr(0, kTimeLength);
  line.remove_prefix(kTimeLength);
  if (!takeStart(line, log_text::kSeparator)) return false;
  if (takeStart(line, log_text::kFailed)) {
    entry.kind = LogKind::failed;
    return readFailed(line, entry);
  }
  const std::size_t end = line.find(log_text::kSeparator);
  if (end == std::string_view::npos) return false;
  std::string_view what = line.substr(0, end);
  line.remove_prefix(end + log_text::kSeparator.size());
  entry.interrupted = takeEnd(what, log_text::kInterrupted);
  entry.partly = takeEnd(what, log_text::kPart);
  if (what == log_text::kCleaned) {
    entry.kind = LogKind::cleaned;
    return !entry.partly && readCleaned(line, entry);
  }
  if (what == log_text::kPermanent) entry.kind = LogKind::permanent;
  if (what == log_text::kBinned) entry.kind = LogKind::binned;
  if (what == log_text::kBinRefused) entry.kind = LogKind::binRefused;
  return entry.kind != LogKind::other && readDeleted(line, entry);
}

} // namespace

std::string_view wordOf(LogKind kind) {
  switch (kind) {
  case LogKind::permanent: return "permanent";
  case LogKind::binned: return "binned";
  case LogKind::binRefused: return "binRefused";
  case LogKind::failed: return "failed";
  case LogKind::cleaned: return "cleaned";
  case LogKind::other: return "other";
  }
  return {};
}

LogEntry logEntryOf(std::string_view line) {
  LogEntry entry;
  if (readRecord(line, entry)) return entry;
  LogEntry other;
  other.path = line.substr(0, kLongestOther);
  return other;
}

std::vector<LogEntry> newestEntries(std::string_view text, std::size_t most, bool& more) {
  std::vector<LogEntry> entries;
  while (!text.empty()) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    std::string_view line = text.substr(text.rfind('\n') + 1); // all of it without a line end
    text.remove_suffix(line.size());
    takeEnd(line, "\r");
    if (line.empty()) continue;
    if (entries.size() == most) {
      more = true;
      break;
    }
    entries.push_back(logEntryOf(line));
  }
  return entries;
}

} // namespace vorda
