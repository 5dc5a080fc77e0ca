// The head of a program file, as the linker and the tool that signs it leave it.
#pragma once

#include "base/byte_view.h"

namespace vorda {

// Whether the file says that it carries a signature; whether that is a good one, Windows knows. head:
// the first bytes of the file or of the loaded image.
bool carriesSignature(ByteView head);

} // namespace vorda
