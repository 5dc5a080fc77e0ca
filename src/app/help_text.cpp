#include "app/command_line.h"

#include <algorithm>

namespace vorda {

namespace {

// A box of this many lines fits a screen of 1,080 lines, also when texts are half as large again.
constexpr std::size_t kPageLines = 34;
constexpr std::wstring_view kParagraph = L"\n\n";

constexpr std::wstring_view kHelpBody = LR"help(-  Brixmoor
Disk analysis for Windows.

  vorda.exe                            open the tool in your browser
  vorda.exe "C:\folder"                open and scan this path right away
  vorda.exe --scan "C:\folder"         the same, spelled out

Without a browser - scan, write the result, exit
  vorda.com --scan C:\ --out c.json    the whole result as JSON
  vorda.com --scan C:\ --out c.csv --what advice
  --out <file>                         write the result there; - is standard output
  --format json|csv                    default: csv for a .csv name, otherwise json
  --what files|types|advice            what goes into a CSV (default: files)

Find files - the same filter the page uses, on the file list
  vorda.com --scan C:\ --find "invoice*" --out hits.csv
  vorda.com --scan D:\ --ext ".psd .ai" --out art.csv
  --ext ".jpg .png"                     keep only these extensions
  --find "holiday*"                     keep only names that match;
                                       * is any run of characters, ? is one,
                                       a name without either means contains,
                                       and ; separates several patterns
  --older 365d  --newer 2026-01-31     keep only files changed before, or
                                       since: a date, or hours (h), days (d),
                                       weeks (w) or years (y) ago
  --min 10M  --max 4G                  keep only files of this size
  Both drop the 50 MB threshold, so a small file is found too. The
  totals still count the whole drive; only the file list is filtered.
  Exit code 0 done, 1 scan or writing failed, 2 wrong arguments.
  Use vorda.com in scripts: it waits for the scan and passes the exit
  code on. Windows does not wait for vorda.exe, a program without console.

Options
  --port <n>                           listen on this port (default 7666)
  --no-open                            start without opening the browser
  --lock                               let only the page that is opened in;
                                       done by itself where several users
                                       are signed in
  --server                             serve the page to the whole network
  --agent                              run as an agent for remote scans
  --service                            run as a Windows service
  --token <key>                        use this key instead of the stored one
  --show-key                           show this machine's agent key
  --stop                               ask every running instance to close
  --close-for-update <folder>          used by the installer: close every
                                       Vorda running from that folder, an
                                       agent included, and remember it
  --restart-after-update <folder>      start those agents again
  --close-for-removal <folder>         the same, without remembering
  --check-update                       ask Brixmoor whether there is a newer
                                       version; Vorda never checks by itself.
                                       Exit code 0 up to date, 3 newer, 1 failed
  --grant-service-logon <account>      grant that account the right to
                                       log on as a service
  --log <file>                         keep a diagnostic log in this file
  --log-names                          and name folders in it
  --help                               this text

Turbo mode reads the NTFS master file table directly and needs
administrator rights; without them it walks the folders instead.

The page is also an API - see api\API.md next to the program, and
api\Vorda.postman_collection.json to try it out.)help";

} // namespace

std::wstring helpText(std::wstring_view version) {
  std::wstring text = L"\nVorda ";
  text.append(version);
  if (!version.empty()) text.append(L"  ");
  return text.append(kHelpBody);
}

std::vector<std::wstring> pagesOf(std::wstring_view text) {
  std::vector<std::wstring> pages;
  std::size_t lines = 0;
  while (!text.empty()) {
    const std::size_t end = text.find(kParagraph);
    const std::wstring_view paragraph = text.substr(0, end);
    text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + kParagraph.size());
    const auto size =
        static_cast<std::size_t>(std::count(paragraph.begin(), paragraph.end(), L'\n') + 1);
    if (pages.empty() || lines + 1 + size > kPageLines) {
      pages.emplace_back(paragraph);
      lines = size;
    } else {
      pages.back().append(kParagraph).append(paragraph);
      lines += 1 + size;
    }
  }
  return pages;
}

} // namespace vorda
