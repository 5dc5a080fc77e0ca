// The requests that empty folders of temporary files and the recycle bin.
#pragma once

#include "fileops/machine.h"
#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"

namespace vorda {

// Form fields what ("tempfiles" or "updates") and job, the scan whose advice names the
// folders.
HttpResponse cleanUp(const HttpRequest& request, const JobTable& jobs, Machine& machine,
                     FolderSource& folders);

// Empties the bins of all drives for this user, and brings every local scan up to date.
HttpResponse emptyBin(const JobTable& jobs, Machine& machine, FolderSource& folders);

} // namespace vorda
