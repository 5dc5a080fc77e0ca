#include "scan/ssh/ssh_start.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr std::wstring_view kHelperVariable = L"SSH_ASKPASS";
constexpr std::wstring_view kRequireVariable = L"SSH_ASKPASS_REQUIRE";

// The name before "="; names of hidden variables like "=C:" begin with one.
std::wstring_view nameOf(std::wstring_view entry) { return entry.substr(0, entry.find(L'=', 1)); }

bool isOurs(std::wstring_view entry) {
  const std::array names = {kHelperVariable, kRequireVariable, kPasswordVariable};
  return std::any_of(names.begin(), names.end(), [entry](std::wstring_view name) {
    return equalsIgnoreCase(name, nameOf(entry));
  });
}

bool isAbsolute(std::wstring_view folder) {
  const bool drive = isDriveLetterPath(folder) && folder.size() > 2 && isSeparator(folder[2]);
  const bool share = folder.size() > 2 && isSeparator(folder[0]) && isSeparator(folder[1]);
  return drive || share;
}

} // namespace

std::vector<std::wstring> absoluteFolders(std::wstring_view pathVariable) {
  std::vector<std::wstring> folders;
  std::wstring folder;
  bool quoted = false;
  const auto keep = [&folders, &folder] {
    if (isAbsolute(folder)) folders.push_back(folder);
    folder.clear();
  };
  for (const wchar_t unit : pathVariable) {
    if (unit == L'"') {
      quoted = !quoted;
    } else if (unit == L';' && !quoted) {
      keep();
    } else {
      folder.push_back(unit);
    }
  }
  keep();
  return folders;
}

WideSecret askpassEnvironment(const wchar_t* block, std::wstring_view program,
                              const Secret& password) {
  std::wstring wide = toUtf16(password.view());
  WideSecret withPassword(kPasswordVariable);
  withPassword.append(L"=");
  withPassword.append(wide);
  wipeText(wide);
  const std::wstring helper = std::wstring(kHelperVariable).append(L"=").append(program);
  const std::wstring require = std::wstring(kRequireVariable).append(L"=force");
  std::vector<std::wstring_view> entries = {helper, require, withPassword.view()};
  while (*block != L'\0') {
    const std::wstring_view entry(block);
    if (!isOurs(entry)) entries.push_back(entry);
    block += entry.size() + 1;
  }
  std::stable_sort(entries.begin(), entries.end(), [](std::wstring_view a, std::wstring_view b) {
    return compareIgnoreCase(nameOf(a), nameOf(b)) < 0;
  });
  WideSecret out;
  const std::wstring_view end(L"\0", 1);
  for (const std::wstring_view entry : entries) {
    out.append(entry);
    out.append(end);
  }
  out.append(end);
  return out;
}

bool asksForPassword(std::wstring_view prompt) {
  const std::wstring lower = lowerCase(prompt);
  const std::array<std::wstring_view, 3> others = {L"passphrase for", L"pin for", L"yes/no"};
  return std::none_of(others.begin(), others.end(), [&lower](std::wstring_view other) {
    return lower.find(other) != std::wstring::npos;
  });
}

} // namespace vorda
