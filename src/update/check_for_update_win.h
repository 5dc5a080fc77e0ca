// Asks the maker's web site for the latest version.
#pragma once

#include "update/update_answer.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace vorda {

struct UpdateServer {
  std::wstring host; // a host name only
  std::uint16_t port = 443;
  // For the whole check. The sum of the time-outs for resolving, connecting, sending and the
  // first byte.
  std::chrono::milliseconds timeLimit{45'000};
};

// Uses HTTPS, requires a certificate that this machine trusts, and follows no redirect. Returns
// within the time limit, failing with kUpdateOffline if there is no complete answer by then.
// currentVersion is sent in the User-Agent header.
UpdateAnswer checkForUpdate(const UpdateServer& server, const std::wstring& currentVersion);

} // namespace vorda
