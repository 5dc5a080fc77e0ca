// The endpoint that reads the deletion log back.
#pragma once

#include "fileops/machine.h"
#include "http/message.h"

namespace vorda {

// GET /api/log: the newest entries, parsed, newest first.
HttpResponse readLog(Machine& machine);

} // namespace vorda
