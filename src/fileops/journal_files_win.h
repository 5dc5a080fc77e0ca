// The journals of file operations as files beside the deletion log.
//
// A file is open, shared with nobody, as long as its operation runs: one that can be opened was
// left behind by a process that ended.
#pragma once

#include "fileops/machine.h"

#include <memory>
#include <string_view>
#include <vector>

namespace vorda {

// Null on failure. The bytes are on the disk when it returns.
std::unique_ptr<JournalFile> writeJournalFile(std::string_view bytes);

std::vector<FoundJournal> abandonedJournalFiles();

} // namespace vorda
