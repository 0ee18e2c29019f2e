// Win32 side of the core: the message box, ending the process, the library's module handle.
#include <windows.h>

#include "core/library_module.h"
#include "core/message_box.h"
#include "core/process_exit.h"

namespace orv {

namespace {
HINSTANCE module = nullptr;
}

int32_t platformMessageBox(void* owner, const char* text, const char* caption, uint32_t style) {
    return MessageBoxA(static_cast<HWND>(owner), text, caption, style);
}

void endProcess(uint32_t exitCode) { ExitProcess(exitCode); }

void* libraryModule() { return module; }
void setLibraryModule(void* instance) { module = static_cast<HINSTANCE>(instance); }

}  // namespace orv
