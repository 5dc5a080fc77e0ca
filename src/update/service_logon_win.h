// The right to log on as a service, which the account of a service needs.
#pragma once

#include <string>

namespace vorda {

// Grants it. Empty when done, else "unknownAccount", "policyDenied" or "grantFailed".
std::wstring grantServiceLogon(const std::wstring& account);

} // namespace vorda
