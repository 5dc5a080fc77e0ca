// Ending the other running copies of this program.
#pragma once

namespace vorda {

// Asks every copy it can reach to end, through its hidden window and over its port, and
// waits a few seconds for those that were asked.
void stopAllInstances();

} // namespace vorda
