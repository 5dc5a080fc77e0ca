// The whole outcome of a finished scan as one JSON text, built when a job finishes and
// again after every change to it; readers take the text the job keeps.
#pragma once

#include "scan/job.h"
#include "tree/size_tree.h"

#include <string>

namespace vorda {

// The options that every result document is built with.
inline constexpr TreeOptions kDocumentOptions{};

// Builds the document, stores it in the job and returns it. The tree must be summed;
// the caller holds job.resultMutex, or is the job's own thread before it is done.
// nowMs: milliseconds since 1970, the time against which files are old.
const std::string& buildResultDocument(Job& job, const TreeOptions& options, std::uint64_t nowMs);

} // namespace vorda
