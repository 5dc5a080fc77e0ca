// Privileges of this process's access token.
#pragma once

namespace vorda {

// Switches on one that the token holds, such as SE_DEBUG_NAME; does nothing otherwise.
void enablePrivilege(const wchar_t* name);

} // namespace vorda
