#include "scan/targets.h"

#include "base/paths.h"
#include "base/text.h"

namespace vorda {

std::string classifyTarget(std::wstring_view target) {
  const std::wstring lower = lowerCase(target);
  if (lower.starts_with(L"ssh://")) return "ssh";
  const bool drive = isDriveLetterPath(lower);
  // user@host:/path
  const bool hasAt = lower.find(L'@') != std::wstring::npos;
  if (!drive && hasAt && lower.find(L'\\') == std::wstring::npos) return "ssh";
  if (lower.starts_with(L"\\\\wsl.localhost\\") || lower.starts_with(L"\\\\wsl$\\")) return "wsl";
  if (lower.starts_with(L"\\\\")) return "unc";
  if (drive && lower.size() < 4) return "drive";
  return "folder";
}

std::string failureText(std::string_view word) {
  if (word == "noSuchDir") {
    return "the path does not exist, is not a folder, or this account cannot open it";
  }
  if (word == "sshDenied") {
    return "the host refused the sign-in; on the command line only a key works, the key of the "
           "account Vorda runs as";
  }
  // The remote scan puts details behind this word.
  if (word.starts_with("sshFailed")) {
    return "ssh stopped with an error; 255 means unreachable, port closed or host key changed";
  }
  if (word == "sshEmpty") return "signed in, but find returned nothing; does the path exist?";
  if (word == "sshTarget") return "not readable as user@host:/path";
  if (word == "sshMissing") {
    return "ssh.exe could not be started; is the OpenSSH client installed?";
  }
  return std::string(word);
}

std::string turboPathRefusal(std::wstring_view path) {
  if (!isDriveLetterPath(path)) return "notlocal";
  if (path.size() >= 4) return "notwholedrive";
  return {};
}

} // namespace vorda
