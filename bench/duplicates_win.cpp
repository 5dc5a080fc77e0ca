// Searches a folder for duplicates and prints all of them, with the seconds and bytes that
// it took; bench/duplicates.mjs compares that with another program.
//
// duplicates_win.exe FOLDER MIN
#include "json/json_writer.h"
#include "scan/walk/walk.h"
#include "search/duplicates.h"

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

extern "C" int wmain(int count, wchar_t** arguments) {
  using namespace vorda;
  if (count < 3) {
    std::fprintf(stderr, "usage: duplicates_win.exe FOLDER MIN\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  const auto contents = systemContents();
  const auto folders = systemFolders();
  Candidates candidates;
  Run run;
  ScanProgress progress;
  ScanOptions options;
  options.root = arguments[1];
  options.fileListThreshold = std::wcstoull(arguments[2], nullptr, 10);
  options.sink = &candidates.sinkOf(1);
  ScanResult listing;
  if (!walk(*folders, progress, options, listing)) return 1;
  const std::chrono::duration<double> listed = std::chrono::steady_clock::now() - start;
  const DuplicatesFound found = findDuplicates(candidates.takeSameSized(), *contents, run);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;

  JsonWriter json;
  json.open('{');
  json.number("listed_ms", static_cast<std::uint64_t>(listed.count() * 1000));
  json.number("ms", static_cast<std::uint64_t>(took.count() * 1000));
  json.number("files", listing.fileCount);
  json.number("read", run.counters().read);
  json.number("skipped", found.cloud + found.unreadable + found.changed);
  json.open("groups", '[');
  for (const DuplicateGroup& group : found.groups) {
    json.open('[');
    for (const FileCopy& copy : group.copies) {
      for (const FileName& name : copy) json.string(name.path);
    }
    json.close(']');
  }
  json.close(']');
  json.close('}');
  std::fwrite(json.text().data(), 1, json.text().size(), stdout);
  return 0;
}
