// psapi.h and tlhelp32.h use the types of windows.h.
// clang-format off
#include <windows.h>
#include <psapi.h>
#include <tlhelp32.h>
// clang-format on

#include "support/process_usage_win32.h"

#include <cstdint>
#include <cstdio>

namespace {

// GetProcessHandleCount; Wine answers 0, so there the handle table is probed instead.
DWORD openHandles() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count > 0) return count;
    DWORD flags = 0;
    for (uintptr_t value = 4; value < 0x10000; value += 4) {
        if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++count;
    }
    return count;
}

DWORD threadsOfThisProcess() {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) return 0;
    DWORD count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

}  // namespace

ProcessUsage usageNow() {
    ProcessUsage usage;
    usage.handles = openHandles();
    usage.gdiObjects = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    usage.userObjects = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    usage.threads = threadsOfThisProcess();
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters))) {
        usage.workingSet = counters.WorkingSetSize;
        usage.pagefile = counters.PagefileUsage;
    }
    return usage;
}

std::string usageChange(const ProcessUsage& before, const ProcessUsage& after) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "handles %lu -> %lu, GDI objects %lu -> %lu, USER objects %lu -> %lu, "
                  "threads %lu -> %lu, working set %zu -> %zu KiB, pagefile %zu -> %zu KiB",
                  before.handles, after.handles, before.gdiObjects, after.gdiObjects,
                  before.userObjects, after.userObjects, before.threads, after.threads,
                  before.workingSet / 1024, after.workingSet / 1024, before.pagefile / 1024,
                  after.pagefile / 1024);
    return text;
}
