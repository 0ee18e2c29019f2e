// The raytrace driver under Windows: a DIB section in a memory DC receives the reference image at
// the destination origin and nothing elsewhere, the row callback no RGB bytes; every render,
// finished or cancelled, closes its threads' handles, destroys its window and frees its memory.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "raytrace_fixture.h"
#include "support/process_usage_win32.h"

namespace {

TEST(RenderDriverDcTest, RowsAreSetIntoTheDeviceContext) {
    const int32_t width = 24, height = 16, x0 = 3, y0 = 2;
    const int32_t dibWidth = width + 5, dibHeight = height + 4;
    const uint32_t untouched = 0x00ABCDEF;
    HDC dc = CreateCompatibleDC(nullptr);
    ASSERT_NE(nullptr, dc);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = dibWidth;
    info.bmiHeader.biHeight = -dibHeight;  // top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP dib = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ASSERT_NE(nullptr, dib);
    HGDIOBJ previous = SelectObject(dc, dib);
    auto* pixels = static_cast<uint32_t*>(bits);  // 0x00RRGGBB
    std::fill_n(pixels, dibWidth * dibHeight, untouched);

    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        orv_test::GeometryHost host;
        orv_test::RowLog log(height);
        orv_test::HostRender render{width, height};
        render.dc = dc, render.x0 = x0, render.y0 = y0;
        EXPECT_NE(0, render.run(host, log));
        EXPECT_GE(log.calls, height);
        for (const auto& row : log.rows) {
            for (const orv_test::RgbRow& rgb : row) EXPECT_TRUE(rgb.empty());
        }
    }
    SetRaytraceThreads(2);
    GdiFlush();
    const std::vector<orv_test::RgbRow> want = orv_test::referenceImage(width, height);
    int wrong = 0;
    for (int32_t y = 0; y < dibHeight; ++y) {
        for (int32_t x = 0; x < dibWidth; ++x) {
            const bool inside = x >= x0 && x < x0 + width && y >= y0 && y < y0 + height;
            uint32_t expected = untouched;
            if (inside) {
                const uint8_t* rgb = &want[y - y0][3 * (x - x0)];
                expected = (uint32_t{rgb[0]} << 16) | (uint32_t{rgb[1]} << 8) | rgb[2];
            }
            const uint32_t got = pixels[y * dibWidth + x] & 0x00FFFFFF;
            if (got != expected && wrong++ < 5) {
                ADD_FAILURE() << x << ", " << y << std::hex << ": " << expected << " " << got;
            }
        }
    }
    EXPECT_EQ(0, wrong);
    SelectObject(dc, previous);
    DeleteObject(dib);
    DeleteDC(dc);
}

// The driver's hidden windows on this thread (not counted among the process's handles).
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
    // A handle left behind per cycle shows as 100 handles per thread count.
    constexpr SIZE_T kMemorySlack = 1 << 20;
    // Warm-up: the window class, the heap and the thread pool reach their working size.
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        orv_test::renderCancelCycles(8, threads);
    }
    const ProcessUsage before = usageNow();
    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        SCOPED_TRACE(std::to_string(threads) + " threads");
        orv_test::renderCancelCycles(100, threads);
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
