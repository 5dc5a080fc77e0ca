// The endpoints about bytes on disk: the account of a drive, and what is known of one file.
#pragma once

#include "http/message.h"
#include "scan/file_details.h"
#include "scan/job_table.h"

namespace vorda {

HttpResponse driveAccount(const HttpRequest& request, const JobTable& jobs);
HttpResponse describeFile(const HttpRequest& request, const JobTable& jobs,
                          const FileDetailsSource& details);

} // namespace vorda
