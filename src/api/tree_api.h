// The requests about the folders and types of a finished scan.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"
#include "scan/scan_result.h"

#include <string>
#include <string_view>

namespace vorda {

// A scanned folder with its subfolders, largest first; "notScanned" for a path that the
// scan does not hold. The caller holds the job's lock.
std::string listScannedFolder(const ScanResult& result, std::wstring_view path);

// The kept files of one type, and the folders where they pile up. The caller holds the
// job's lock.
std::string typeDetail(const ScanResult& result, std::wstring_view type);

HttpResponse scannedFolder(const HttpRequest& request, const JobTable& jobs);
HttpResponse scannedType(const HttpRequest& request, const JobTable& jobs);

} // namespace vorda
