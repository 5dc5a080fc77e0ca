#include "api/open_api.h"

#include "api/request_fields.h"
#include "api/words.h"
#include "base/paths.h"
#include "base/text.h"
#include "rules/refusal.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vorda {

namespace {

std::optional<Opening> openingOf(std::string_view word) {
  if (word == "open") return Opening::item;
  if (word == "terminal") return Opening::terminal;
  if (word == "properties") return Opening::properties;
  return std::nullopt;
}

bool liesIn(std::wstring_view root, std::wstring_view path) {
  while (root.ends_with(L'\\')) root.remove_suffix(1);
  if (root.empty() || !equalsIgnoreCase(path.substr(0, root.size()), root)) return false;
  return path.size() == root.size() || path[root.size()] == L'\\';
}

// A page can only ask for what a scan on this machine has, so that a path from elsewhere opens nothing. Parts
// that lead out again are refused with it.
bool isScanned(const JobTable& jobs, std::wstring_view path) {
  const auto parts = pathComponents(path);
  if (std::any_of(parts.begin(), parts.end(), [](std::wstring_view one) { return one == L".."; }))
    return false;
  const auto all = jobs.all();
  return std::any_of(all.begin(), all.end(), [path](const std::shared_ptr<Job>& job) {
    return isUsable(*job) && !job->overSsh() && liesIn(job->rootPath(), path);
  });
}

constexpr std::array<std::wstring_view, 61> kProgramTypes = {
    L".ade",        L".adp", L".app",  L".appinstaller", L".application", L".appref-ms",
    L".appx",       L".bas", L".bat",  L".chm",          L".cmd",         L".com",
    L".cpl",        L".crt", L".csh",  L".diagcab",      L".exe",         L".fxp",
    L".gadget",     L".hlp", L".hta",  L".inf",          L".ins",         L".isp",
    L".its",        L".jar", L".jnlp", L".js",           L".jse",         L".ksh",
    L".library-ms", L".lnk", L".mad",  L".maf",          L".mda",         L".mdb",
    L".mde",        L".msc", L".msi",  L".msix",         L".msp",         L".mst",
    L".pif",        L".ps1", L".psm1", L".py",           L".pyw",         L".rdp",
    L".reg",        L".scf", L".scr",  L".sct",          L".search-ms",   L".settingcontent-ms",
    L".shb",        L".url", L".vb",   L".vbe",          L".vbs",         L".wsf",
    L".wsh"};

} // namespace

bool startsAsProgram(std::wstring_view path) {
  // Windows ignores these at the end of a name.
  while (!path.empty() && (path.back() == L'.' || path.back() == L' ')) path.remove_suffix(1);
  const std::size_t dot = path.find_last_of(L".\\/");
  if (dot == std::wstring_view::npos || path[dot] != L'.') return false;
  const std::wstring_view type = path.substr(dot);
  return std::any_of(kProgramTypes.begin(), kProgramTypes.end(),
                     [type](std::wstring_view one) { return equalsIgnoreCase(one, type); });
}

HttpResponse openItem(const AppState& state, HttpRequest& request) {
  const std::unique_ptr<FormFields> fields = completeForm(request);
  if (!fields) return errorAnswer(400, words::kIncomplete);
  const std::vector<std::wstring> paths = requestedPaths(*fields);
  const std::vector<std::string> wanted = valuesOf(*fields, "what");
  const std::optional<Opening> what = wanted.size() == 1 ? openingOf(wanted.front()) : std::nullopt;
  if (paths.size() != 1 || paths.front().empty() || !what) {
    return errorAnswer(400, words::kNothingGiven);
  }
  if (state.remote) return errorAnswer(400, words::kNotAllowed);
  std::wstring path = paths.front();
  if (!isAbsolutePath(path) || path.find(L'\0') != std::wstring::npos) {
    return errorAnswer(400, wordOf(Refusal::notAbsolute));
  }
  std::replace(path.begin(), path.end(), L'/', L'\\');
  // A stream of a file, which opens as another kind of file than its name says.
  if (path.find(L':', 2) != std::wstring::npos) return errorAnswer(400, wordOf(Refusal::ambiguous));
  if (!isScanned(state.jobs, path)) return errorAnswer(400, words::kNotAllowed);
  const std::string_view failure = state.session.open(*what, path);
  return failure.empty() ? okAnswer() : errorAnswer(400, failure);
}

} // namespace vorda
