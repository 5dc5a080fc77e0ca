// Live listings of folders on disk, for choosing what to scan.
#pragma once

#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"
#include "scan/target_list.h"

#include <functional>

namespace vorda {

// /api/browse: the subfolders of a path in natural order, links marked. Without a path,
// the drives and WSL distributions.
HttpResponse browseFolders(const HttpRequest& request, FolderSource& source,
                           const std::function<TargetList()>& targets);

// /api/files: the largest files directly in a folder, and how many there are in all.
// With "more", their bytes on disk as well, and what the scan "id" knows of their names.
HttpResponse browseFiles(const HttpRequest& request, FolderSource& source, const JobTable& jobs);

} // namespace vorda
