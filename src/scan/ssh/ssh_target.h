// An ssh target, and the command line that lists it.
//
// The target's text becomes part of the command lines of ssh.exe and of the host's shell. It is
// therefore validated against allowed characters and never escaped.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

struct SshTarget {
  std::wstring host; // as given: "user@host" or "host"
  std::uint16_t port = 22;
  std::wstring path = L"/"; // absolute, with exactly one leading "/"
};

// Parses "ssh://user@host:port/path" or "user@host:/path"; user, port and path are optional.
// Empty if malformed, or if ssh.exe or a shell could interpret it differently.
std::optional<SshTarget> parseSshTarget(std::wstring_view text);

// The command for the host: file system figures, then a line per file and folder, each section
// after its marker line.
std::wstring listingCommand(const SshTarget& target);
inline constexpr std::string_view kFileSystemMark = "VORDA-DF";
inline constexpr std::string_view kListingMark = "VORDA-FIND";

// The command line; its first word is "ssh.exe". Without a password, ssh does not prompt at
// all; with one, once.
std::wstring sshCommandLine(const SshTarget& target, bool withPassword);

} // namespace vorda
