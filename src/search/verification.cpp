#include "search/verification.h"

#include "base/seen.h"
#include "base/time.h"
#include "json/json_writer.h"
#include "rules/safety_rules.h"
#include "scan/words.h"
#include "search/content_reader.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace vorda {

namespace {

// The overall percentages at which the two stages end.
constexpr std::uint64_t kChecked = 5;
constexpr std::uint64_t kHashed = 100;

struct CheckedFile {
  std::wstring path;
  FileState state;
  std::optional<FileIdentity> identity;
  Digest digest{};
  std::uint64_t readAtMs = 0; // since 1970
  bool accessible = false;
  FileFailure failure = FileFailure::cancelled; // none if there is a digest
  std::size_t same = 0;                         // the index of the first entry for the same file
};

struct Verification {
  std::vector<CheckedFile> files;
  bool withSeen = false;
  std::uint64_t read = 0;
  bool cancelled = false;
};

std::string hexText(const Digest& digest) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : digest) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

// Two names of one file are not duplicates: deleting a hard link frees nothing, and if both names
// are paths to the same place, the only copy would be deleted.
void markSameFiles(std::vector<CheckedFile>& files) {
  std::map<FileIdentity, std::size_t> byIdentity;
  std::map<std::wstring_view, std::size_t> byPath;
  for (std::size_t i = 0; i < files.size(); ++i) {
    CheckedFile& file = files[i];
    file.same = file.identity ? byIdentity.emplace(*file.identity, i).first->second
                              : byPath.emplace(file.path, i).first->second;
  }
}

void check(Verification& verification, FileContents& contents, Run& run) {
  std::vector<CheckedFile>& files = verification.files;
  std::vector<const std::wstring*> paths;
  for (const CheckedFile& file : files) paths.push_back(&file.path);
  const auto beginStage = [&](RunPhase phase, std::uint64_t lastPercent, std::uint64_t bytes) {
    run.update([&](RunCounters& counters) {
      counters.beginStage(phase, lastPercent, files.size(), bytes);
    });
  };
  const auto oneDone = [&run] { run.update([](RunCounters& counters) { ++counters.filesDone; }); };
  beginStage(RunPhase::comparing, kChecked, 0);
  forEachByDrive(paths, run, [&]() -> ItemWork {
    return [&](std::size_t item) {
      CheckedFile& file = files[item];
      if (const auto state = contents.look(file.path, file.failure)) {
        file.state = *state;
        file.identity = contents.identity(file.path);
        file.accessible = true;
        file.failure = FileFailure::cancelled; // until it is read
      }
      oneDone();
    };
  });
  markSameFiles(files);
  const auto isRead = [&files](std::size_t i) { return files[i].accessible && files[i].same == i; };
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < files.size(); ++i) bytes += isRead(i) ? files[i].state.size : 0;
  beginStage(RunPhase::hashing, kHashed, bytes);
  forEachByDrive(paths, run, [&]() -> ItemWork {
    const auto reader = std::make_shared<ContentReader>(contents, run, Writers::refused);
    return [&, reader](std::size_t item) {
      CheckedFile& file = files[item];
      if (isRead(item)) file.failure = reader->digestWhole(file.path, file.state, file.digest);
      file.readAtMs = nowUnixMs();
      oneDone();
    };
  });
  for (CheckedFile& file : files) {
    const CheckedFile& first = files[file.same];
    if (&first == &file) continue;
    file.failure = first.state == file.state ? first.failure : FileFailure::changed;
    file.digest = first.digest;
    file.readAtMs = first.readAtMs;
  }
  verification.read = run.counters().read;
  verification.cancelled = run.cancelled();
}

std::string seenOf(const CheckedFile& file) {
  const Seen seen = {SeenKind::file, file.state.size, file.state.lastWrite, file.identity,
                     SeenContents{file.digest, file.readAtMs}};
  return seenText(seen, file.path);
}

void writeFile(JsonWriter& json, const CheckedFile& file, std::size_t index, bool withSeen) {
  json.open('{');
  json.string("p", file.path);
  if (file.failure == FileFailure::none) {
    json.number("size", file.state.size);
    json.string("h", hexText(file.digest));
    if (withSeen) json.string("seen", seenOf(file));
  } else {
    json.string("error", wordOf(file.failure));
  }
  if (file.same != index) json.number("same", file.same);
  json.close('}');
}

std::string document(const Verification& verification) {
  const std::vector<CheckedFile>& files = verification.files;
  std::map<std::pair<std::uint64_t, Digest>, std::vector<std::size_t>> byContent;
  std::uint64_t checked = 0;
  JsonWriter json;
  json.open('{');
  json.open("files", '[');
  for (std::size_t i = 0; i < files.size(); ++i) {
    writeFile(json, files[i], i, verification.withSeen);
    if (files[i].failure != FileFailure::none) continue;
    ++checked;
    if (files[i].same == i) byContent[{files[i].state.size, files[i].digest}].push_back(i);
  }
  json.close(']');
  json.open("duplicates", '[');
  for (const auto& [content, indices] : byContent) {
    if (indices.size() < 2) continue;
    json.open('[');
    for (const std::size_t index : indices) json.number(index);
    json.close(']');
  }
  json.close(']');
  json.open("lock", '[');
  for (const CheckedFile& file : files) json.string(wordOf(deleteRefusal(file.path)));
  json.close(']');
  json.number("read", verification.read);
  json.number("files_checked", checked);
  json.boolean("running", false);
  if (verification.cancelled) json.boolean(kCancelled, true);
  json.close('}');
  return json.take();
}

} // namespace

RunWork verificationWork(const std::vector<std::wstring>& paths, FileContents& contents,
                         bool withSeen) {
  const auto work = std::make_shared<Verification>();
  work->withSeen = withSeen;
  for (const std::wstring& path : paths) work->files.emplace_back().path = path;
  return [work, &contents](Run& run) -> RunDocument {
    check(*work, contents, run);
    return [work](const ScanIds&) { return document(*work); };
  };
}

} // namespace vorda
