// /api/export: a finished scan as CSV.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"

namespace vorda {

HttpResponse exportCsv(const HttpRequest& request, const JobTable& jobs);

} // namespace vorda
