// Reading files again, right before some of them are deleted as duplicates of others:
// which of them are equal now, by the SHA-256 of their whole contents.
#pragma once

#include "search/background_run.h"
#include "search/file_contents.h"

#include <string>
#include <vector>

namespace vorda {

// The work of one check. contents must live until the run is over; its progress is told by
// readingProgress.
RunWork verificationWork(const std::vector<std::wstring>& paths, FileContents& contents);

} // namespace vorda
