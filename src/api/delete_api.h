// The endpoint that deletes files and folders, or reports what deleting would do.
#pragma once

#include "fileops/machine.h"
#include "fileops/running_operations.h"
#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"
#include "search/file_contents.h"

namespace vorda {

// POST /api/delete with the form fields "p" (repeated), "permanent" and "dryrun" ("1"), and
// "job", the scan that must contain the paths and that is updated.
// Size and free space of the drive of a path.
using DriveSpace = std::function<DriveFigures(const std::wstring&)>;

HttpResponse deleteFiles(HttpRequest& request, const JobTable& jobs, Machine& machine,
                         FolderSource& folders, FileContents& contents,
                         RunningOperations& operations, const DriveSpace& space);

} // namespace vorda
