#include "app/hidden_window_win.h"

#include <windows.h>

#include <bit>
#include <string_view>

namespace vorda {

namespace {

constexpr DWORD kIdleSleepMs = 1'000;

struct Owner {
  ServerState& server;
  const std::function<bool()>& beforeClosing;
};

LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
  case WM_NCCREATE: {
    const auto* creation = std::bit_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    break;
  }
  case WM_QUERYENDSESSION: return TRUE;
  // wParam is ignored: this copy quits even if the session does not end after all.
  case WM_ENDSESSION:
  case WM_CLOSE: {
    const Owner& owner = *std::bit_cast<const Owner*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (owner.beforeClosing()) SetPropW(window, kFinishingProperty, window);
    stopServer(owner.server);
    PostQuitMessage(0);
    return 0;
  }
  default: break;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

HWND makeWindow(Owner& owner) {
  const HINSTANCE program = GetModuleHandleW(nullptr);
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = program;
  windowClass.lpszClassName = kHiddenWindowClass;
  RegisterClassExW(&windowClass);
  return CreateWindowExW(WS_EX_TOOLWINDOW, kHiddenWindowClass, L"Vorda", 0, 0, 0, 0, 0, nullptr,
                         nullptr, program, &owner);
}

// Windows blocks messages from ordinary programs to the windows of elevated ones. Without these an
// elevated copy could not be closed from an ordinary command line.
void allowFromOrdinaryPrograms(HWND window) {
  constexpr UINT kMessages[] = {WM_QUERYENDSESSION, WM_ENDSESSION, WM_CLOSE};
  for (const UINT message : kMessages) {
    ChangeWindowMessageFilterEx(window, message, MSGFLT_ALLOW, nullptr);
  }
}

BOOL CALLBACK closeIfHidden(HWND window, LPARAM closed) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  if (std::wstring_view(name) == kHiddenWindowClass &&
      PostMessageW(window, WM_CLOSE, 0, 0) != FALSE) {
    *std::bit_cast<bool*>(closed) = true;
  }
  return TRUE;
}

} // namespace

bool closeHiddenWindow(unsigned long thread) {
  bool closed = false;
  EnumThreadWindows(thread, closeIfHidden, reinterpret_cast<LPARAM>(&closed));
  return closed;
}

bool runHiddenWindow(ServerState& server, const std::function<bool()>& start,
                     const std::function<bool()>& beforeClosing) {
  Owner owner = {server, beforeClosing};
  const HWND window = makeWindow(owner);
  if (window != nullptr) allowFromOrdinaryPrograms(window);
  if (!start()) {
    if (window != nullptr) DestroyWindow(window);
    return false;
  }
  while (window == nullptr) Sleep(kIdleSleepMs);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return true;
}

} // namespace vorda
