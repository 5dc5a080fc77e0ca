// Whether this process runs with administrator rights.
#pragma once

namespace vorda {

// False also if that cannot be determined.
bool processElevated();

} // namespace vorda
