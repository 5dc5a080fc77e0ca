// A place on another machine, and the command line that lists it.
//
// Everything of a target's text ends on the command line of ssh.exe or in the remote
// shell's, so both are judged by what is allowed and refused as a whole; nothing is
// escaped there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

struct SshTarget {
  std::wstring host; // account and host as given: "user@host" or "host"
  std::uint16_t port = 22;
  std::wstring path = L"/"; // absolute, with exactly one "/" at its front
};

// "ssh://user@host:port/path" or "user@host:/path"; the account, the port and the path
// may be left out. Nothing when it is not readable as that, or could mean more than that
// to ssh.exe or to a shell.
std::optional<SshTarget> parseSshTarget(std::wstring_view text);

// What the other machine is to run: the figures of the file system, then a line for every
// file and folder, each part behind its mark.
std::wstring listingCommand(const SshTarget& target);
inline constexpr std::string_view kFileSystemMark = "VORDA-DF";
inline constexpr std::string_view kListingMark = "VORDA-FIND";

// The command line; its first word is "ssh.exe". Without a password ssh asks nothing at
// all, with one it asks once.
std::wstring sshCommandLine(const SshTarget& target, bool withPassword);

} // namespace vorda
