// The request that checks for an update.
#pragma once

#include "http/message.h"
#include "update/update_report.h"

namespace vorda {

// POST /api/update: 200 with what the web site says, 502 with the word of the failure.
HttpResponse updateDocument(const UpdateSource& source);

} // namespace vorda
