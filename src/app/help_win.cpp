#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "win/program_version.h"

namespace vorda {

int showHelp() {
  const std::wstring text = helpText(programVersion());
  if (!writeStdLine(text, StdStream::output)) showInfo(text);
  return kExitDone;
}

} // namespace vorda
