// Ends the whole process at once (ExitProcess on Windows), for failures the library cannot
// survive, such as running out of memory.
#pragma once

#include <cstdint>

namespace orv {

[[noreturn]] void endProcess(uint32_t exitCode);

}  // namespace orv
