#include "app/command_line.h"

#include "app/filter_values.h"
#include "app/option_names.h"
#include "base/text.h"
#include "base/time.h"
#include "report/csv_report.h"

#include <array>
#include <limits>
#include <optional>

namespace vorda {

namespace {

using Options = CommandLineOptions;

template <typename Value> struct Option {
  std::wstring_view name;
  Value Options::*field;
};

constexpr std::array<Option<bool>, 9> kFlags = {{
    {kAgentOption, &Options::agent},
    {kServiceOption, &Options::service},
    {kServerOption, &Options::server},
    {kNoOpenOption, &Options::noOpen},
    {kLockOption, &Options::lock},
    {L"--show-key", &Options::showKey},
    {L"--stop", &Options::stop},
    {L"--check-update", &Options::checkUpdate},
    {L"--log-names", &Options::logNames},
}};

// Options that take the next argument, whatever it looks like.
constexpr std::array<Option<std::wstring>, 7> kValued = {{
    {L"--grant-service-logon", &Options::grantAccount},
    {kCloseForUpdateOption, &Options::closeFolder},
    {kCloseForRemovalOption, &Options::closeFolder},
    {L"--restart-after-update", &Options::restartFolder},
    {kTokenOption, &Options::token},
    {L"--scan", &Options::scanPath},
    {L"--log", &Options::logFile},
}};

// Options of an export run, whose values must not begin with "--".
struct ExportOption : Option<std::wstring> {
  std::wstring_view
      missing; // the message if there is no value; one with a space first follows the name
};

std::wstring missingValue(const ExportOption& option) {
  return std::wstring(option.missing.starts_with(L' ') ? option.name : std::wstring_view())
      .append(option.missing);
}

constexpr const wchar_t* kNeedsMoment = L" needs an age such as 365d, or a date such as 2026-01-31";
constexpr const wchar_t* kNeedsSize = L" needs a size such as 500K, 10M or 4G";

constexpr std::array<ExportOption, 9> kExportOptions = {{
    {{L"--out", &Options::outFile}, L"--out needs a file name, or - for standard output"},
    {{L"--format", &Options::format}, L"--format needs json or csv"},
    {{L"--what", &Options::what}, L"--what needs files, types or advice"},
    {{L"--ext", &Options::ext}, L"--ext needs one or more extensions, such as \".jpg .png\""},
    {{L"--find", &Options::find}, L"--find needs a name or pattern, such as \"holiday*\""},
    {{L"--older", &Options::older}, kNeedsMoment},
    {{L"--newer", &Options::newer}, kNeedsMoment},
    {{L"--min", &Options::smallest}, kNeedsSize},
    {{L"--max", &Options::largest}, kNeedsSize},
}};

template <typename Table>
const typename Table::value_type* findOption(const Table& table, std::wstring_view name) {
  for (const auto& option : table) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

// Reads a decimal number like wcstol: white space, a sign, then digits up to the first other
// character. Clamped to 32 bits; 0 if there are no digits.
std::int32_t readNumber(std::wstring_view text) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::size_t at = text.find_first_not_of(L" \t\n\v\f\r");
  if (at == std::wstring_view::npos) return 0;
  const bool negative = text[at] == L'-';
  if (negative || text[at] == L'+') ++at;
  std::int64_t value = 0;
  for (; at < text.size() && text[at] >= L'0' && text[at] <= L'9'; ++at) {
    value = value * 10 + (text[at] - L'0');
    if (value > kMost) value = negative ? kMost + 1 : kMost;
  }
  return static_cast<std::int32_t>(negative ? -value : value);
}

// Whether there is an option that excludes both an export run and an update check.
bool asksForOtherMode(const Options& options) {
  return options.agent || options.service || options.server || options.showKey || options.stop ||
         !options.grantAccount.empty() || !options.token.empty() || options.port != 0;
}

} // namespace

CommandLineOptions parseCommandLine(const std::vector<std::wstring>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring& argument = arguments[i];
    const bool hasNext = i + 1 < arguments.size();
    if (argument == kHelpOption || argument == kShortHelpOption) {
      options.help = true;
      return options;
    }
    if (const auto* flag = findOption(kFlags, argument)) {
      options.*(flag->field) = true;
    } else if (const auto* valued = findOption(kValued, argument); valued && hasNext) {
      options.*(valued->field) = arguments[++i];
      if (valued->field == &Options::closeFolder) {
        options.rememberForRestart = argument == kCloseForUpdateOption;
      }
    } else if (argument == kPortOption && hasNext) {
      options.port = readNumber(arguments[++i]);
    } else if (const auto* option = findOption(kExportOptions, argument)) {
      options.exportRun = true;
      if (hasNext && !arguments[i + 1].starts_with(L"--")) {
        options.*(option->field) = arguments[++i];
      } else {
        options.parseErrors.push_back(missingValue(*option));
      }
    } else if (argument.starts_with(L'-') || !options.scanPath.empty()) {
      options.unknownArgs.push_back(argument);
    } else {
      options.scanPath = argument;
    }
  }
  return options;
}

Mode modeOf(const CommandLineOptions& options) {
  if (options.help) return Mode::help;
  if (!options.closeFolder.empty()) return Mode::closeCopies;
  if (!options.restartFolder.empty()) return Mode::restartCopies;
  if (options.checkUpdate) return Mode::checkUpdate;
  if (options.exportRun) return Mode::exportRun;
  if (!options.grantAccount.empty()) return Mode::grantServiceLogon;
  if (options.stop) return Mode::stop;
  if (options.showKey) return Mode::showKey;
  if (options.agent || options.service || options.server) return Mode::network;
  return Mode::interactive;
}

bool hasBounds(const CommandLineOptions& options) {
  return !options.older.empty() || !options.newer.empty() || !options.smallest.empty() ||
         !options.largest.empty();
}

namespace {

// The messages about values that are none.
void checkBounds(const Options& options, std::vector<std::wstring>& messages) {
  for (const ExportOption& option : kExportOptions) {
    const std::wstring& value = options.*(option.field);
    const bool moment = option.missing == kNeedsMoment;
    if (value.empty() || (!moment && option.missing != kNeedsSize)) continue;
    const bool good = moment ? parseMomentValue(value, nowUnixMs()).has_value()
                             : parseSizeValue(value).has_value();
    if (!good) messages.push_back(missingValue(option) + L", not " + value);
  }
}

} // namespace

std::wstring effectiveFormat(const CommandLineOptions& options) {
  if (!options.format.empty()) return options.format;
  if (options.outFile == L"-") return L"json";
  return endsWithIgnoreCase(options.outFile, L".csv") ? L"csv" : L"json";
}

std::vector<std::wstring> validateUpdateCheck(const CommandLineOptions& options) {
  if (!options.exportRun && !asksForOtherMode(options) && options.scanPath.empty() &&
      options.unknownArgs.empty()) {
    return {};
  }
  return {L"--check-update stands on its own"};
}

std::vector<std::wstring> validateExportRun(const CommandLineOptions& options) {
  std::vector<std::wstring> messages = options.parseErrors;
  if (options.outFile.empty() && options.parseErrors.empty()) {
    const bool others = !options.format.empty() || !options.what.empty() || !options.ext.empty() ||
                        !options.find.empty();
    messages.emplace_back(
        hasBounds(options) && !others
            ? L"--older, --newer, --min and --max only work together with --out"
            : L"--format, --what, --ext and --find only work together with --out");
  }
  if (options.scanPath.empty()) {
    messages.emplace_back(L"there is nothing to scan: add --scan <path>");
  }
  if (asksForOtherMode(options)) {
    messages.emplace_back(L"--out cannot be combined with --agent, --server, --service, --port, "
                          L"--token, --show-key, --stop or --grant-service-logon");
  }
  for (const std::wstring& argument : options.unknownArgs) {
    messages.push_back(L"unknown argument: " + argument);
  }
  const std::wstring& format = options.format;
  if (!format.empty() && format != L"json" && format != L"csv") {
    messages.push_back(L"--format is json or csv, not " + format);
  }
  const std::wstring& what = options.what;
  const std::optional<CsvKind> kind = csvKindOf(toUtf8(what));
  if (!what.empty() && !kind) {
    messages.push_back(L"--what is files, types or advice, not " + what);
  }
  if (!what.empty() && effectiveFormat(options) == L"json") {
    messages.emplace_back(
        L"--what only applies to CSV: add --format csv, or give the file a .csv name");
  }
  const bool filtered = !options.ext.empty() || !options.find.empty();
  if (filtered && !what.empty() && kind != CsvKind::files) {
    messages.emplace_back(L"--ext and --find narrow the file list, so they go with --what files");
  } else if (hasBounds(options) && !what.empty() && kind != CsvKind::files) {
    messages.emplace_back(
        L"--older, --newer, --min and --max narrow the file list, so they go with --what files");
  }
  checkBounds(options, messages);
  return messages;
}

std::wstring argumentErrorText(const std::vector<std::wstring>& messages) {
  std::wstring text;
  for (const std::wstring& message : messages) text += L"Vorda: " + message + L"\n";
  return text + L"Run vorda.com --help for the options.";
}

} // namespace vorda
