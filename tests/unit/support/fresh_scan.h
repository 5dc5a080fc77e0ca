// Compares what a deletion has left of a scan's result with a new scan.
#pragma once

#include "support/runs.h"

#include <set>
#include <string>

namespace vorda::test {

// Everything in the result of a scan, by full paths.
using Facts = std::set<std::string>;

// A line of what is known of one thing.
template <typename... Numbers>
std::string factLine(const std::string& what, const Numbers&... numbers) {
  std::string line = what;
  ((line += " " + std::to_string(numbers)), ...);
  return line;
}

inline void addFolder(Facts& facts, const ScanResult& result, std::uint32_t index) {
  const FolderEntry& folder = result.folders[index];
  const FolderDisk disk = result.disk.empty() ? FolderDisk{} : result.disk[index];
  CHECK(facts
            .insert(factLine("folder " + toUtf8(folderPath(result.folders, index, L'\\')),
                             folder.ownBytes, folder.ownFiles, folder.totalBytes, folder.totalFiles,
                             folder.depth, disk.ownDisk, disk.ownBack, disk.jointBack,
                             disk.totalDisk, disk.totalBack, disk.totalCloud))
            .second);
  for (std::uint32_t child = folder.firstChild; child != kNoFolder;
       child = result.folders[child].nextSibling) {
    CHECK(result.folders[child].parent == index);
    addFolder(facts, result, child);
  }
}

inline Facts factsOf(const Job& job) {
  const ScanResult& result = job.result;
  Facts facts = {factLine("totals", result.fileCount, result.byteCount, result.folderCount),
                 factLine("published", job.progress.files, job.progress.bytes, job.progress.dirs)};
  addFolder(facts, result, 0);
  for (const FileEntry& file : result.files) {
    facts.insert(factLine("file " + toUtf8(filePath(result, file)), file.size, file.disk,
                          backOf(result, file), file.cloud));
  }
  for (const auto& [type, total] : result.types) {
    facts.insert(factLine("type " + toUtf8(type), total.bytes, total.files, total.disk, total.back,
                          total.cloud));
  }
  const std::string& document = *job.document;
  facts.insert(document.substr(document.find("\"exts\"")) +
               document.substr(document.find("\"used\""), 40));
  return facts;
}

// Without the list of files: those in the bin have new names.
inline Facts outsideBin(const Job& job) {
  Facts facts = factsOf(job);
  std::erase_if(facts, [](const std::string& one) {
    return one.starts_with("file C:\\$Recycle.Bin") || one.starts_with("\"exts\"");
  });
  return facts;
}

inline std::string firstDifference(const Facts& a, const Facts& b) {
  for (const std::string& one : a) {
    if (!b.contains(one)) return one;
  }
  return a.size() == b.size() ? "" : "one more: " + firstDifference(b, a);
}

inline void checkLikeFreshScan(App& app, const Job& job) {
  const auto fresh = app.scanJob(toUtf8(job.target));
  CHECK(firstDifference(factsOf(job), factsOf(*fresh)) == "");
  app.get("/api/forget?id=" + std::to_string(fresh->id));
}

} // namespace vorda::test
