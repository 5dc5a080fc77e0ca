// A machine to delete from, and the deletion of paths on it.
#pragma once

#include "api/kept_contents.h"
#include "fileops/delete.h"
#include "support/cases.h"
#include "support/memory_contents.h"
#include "support/memory_disk.h"

namespace vorda::test {

// A system with everything that must not be deleted, and many paths to it.
inline std::unique_ptr<MemoryDisk> makeWorld() {
  auto disk = std::make_unique<MemoryDisk>();
  eachRow("deletion_world.txt", [&disk](const std::string& line) {
    const std::size_t space = line.find(' ');
    const std::string what = line.substr(0, space);
    const std::wstring rest = toUtf16(line.substr(space + 1));
    const std::size_t end = rest.find(L' ');
    const std::size_t is = rest.find(L" = ");
    if (what == "volume") disk->volume(rest.substr(0, end), rest.substr(end + 1));
    if (what == "file") disk->add(rest);
    if (what == "mount") disk->at(rest)->mount = true;
    if (what == "short") disk->at(rest.substr(end + 1))->shortName = rest.substr(0, end);
    if (what == "link") disk->link(rest.substr(0, is), rest.substr(is + 3));
  });
  disk->known = {{L"C:\\Windows", Refusal::windows, true},
                 {L"C:\\Program Files", Refusal::programs, true},
                 {L"D:\\sys\\Programs", Refusal::programs, true},
                 {L"D:\\sys\\PD", Refusal::programData, false},
                 {L"V:\\Moved", Refusal::programs, true},
                 {L"\\\\localhost\\hidden\\Kept", Refusal::programs, true},
                 {L"C:\\Users", Refusal::allUsers, false},
                 {L"D:\\people", Refusal::allUsers, false},
                 {L"C:\\Users\\anna", Refusal::profile, false}};
  disk->mounts = {L"C:\\", L"C:\\mnt\\vol"};
  return disk;
}

inline DeleteResult remove(MemoryDisk& disk, std::vector<std::wstring> paths,
                           const std::wstring& root = {}, bool permanent = true,
                           bool dryRun = false) {
  MemoryContents contents;
  ContentKeeper keeper(contents);
  DeleteRequest request;
  request.paths = std::move(paths);
  request.permanent = permanent;
  request.dryRun = dryRun;
  request.root = root;
  return deletePaths(disk, disk, keeper, request);
}

} // namespace vorda::test
