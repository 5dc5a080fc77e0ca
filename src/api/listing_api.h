// Folders and files as they are on the disk now, for choosing what to scan.
#pragma once

#include "http/message.h"
#include "scan/folder_reader.h"
#include "scan/target_list.h"

#include <functional>
#include <string>

namespace vorda {

// The subfolders of a path, by name as people sort them; links among them, marked.
// Without a path the drives and distributions.
HttpResponse browseFolders(const HttpRequest& request, FolderSource& source,
                           const std::function<TargetList()>& targets);

// The largest files that lie directly in a folder, and how many there are in all.
HttpResponse browseFiles(const HttpRequest& request, FolderSource& source);

} // namespace vorda
