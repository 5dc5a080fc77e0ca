// The request to delete files and folders, or to tell what that would do.
#pragma once

#include "fileops/machine.h"
#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"

#include <memory>

namespace vorda {

// Form fields p (repeated), permanent and dryrun ("1"), and job, the scan that the paths
// must lie in and that is brought up to date.
HttpResponse deleteFiles(const HttpRequest& request, const JobTable& jobs, Machine& machine,
                         FolderSource& folders);

} // namespace vorda
