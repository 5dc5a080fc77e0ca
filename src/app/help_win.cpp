#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "win/program_version.h"

namespace vorda {

int showHelp() {
  const std::wstring text = helpText(programVersion());
  if (writeStdLine(text, StdStream::output)) return kExitDone;
  const std::vector<std::wstring> pages = pagesOf(text);
  for (std::size_t i = 0; i + 1 < pages.size(); ++i) {
    if (!showMore(pages[i])) return kExitDone;
  }
  showInfo(pages.back());
  return kExitDone;
}

} // namespace vorda
