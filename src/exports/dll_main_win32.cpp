// Process attach and detach of OrvantaDLL.dll: the module handle for resources, and the
// translation table beside the DLL.
#include <windows.h>

#include "core/library_module.h"
#include "i18n/localise.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(instance);
        orv::setLibraryModule(instance);
        char path[MAX_PATH + 1] = {};
        GetModuleFileNameA(instance, path, MAX_PATH);
        orv::loadTranslationTable(path);
    } else if (reason == DLL_PROCESS_DETACH) {
        orv::freeTranslationTable();
    }
    return TRUE;
}
