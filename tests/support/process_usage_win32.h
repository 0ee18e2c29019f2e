// What a process holds, for tests that repeat an operation many times and expect it flat:
// handles, GDI and USER objects, threads and memory.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

struct ProcessUsage {
    DWORD handles = 0;
    DWORD gdiObjects = 0, userObjects = 0;  // 0 where the platform does not count them
    DWORD threads = 0;
    SIZE_T workingSet = 0;
    SIZE_T pagefile = 0;  // committed private memory
};

ProcessUsage usageNow();

// "handles 45 -> 45, GDI objects ..., threads ..., working set ... KiB, pagefile ... KiB"
std::string usageChange(const ProcessUsage& before, const ProcessUsage& after);
