// Space that Windows keeps on a drive without any file to see. Both questions are newer than the oldest
// Windows this program runs on, or need rights, so each may stay without an answer.
#include "scan/targets.h"
#include "win/com_apartment.h"

#include <windows.h>

#include <oleauto.h>
#include <wbemcli.h>

#include <cwchar>
#include <string_view>

namespace vorda {

namespace {

// DISK_SPACE_INFORMATION of Windows 10, version 1903.
struct DiskSpace {
  ULONGLONG actualTotal;
  ULONGLONG actualAvailable;
  ULONGLONG actualPoolUnavailable;
  ULONGLONG callerTotal;
  ULONGLONG callerAvailable;
  ULONGLONG callerPoolUnavailable;
  ULONGLONG used;
  ULONGLONG totalReserved;
  ULONGLONG storageReserve;
  ULONGLONG availableCommitted;
  ULONGLONG poolAvailable;
  DWORD sectorsPerUnit;
  DWORD bytesPerSector;
};

std::optional<std::uint64_t> reservedBytes(const std::wstring& root) {
  using Ask = HRESULT(WINAPI*)(LPCWSTR, DiskSpace*);
  const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
  if (kernel == nullptr) return std::nullopt;
  const auto ask = reinterpret_cast<Ask>(
      reinterpret_cast<void*>(GetProcAddress(kernel, "GetDiskSpaceInformationW")));
  DiskSpace space{};
  if (ask == nullptr || FAILED(ask(root.c_str(), &space))) return std::nullopt;
  return space.totalReserved * space.sectorsPerUnit * space.bytesPerSector;
}

template <typename Interface> class ComPointer {
public:
  ComPointer() = default;
  ComPointer(const ComPointer&) = delete;
  ComPointer& operator=(const ComPointer&) = delete;
  ~ComPointer() {
    if (pointer_ != nullptr) pointer_->Release();
  }
  Interface** out() { return &pointer_; }
  Interface* operator->() const { return pointer_; }
  Interface* get() const { return pointer_; }

private:
  Interface* pointer_ = nullptr;
};

class BasicString {
public:
  explicit BasicString(const wchar_t* text) : text_(SysAllocString(text)) {}
  BasicString(const BasicString&) = delete;
  BasicString& operator=(const BasicString&) = delete;
  ~BasicString() { SysFreeString(text_); }
  BSTR get() const { return text_; }

private:
  BSTR text_;
};

// A property as text; empty if it is none.
std::wstring textOf(IWbemClassObject& object, const wchar_t* name) {
  VARIANT value;
  VariantInit(&value);
  std::wstring text;
  if (SUCCEEDED(object.Get(name, 0, &value, nullptr, nullptr)) && value.vt == VT_BSTR) {
    text = value.bstrVal;
  }
  VariantClear(&value);
  return text;
}

constexpr LONG kWait = 10'000; // milliseconds

// Calls take(object) for each object of a class.
template <typename Take> bool eachObject(IWbemServices& services, const wchar_t* query, Take take) {
  const BasicString language(L"WQL");
  const BasicString text(query);
  ComPointer<IEnumWbemClassObject> found;
  if (FAILED(services.ExecQuery(language.get(), text.get(),
                                WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr,
                                found.out()))) {
    return false;
  }
  while (true) {
    ComPointer<IWbemClassObject> object;
    ULONG count = 0;
    const HRESULT result = found->Next(kWait, 1, object.out(), &count);
    if (result == WBEM_S_FALSE) return true;
    if (FAILED(result) || count != 1) return false;
    take(*object.get());
  }
}

// The volume's name in a reference to it: Win32_Volume.DeviceID="\\\\?\\Volume{…}\\".
bool namesVolume(const std::wstring& reference, std::wstring_view volume) {
  std::wstring escaped;
  for (const wchar_t unit : volume) escaped.append(unit == L'\\' ? 2 : 1, unit);
  return reference.find(escaped) != std::wstring::npos;
}

std::optional<std::uint64_t> shadowBytes(const std::wstring& root) {
  wchar_t volume[64] = {};
  if (GetVolumeNameForVolumeMountPointW(root.c_str(), volume, 64) == FALSE) return std::nullopt;
  const ComApartment apartment;
  ComPointer<IWbemLocator> locator;
  if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                              reinterpret_cast<void**>(locator.out())))) {
    return std::nullopt;
  }
  ComPointer<IWbemServices> services;
  const BasicString space(L"ROOT\\CIMV2");
  if (FAILED(locator->ConnectServer(space.get(), nullptr, nullptr, nullptr,
                                    WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr,
                                    services.out()))) {
    return std::nullopt;
  }
  // The service acts for this user; without this it may refuse.
  if (FAILED(CoSetProxyBlanket(services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                               RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                               EOAC_NONE))) {
    return std::nullopt;
  }
  std::uint64_t bytes = 0;
  const bool told =
      eachObject(*services.get(), L"SELECT DiffVolume, AllocatedSpace FROM Win32_ShadowStorage",
                 [&](IWbemClassObject& object) {
                   if (!namesVolume(textOf(object, L"DiffVolume"), volume)) return;
                   const std::wstring text = textOf(object, L"AllocatedSpace");
                   bytes += std::wcstoull(text.c_str(), nullptr, 10);
                 });
  return told ? std::optional(bytes) : std::nullopt;
}

} // namespace

DriveReserves driveReserves(const std::wstring& root, bool shadow) {
  return {shadow ? shadowBytes(root) : std::nullopt, reservedBytes(root)};
}

} // namespace vorda
