#include "update/service_logon_win.h"

#include "win/owned.h"

#include <windows.h>

#include <ntsecapi.h>

#include <vector>

namespace vorda {

namespace {

constexpr DWORD kLongestDomain = 512; // UTF-16 units

using PolicyHandle = Owned<LSA_HANDLE, LsaClose>;

} // namespace

std::wstring grantServiceLogon(const std::wstring& account) {
  alignas(SID) BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD sidBytes = sizeof sid;
  std::vector<wchar_t> domain(kLongestDomain);
  DWORD domainUnits = kLongestDomain;
  SID_NAME_USE use{};
  if (LookupAccountNameW(nullptr, account.c_str(), sid, &sidBytes, domain.data(), &domainUnits,
                         &use) == FALSE) {
    return L"unknownAccount";
  }
  LSA_OBJECT_ATTRIBUTES attributes{};
  LSA_HANDLE opened = nullptr;
  if (LsaOpenPolicy(nullptr, &attributes, POLICY_LOOKUP_NAMES | POLICY_CREATE_ACCOUNT, &opened) !=
      0) {
    return L"policyDenied";
  }
  const PolicyHandle policy(opened);
  wchar_t name[] = L"SeServiceLogonRight";
  LSA_UNICODE_STRING right{};
  right.Buffer = name;
  right.Length = sizeof name - sizeof(wchar_t);
  right.MaximumLength = sizeof name;
  return LsaAddAccountRights(policy.get(), sid, &right, 1) == 0 ? L"" : L"grantFailed";
}

} // namespace vorda
