// Whether this process runs with administrator rights.
#pragma once

namespace vorda {

// False also when the system does not tell.
bool processElevated();

} // namespace vorda
