// What requests leave in the diagnostic log: method, path, status and time.
#pragma once

#include "base/diagnostic_log.h"
#include "http/connection.h"

namespace vorda {

// The gate with a line in the log for each request. The log must outlive it.
RequestGate loggedGate(RequestGate gate, DiagnosticLog& log);

} // namespace vorda
