// Compares what a deletion has left of a scan's result with a new scan.
#pragma once

#include "support/runs.h"

#include <doctest/doctest.h>

#include <set>
#include <string>

namespace vorda::test {

// Everything in the result of a scan, by full paths.
using Facts = std::set<std::string>;

inline void addFolder(Facts& facts, const ScanResult& result, std::uint32_t index) {
  const FolderEntry& folder = result.folders[index];
  std::string line = "folder " + toUtf8(folderPath(result.folders, index, L'\\'));
  for (const std::uint64_t number : {folder.ownBytes, folder.ownFiles, folder.totalBytes,
                                     folder.totalFiles, static_cast<std::uint64_t>(folder.depth)}) {
    line += " " + std::to_string(number);
  }
  if (!result.disk.empty()) {
    const FolderDisk& disk = result.disk[index];
    for (const std::uint64_t number : {disk.ownDisk, disk.ownBack, disk.jointBack, disk.totalDisk,
                                       disk.totalBack, disk.totalCloud}) {
      line += " " + std::to_string(number);
    }
  }
  CHECK(facts.insert(line).second);
  for (std::uint32_t child = folder.firstChild; child != kNoFolder;
       child = result.folders[child].nextSibling) {
    CHECK(result.folders[child].parent == index);
    addFolder(facts, result, child);
  }
}

inline Facts factsOf(const Job& job) {
  const ScanResult& result = job.result;
  Facts facts;
  addFolder(facts, result, 0);
  for (const FileEntry& file : result.files) {
    facts.insert("file " + toUtf8(filePath(result, file)) + " " + std::to_string(file.size) + " " +
                 std::to_string(file.disk) + " " + std::to_string(backOf(result, file)));
  }
  for (const auto& [type, total] : result.types) {
    facts.insert("type " + toUtf8(type) + " " + std::to_string(total.bytes) + " " +
                 std::to_string(total.files) + " " + std::to_string(total.disk) + " " +
                 std::to_string(total.back));
  }
  facts.insert("totals " + std::to_string(result.fileCount) + " " +
               std::to_string(result.byteCount) + " " + std::to_string(result.folderCount));
  facts.insert("published " + std::to_string(job.progress.files) + " " +
               std::to_string(job.progress.bytes) + " " + std::to_string(job.progress.dirs));
  const std::string& document = *job.document;
  std::string shown = document.substr(document.find("\"exts\""));
  facts.insert(shown + document.substr(document.find("\"used\""), 40));
  return facts;
}

inline std::string firstDifference(const Facts& a, const Facts& b) {
  for (const std::string& one : a) {
    if (!b.contains(one)) return one;
  }
  return a.size() == b.size() ? "" : "one more: " + firstDifference(b, a);
}

inline void checkLikeFreshScan(App& app, const Job& job) {
  std::string root;
  for (const char c : toUtf8(job.target)) root += c == '\\' ? "%5C" : std::string(1, c);
  const auto fresh = app.scanJob(root);
  CHECK(firstDifference(factsOf(job), factsOf(*fresh)) == "");
  app.told("GET", "/api/forget?id=" + std::to_string(fresh->id));
}

} // namespace vorda::test
