// Who is signed in to this machine.
#pragma once

#include <string>
#include <vector>

namespace vorda {

// The accounts that have a session, connected or not, as "DOMAIN\name", without duplicates.
// Empty on failure.
std::vector<std::wstring> signedInUsers();

} // namespace vorda
