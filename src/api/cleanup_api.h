// The endpoints that empty temporary folders and the recycle bins.
#pragma once

#include "fileops/machine.h"
#include "fileops/running_operations.h"
#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"

#include <string>
#include <vector>

namespace vorda {

// POST /api/cleanup with the form fields "what", an advice code (kTempFilesAdvice or
// kUpdatesAdvice), and "job", the scan whose advice lists the folders to empty.
HttpResponse cleanUp(HttpRequest& request, const JobTable& jobs, Machine& machine,
                     FolderSource& folders, RunningOperations& operations);

// GET /api/cleanable with the parameters "what" and "job", as above: what these folders hold now.
// Changes nothing.
HttpResponse cleanableFolders(const HttpRequest& request, const JobTable& jobs, Machine& machine,
                              FolderSource& folders);

// GET /api/bins: what the user's recycle bins hold, all together and on each of the drives with
// these roots.
HttpResponse listBins(Machine& machine, const std::vector<std::wstring>& roots);

// POST /api/emptybin: empties the user's recycle bins on all drives and updates every local
// scan.
HttpResponse emptyBin(const JobTable& jobs, Machine& machine, FolderSource& folders,
                      RunningOperations& operations);

} // namespace vorda
