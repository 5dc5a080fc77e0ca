// The running copies of this program. Their handles stay open, so that no process ID is reused.
#pragma once

#include "update/installer_steps.h"
#include "win/handles.h"

#include <map>
#include <string>
#include <vector>

namespace vorda {

class RunningCopies {
public:
  // Finds the copies that run from this folder, except this process. Copies from elsewhere are
  // listed only if they could not be opened.
  explicit RunningCopies(const std::wstring& folder);

  const std::vector<RunningCopy>& list() const { return list_; }

  // Ends a listed process and waits up to ten seconds; false if it still runs.
  bool end(std::uint32_t id) const;

private:
  void add(DWORD id, const std::wstring& folder);

  std::vector<RunningCopy> list_;
  std::map<DWORD, KernelHandle> handles_;
};

CopyKind kindOfCommandLine(const std::wstring& commandLine);

// Starts the program in this folder, with the folder as its working directory, without a
// window and if possible outside the installer's job. Returns 0 or a Windows error code.
unsigned long startCopy(const std::wstring& folder, std::wstring_view arguments);

} // namespace vorda
