// A library as an attacker would put it beside the program: when it is loaded it writes an empty file,
// named after itself, that tells so.
#include <windows.h>

#include <string>

extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(self, path, MAX_PATH);
    CloseHandle(CreateFileW((std::wstring(path) + L".loaded").c_str(), GENERIC_WRITE, 0, nullptr,
                            CREATE_ALWAYS, 0, nullptr));
  }
  return TRUE;
}

extern "C" __declspec(dllexport) void CALLBACK run(HWND, HINSTANCE, LPSTR, int) {}
