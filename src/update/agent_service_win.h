// The agent as a Windows service, from outside.
#pragma once

#include "update/installer_steps.h"

#include <optional>

namespace vorda {

inline constexpr const wchar_t* kAgentServiceName = L"VordaAgent";

// Stops the service if it is this process, and waits some ten seconds for that. True when
// the service manager accepted, whether or not the end was seen; nothing when the service
// is known to be another process.
std::optional<bool> stopAgentService(std::uint32_t processId);

ServiceStart startAgentService();

} // namespace vorda
