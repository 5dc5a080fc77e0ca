#include "api/log_api.h"

#include "api/words.h"
#include "base/text.h"
#include "fileops/log_entries.h"
#include "json/json_writer.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace vorda {

namespace {

constexpr std::size_t kMostEntries = 1'000;
constexpr std::size_t kMostBytes = 4'194'304; // of the log's end; paths may be long

void writeEntry(JsonWriter& json, const LogEntry& entry) {
  json.open('{');
  json.string("kind", wordOf(entry.kind));
  if (!entry.at.empty()) json.string("at", entry.at);
  if (entry.partly) json.boolean("partly", true);
  if (entry.interrupted) json.boolean("interrupted", true);
  if (entry.kind == LogKind::failed) {
    json.number("code", entry.code);
    json.number("left", entry.left);
    json.number("paths", entry.paths);
  } else {
    json.string("p", toUtf16(entry.path)); // which makes it well-formed
    if (entry.kind != LogKind::other) json.number("bytes", entry.bytes);
  }
  if (entry.kind == LogKind::cleaned) {
    json.number("deleted", entry.deleted);
    json.number("skipped", entry.skipped);
  }
  json.close('}');
}

} // namespace

HttpResponse readLog(Machine& machine) {
  std::optional<LogEnd> end = machine.endOfLog(kMostBytes);
  if (!end) return errorAnswer(500, words::kLogUnreadable);
  std::string_view text = end->bytes;
  bool more = !end->whole;
  // The first line may have lost its beginning.
  if (more) text.remove_prefix(std::min(text.find('\n'), text.size()));
  const std::vector<LogEntry> entries = newestEntries(text, kMostEntries, more);
  JsonWriter json;
  json.open('{');
  json.open("entries", '[');
  for (const LogEntry& entry : entries) writeEntry(json, entry);
  json.close(']');
  json.boolean("more", more);
  json.close('}');
  return answer(200, json.take());
}

} // namespace vorda
