// The log-on-as-a-service right, which the account of a service needs.
#pragma once

#include <string>

namespace vorda {

// Grants the right to an account. Returns an empty string on success, else "unknownAccount",
// "policyDenied" or "grantFailed".
std::wstring grantServiceLogon(const std::wstring& account);

} // namespace vorda
