// Prints what an installer's step did.
#pragma once

#include "update/installer_steps.h"

namespace vorda {

// Writes the lines to standard output and returns the exit code.
int printSteps(const StepOutcome& outcome);

} // namespace vorda
