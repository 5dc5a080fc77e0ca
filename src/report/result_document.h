// The result of a finished scan as one JSON text. It is built when a job finishes and again after
// every change; readers use the copy that the job keeps.
#pragma once

#include "scan/job.h"
#include "tree/size_tree.h"

#include <memory>
#include <string>

namespace vorda {

// The options for all result documents.
inline constexpr TreeOptions kDocumentOptions{};

// Builds the document, stores it in the job and returns it. The tree must be summed, and the
// caller must hold job.resultMutex or be the job's own thread before the job is done. nowMs:
// the current time in milliseconds since 1970, from which the age of files is computed.
const std::string& buildResultDocument(Job& job, const TreeOptions& options, std::uint64_t nowMs);

// The same with bytes on disk, if the scan has them. It is built when somebody first asks for it, and
// kept in the job until the next change.
std::shared_ptr<const std::string> fullResultDocument(Job& job, const TreeOptions& options,
                                                      std::uint64_t nowMs);

} // namespace vorda
