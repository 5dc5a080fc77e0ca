// Who is signed in to this machine.
#pragma once

#include <string>
#include <vector>

namespace vorda {

// The accounts of all sessions that belong to someone, also of disconnected ones, as
// "DOMAIN\name"; each once. Empty when the system does not tell.
std::vector<std::wstring> signedInUsers();

} // namespace vorda
