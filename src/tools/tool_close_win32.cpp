#include <windows.h>

#include "tools/tool_block.h"
#include "tools/tool_close.h"

namespace orv {

void closeTool(void* toolBlock, bool waitForThread) {
    if (!toolBlock) return;
    // Read everything first: once the sheet is closed, the editor's thread frees the block.
    const ToolBlock* block = static_cast<const ToolBlock*>(toolBlock);
    HWND sheet = static_cast<HWND>(block->sheet);
    HANDLE thread = static_cast<HANDLE>(block->thread);
    if (sheet) {
        SendMessageA(sheet, WM_CLOSE, 0, 0);
        EndDialog(sheet, 0);
    }
    if (!waitForThread || !thread) return;
    // Serve the caller's windows while the editor thread finishes: it may send to them.
    while (WaitForSingleObject(thread, 0) == WAIT_TIMEOUT) {
        MSG msg;
        if (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
    }
}

}  // namespace orv
