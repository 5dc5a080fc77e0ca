#include "scan/ssh/ssh_target.h"

#include "base/quote_argument.h"
#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::wstring_view kScheme = L"ssh://";
constexpr std::wstring_view kHostPunctuation = L".-_@\\[]:%";
// Characters that could end the single quotes around the path in some shell.
constexpr std::wstring_view kRefusedInPath = L"\"'`$;|&<>()\\";
constexpr std::uint32_t kHighestPort = 65'535;

bool isDigit(wchar_t unit) { return unit >= L'0' && unit <= L'9'; }

bool isAllowedInHost(wchar_t unit) {
  const bool letter = (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
  return letter || isDigit(unit) || kHostPunctuation.find(unit) != std::wstring_view::npos;
}

bool isRefusedInPath(wchar_t unit) {
  return unit < 32 || unit == 127 || kRefusedInPath.find(unit) != std::wstring_view::npos;
}

// ssh expects IPv6 addresses without brackets.
std::wstring hostForSsh(std::wstring_view host) {
  const std::size_t start = host.rfind(L'@') + 1; // 0 without "@"
  if (!host.substr(start).starts_with(L'[') || !host.ends_with(L']')) return std::wstring(host);
  std::wstring out(host.substr(0, start));
  return out.append(host.substr(start + 1, host.size() - start - 2));
}

// Not empty, and not an option of ssh.
bool isPlainArgument(std::wstring_view host) {
  return !host.empty() && !host.starts_with(L'-') && host.find(L"@-") == std::wstring_view::npos;
}

// Removes ":port" from the end of the host. Returns the default port without one, 0 if it is
// out of range.
std::uint16_t takePort(std::wstring_view& host) {
  std::size_t digits = host.size();
  while (digits > 0 && isDigit(host[digits - 1])) --digits;
  if (digits == host.size() || digits == 0 || host[digits - 1] != L':') return SshTarget().port;
  std::uint32_t port = 0;
  for (const wchar_t digit : host.substr(digits)) {
    port = std::min(port * 10 + static_cast<std::uint32_t>(digit - L'0'), kHighestPort + 1);
  }
  host = host.substr(0, digits - 1);
  return port <= kHighestPort ? static_cast<std::uint16_t>(port) : std::uint16_t{0};
}

} // namespace

std::optional<SshTarget> parseSshTarget(std::wstring_view text) {
  SshTarget target;
  std::wstring_view host;
  std::wstring_view path;
  if (startsWithIgnoreCase(text, kScheme)) {
    text.remove_prefix(kScheme.size());
    const std::size_t slash = std::min(text.find(L'/'), text.size());
    host = text.substr(0, slash);
    path = text.substr(slash);
    target.port = takePort(host);
  } else {
    const std::size_t colon = text.find(L':');
    host = text.substr(0, colon);
    if (colon != std::wstring_view::npos) path = text.substr(colon + 1);
  }
  if (path.empty()) path = L"/";
  if (target.port == 0 || !isPlainArgument(hostForSsh(host))) return std::nullopt;
  if (!std::all_of(host.begin(), host.end(), isAllowedInHost)) return std::nullopt;
  if (!path.starts_with(L'/') || std::any_of(path.begin(), path.end(), isRefusedInPath)) {
    return std::nullopt;
  }
  // On Windows, "//server/share" would name a share.
  while (path.starts_with(L"//")) path.remove_prefix(1);
  target.host = host;
  target.path = path;
  return target;
}

std::wstring listingCommand(const SshTarget& target) {
  const std::wstring path = L"'" + target.path + L"'";
  return L"echo VORDA-DF; df -Pk " + path + L" 2>/dev/null; echo VORDA-FIND; find " + path +
         LR"( -xdev \( -type f -o -type d \) -printf '%y\t%s\t%T@\t%p\n' 2>/dev/null)";
}

std::wstring sshCommandLine(const SshTarget& target, bool withPassword) {
  const wchar_t* asking = withPassword ? L" -o NumberOfPasswordPrompts=1" : L" -o BatchMode=yes";
  return L"ssh.exe -p " + std::to_wstring(target.port) + asking +
         L" -o ConnectTimeout=10 -o StrictHostKeyChecking=accept-new " + hostForSsh(target.host) +
         L" " + quoteArgument(listingCommand(target));
}

} // namespace vorda
