#include "tools/tool_close.h"

namespace orv {

// Editors are property sheets and exist only in the Windows build: a native record's tool
// pointer is never set (Put clears the one a block brings along), so there is nothing to close.
void closeTool(void**) {}

}  // namespace orv
