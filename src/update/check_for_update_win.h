// Asking the maker's web site for the latest version.
#pragma once

#include "update/update_answer.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace vorda {

struct UpdateServer {
  std::wstring host; // a host name only
  std::uint16_t port = 443;
  // However slowly the bytes come. As long as resolving, connecting, sending and the first
  // byte may take together.
  std::chrono::milliseconds longest{45'000};
};

// Over HTTPS with a certificate that this machine trusts; no redirect is followed. Ends
// when the longest time is over, whatever the network does: "updateOffline". currentVersion
// goes along in the name of the client.
UpdateAnswer checkForUpdate(const UpdateServer& server, const std::wstring& currentVersion);

} // namespace vorda
