// Output of a program that has no console of its own: to its standard handles when it
// was given any, else to the console it was started from, else to a message box.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

enum class StdStream { output, error };

// One line, ended by LF. UTF-16 to a console, UTF-8 to a file or pipe. False when there
// is nowhere to write to.
bool writeStdLine(std::wstring_view text, StdStream stream);

// UTF-8 text as it stands, whole; a console gets it as UTF-16. False when it could not
// be written to the end.
bool writeStdText(std::string_view text, StdStream stream);

// A line to standard error; a message box when there is no place for it.
void showError(const std::wstring& text);

// A message box, whatever else there is.
void showErrorBox(const std::wstring& text);
void showInfo(const std::wstring& text);

// A line to standard error; nothing when there is no place for it.
void printError(std::wstring_view text);

} // namespace vorda
