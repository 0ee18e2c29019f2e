// The process's handles and memory across render/cancel cycles under Windows: every render
// closes its worker threads' handles and destroys its hidden window, and frees its scene and
// row buffers, whether it ran to the end or was cancelled.
#include <gtest/gtest.h>
// psapi.h uses the types of windows.h.
// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "render_cycles.h"

namespace {

struct ProcessUsage {
    DWORD handles = 0;
    SIZE_T workingSet = 0;
    SIZE_T pagefile = 0;  // committed private memory
};

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

// The hidden windows of the raytrace driver on this thread (window handles are not counted
// among the process's handles).
int raytraceWindows() {
    int count = 0;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM counter) -> BOOL {
            char name[64] = {};
            GetClassNameA(window, name, sizeof(name));
            if (std::strcmp(name, "OrvantaDLL:Raytrace") == 0) ++*reinterpret_cast<int*>(counter);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&count));
    return count;
}

ProcessUsage usageNow() {
    ProcessUsage usage;
    usage.handles = openHandles();
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof(counters);
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters))) {
        usage.workingSet = counters.WorkingSetSize;
        usage.pagefile = counters.PagefileUsage;
    }
    return usage;
}

TEST(RenderResourcesTest, RenderCancelCyclesLeaveHandlesAndMemoryAsTheyWere) {
    constexpr int32_t kWidth = 16, kHeight = 8;
    constexpr int kCycles = 500;
    constexpr SIZE_T kMemorySlack = 1 << 20;
    // Warm-up: the window class, the heap and the thread pool reach their working size.
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        EXPECT_EQ("", orv_test::renderCancelCycles(8, kWidth, kHeight, threads));
    }
    const ProcessUsage before = usageNow();
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        EXPECT_EQ("", orv_test::renderCancelCycles(kCycles, kWidth, kHeight, threads))
            << threads << " threads";
    }
    const ProcessUsage after = usageNow();
    SetRaytraceThreads(2);
    std::printf(
        "render/cancel cycles: handles %lu -> %lu, working set %zu -> %zu KiB, "
        "pagefile %zu -> %zu KiB\n",
        before.handles, after.handles, before.workingSet / 1024, after.workingSet / 1024,
        before.pagefile / 1024, after.pagefile / 1024);
    ASSERT_NE(0u, before.handles);
    ASSERT_NE(0u, before.pagefile);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_EQ(0, raytraceWindows());
    EXPECT_LE(after.workingSet, before.workingSet + kMemorySlack);
    EXPECT_LE(after.pagefile, before.pagefile + kMemorySlack);
}

}  // namespace
