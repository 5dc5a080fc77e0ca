// Compares files by the SHA-256 of their contents right before duplicates are deleted.
#pragma once

#include "search/background_run.h"
#include "search/file_contents.h"

#include <string>
#include <vector>

namespace vorda {

// The work of one verification. contents must outlive the run. For its progress see
// readingProgress in duplicate_search.h. withSeen: the document says for each file what was seen of
// it, for a deletion to compare.
RunWork verificationWork(const std::vector<std::wstring>& paths, FileContents& contents,
                         bool withSeen);

} // namespace vorda
