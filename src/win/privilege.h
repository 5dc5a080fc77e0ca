// Privileges of this process.
#pragma once

namespace vorda {

// Enables a privilege such as SE_DEBUG_NAME. Does nothing if the process does not hold it.
void enablePrivilege(const wchar_t* name);

} // namespace vorda
