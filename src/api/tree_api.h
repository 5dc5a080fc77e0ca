// The endpoints about folders and file types of a finished scan.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"
#include "scan/scan_result.h"

#include <string>
#include <string_view>

namespace vorda {

// A scanned folder and its subfolders, largest first; error kNotScanned for a path that is
// not in the scan. The caller holds the job's lock.
std::string listScannedFolder(const ScanResult& result, std::wstring_view path);

// The listed files of one type and the folders that contain most of it. The caller holds
// the job's lock.
std::string typeDetail(const ScanResult& result, std::wstring_view type);

HttpResponse scannedFolder(const HttpRequest& request, const JobTable& jobs);
// All types of a scan, largest first: the result document has the first of them only.
HttpResponse scannedTypes(const HttpRequest& request, const JobTable& jobs);
HttpResponse scannedType(const HttpRequest& request, const JobTable& jobs);

} // namespace vorda
