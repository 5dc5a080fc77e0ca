// The copies of this program that run from one folder, held open so that their ids keep
// their meaning.
#pragma once

#include "update/installer_steps.h"
#include "win/handles.h"

#include <map>
#include <string>
#include <vector>

namespace vorda {

inline constexpr const wchar_t* kProgramName = L"vorda.exe";

class RunningCopies {
public:
  // Looks for them, the own process left out. Copies that run from elsewhere are listed
  // only when they could not be opened.
  explicit RunningCopies(const std::wstring& folder);

  const std::vector<RunningCopy>& list() const { return list_; }

  // Ends one of them and waits for that, ten seconds at most; false when it runs on.
  bool end(std::uint32_t id) const;

private:
  void add(DWORD id, const std::wstring& folder);

  std::vector<RunningCopy> list_;
  std::map<DWORD, KernelHandle> handles_;
};

CopyKind kindOfCommandLine(const std::wstring& commandLine);

// Starts the program on its own: without a window, not as a part of the installer's job,
// with the folder as its current one. 0, or the system's error code.
unsigned long startCopy(const std::wstring& folder, std::wstring_view arguments);

} // namespace vorda
