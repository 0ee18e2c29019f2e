// Allocation of records, tool blocks and owned buffers. When memory runs out the user is told
// (string 156 under the caption "Speicherüberlauf") and the process ends with exit code 0:
// the library has no way to report the failure to its host.
#pragma once

#include <cstddef>

namespace orv {

// Zero-filled; never returns null.
void* checkedAlloc(size_t bytes);
void checkedFree(void* p);

}  // namespace orv
