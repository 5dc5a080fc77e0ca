// Parses arguments, separated by NUL bytes, and checks that the results are consistent.
#include "app/command_line.h"
#include "base/text.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::wstring> arguments(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      arguments.emplace_back();
    } else {
      arguments.back().push_back(static_cast<wchar_t>(data[i]));
    }
  }
  const vorda::CommandLineOptions options = vorda::parseCommandLine(arguments);
  const vorda::Mode mode = vorda::modeOf(options);
  const auto messages = vorda::validateExportRun(options);
  if (options.help != (mode == vorda::Mode::help)) std::abort();
  if (messages.empty() && (options.scanPath.empty() || options.outFile.empty())) std::abort();
  if (options.unknownArgs.size() + options.parseErrors.size() > arguments.size()) std::abort();
  const std::wstring format = vorda::effectiveFormat(options);
  if (messages.empty() && format != L"json" && format != L"csv") std::abort();
  return 0;
}
