// The process's handles and memory across render/cancel cycles under Windows: every render
// closes its worker threads' handles and destroys its hidden window, and frees its scene and
// row buffers, whether it ran to the end or was cancelled.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "render_cycles.h"
#include "support/process_usage_win32.h"

namespace {

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
    std::printf("render/cancel cycles: %s\n", usageChange(before, after).c_str());
    ASSERT_NE(0u, before.handles);
    ASSERT_NE(0u, before.pagefile);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_EQ(0, raytraceWindows());
    EXPECT_LE(after.workingSet, before.workingSet + kMemorySlack);
    EXPECT_LE(after.pagefile, before.pagefile + kMemorySlack);
}

}  // namespace
