// Which port the server listens on: what is tried, in which order and how often, and the message
// if nothing works.
//
// Windows may refuse a port that nobody listens on any more for as long as connections of the
// program that had it are open. Such a port is waited for: its page is still in some tab.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vorda {

inline constexpr std::uint16_t kDefaultPort = 7666;      // of the interactive tool
inline constexpr std::uint16_t kDefaultAgentPort = 7777; // of agent, server and service

// How many ports are tried, from the stored or default one upwards, if none was asked for.
inline constexpr int kStoredPortTries = 12;

constexpr bool isPortNumber(std::int64_t number) { return number >= 1 && number <= 65'535; }

struct PortRequest {
  std::int32_t asked = 0;   // --port; 0: not given
  std::uint32_t stored = 0; // the setting of this machine (see readPortSetting)
  bool network = false;     // other machines connect to this port, so no other will do
};

// How to try a port and how to wait.
struct PortTrial {
  // Like startServer: false with a reason. Port 0 lets the system choose.
  std::function<bool(std::uint16_t port, std::wstring& reason)> start;
  std::function<void(unsigned milliseconds)> sleep;
  // Whether a program on this machine accepts connections on the port.
  std::function<bool(std::uint16_t port)> inUse;
};

// False with a reason if the server could not be started on any port.
bool startOnSomePort(const PortRequest& request, const PortTrial& trial, std::wstring& reason);

// For a program that has given its port up for a copy that did not start: twenty seconds of tries,
// on that port only.
bool takePortAgain(std::uint16_t port, const PortTrial& trial, std::wstring& reason);

// The message when takePortAgain has failed with this reason.
std::wstring portLostText(std::uint16_t port, const std::wstring& reason);

// The message for people when startOnSomePort has failed with this reason.
std::wstring startFailureText(const PortRequest& request, const std::wstring& reason);

// What a user who started the program from a console is told.
std::wstring runningText(std::uint32_t port);

} // namespace vorda
