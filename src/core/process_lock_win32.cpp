// The process-wide lock as a Win32 critical section.
#include <windows.h>

#include "core/process_lock.h"

namespace orv {

namespace {
CRITICAL_SECTION& section() {
    // Initialised once, thread-safely, on first use; deliberately never deleted.
    static CRITICAL_SECTION* cs = [] {
        auto* created = new CRITICAL_SECTION;
        InitializeCriticalSection(created);
        return created;
    }();
    return *cs;
}
}  // namespace

void enterProcessLock() { EnterCriticalSection(&section()); }
void leaveProcessLock() { LeaveCriticalSection(&section()); }

}  // namespace orv
