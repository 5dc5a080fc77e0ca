// The endpoint that checks for an update.
#pragma once

#include "http/message.h"
#include "update/update_source.h"

namespace vorda {

// POST /api/update: 200 with the latest version, or 502 with the failure word of the check.
HttpResponse checkUpdate(const UpdateSource& source);

} // namespace vorda
