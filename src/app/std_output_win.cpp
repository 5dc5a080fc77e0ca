#include "app/std_output_win.h"

#include "base/text.h"
#include "win/handles.h"
#include "win/write_all.h"

#include <windows.h>

#include <algorithm>

namespace vorda {

namespace {

constexpr std::size_t kChunkUnits = 8'192; // UTF-16 units in one write to a console

// A standard handle of this process. If there is none, the console of the parent process is
// attached while the object lives.
class StdHandle {
public:
  explicit StdHandle(StdStream stream) {
    const DWORD which = stream == StdStream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE;
    handle_ = GetStdHandle(which);
    if (!valid() && AttachConsole(ATTACH_PARENT_PROCESS) != FALSE) {
      attached_ = true;
      handle_ = GetStdHandle(which);
      // Windows fills in the handles of a process that was started with none at all only.
      if (!valid()) openConsole();
    }
  }
  StdHandle(const StdHandle&) = delete;
  StdHandle& operator=(const StdHandle&) = delete;
  ~StdHandle() {
    console_.reset();
    if (attached_) FreeConsole();
  }

  bool valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }
  bool isConsole() const {
    DWORD mode = 0;
    return GetConsoleMode(handle_, &mode) != FALSE;
  }

private:
  void openConsole() {
    console_.reset(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                               nullptr));
    handle_ = console_.get();
  }

  HANDLE handle_ = nullptr;
  FileHandle console_;
  bool attached_ = false;
};

bool writeToConsole(HANDLE console, std::wstring_view text) {
  while (!text.empty()) {
    std::size_t units = std::min(text.size(), kChunkUnits);
    // Do not split a surrogate pair.
    if (units < text.size() && isHighSurrogate(text[units - 1])) --units;
    DWORD written = 0;
    if (WriteConsoleW(console, text.data(), static_cast<DWORD>(units), &written, nullptr) ==
            FALSE ||
        written == 0) {
      return false;
    }
    text.remove_prefix(written);
  }
  return true;
}

bool writeToFile(HANDLE file, std::string_view bytes) {
  return writeAll(file, bytes) == ERROR_SUCCESS;
}

} // namespace

bool writeStdLine(std::wstring_view text, StdStream stream) {
  const StdHandle handle(stream);
  if (!handle.valid()) return false;
  const std::wstring line = std::wstring(text) + L"\n";
  return handle.isConsole() ? writeToConsole(handle.get(), line)
                            : writeToFile(handle.get(), toUtf8(line));
}

bool writeStdText(std::string_view text, StdStream stream) {
  const StdHandle handle(stream);
  if (!handle.valid()) return false;
  return handle.isConsole() ? writeToConsole(handle.get(), toUtf16(text))
                            : writeToFile(handle.get(), text);
}

void showError(const std::wstring& text) {
  if (!writeStdLine(text, StdStream::error)) showErrorBox(text);
}

void showErrorBox(const std::wstring& text) {
  MessageBoxW(nullptr, text.c_str(), L"Vorda", MB_ICONERROR);
}

void showInfo(const std::wstring& text) {
  MessageBoxW(nullptr, text.c_str(), L"Vorda", MB_ICONINFORMATION);
}

bool showMore(const std::wstring& text) {
  return MessageBoxW(nullptr, text.c_str(), L"Vorda", MB_ICONINFORMATION | MB_OKCANCEL) == IDOK;
}

void printError(std::wstring_view text) {
  writeStdText(toUtf8(std::wstring(text) + L"\n"), StdStream::error);
}

} // namespace vorda
