// Output of a program without a console: to its standard handles if it was given any, else to
// the console it was started from, else to a message box.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

enum class StdStream { output, error };

// Writes a line, ended by LF: UTF-16 to a console, UTF-8 to a file or pipe. False on failure, or
// if there is nothing to write to.
bool writeStdLine(std::wstring_view text, StdStream stream);

// The same for UTF-8 text, without adding a line break.
bool writeStdText(std::string_view text, StdStream stream);

// Writes a line to standard error, or shows a message box if that fails.
void showError(const std::wstring& text);

// Always a message box.
void showErrorBox(const std::wstring& text);
void showInfo(const std::wstring& text);

// The same for a text that another box continues; false if the user does not want that one.
bool showMore(const std::wstring& text);

// Writes a line to standard error. Failures are ignored.
void printError(std::wstring_view text);

} // namespace vorda
