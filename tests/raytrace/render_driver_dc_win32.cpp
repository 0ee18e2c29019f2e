// The raytrace driver drawing into a device context: a 32-bit DIB section selected into a
// memory DC receives the reference image at the destination origin and nothing elsewhere; the
// row callback sees every row without RGB bytes.
#include <gtest/gtest.h>
#include <windows.h>

#include "raytrace_host.h"

namespace {

struct DcRows {
    int calls = 0;
    int withRgb = 0;
};

int32_t countRow(const uint8_t* rgb, int32_t, int32_t, void* user) {
    auto* rows = static_cast<DcRows*>(user);
    ++rows->calls;
    if (rgb) ++rows->withRgb;
    return 1;
}

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
    for (int32_t i = 0; i < dibWidth * dibHeight; ++i) pixels[i] = untouched;

    for (int32_t threads : {2, 3}) {
        SetRaytraceThreads(threads);
        DcRows rows;
        orv_test::GeometryHost host;
        EXPECT_NE(
            0, RaytraceToDevice(dc, orv_test::kEye, orv_test::kTarget, orv_test::kUp, 60, 1, 0, 0,
                                1, x0, y0, width, height, nullptr, orv_test::kHostBackground,
                                nullptr, 0, 0, orv_test::shortGeometry, &host, countRow, &rows));
        EXPECT_GE(rows.calls, height);
        EXPECT_EQ(0, rows.withRgb);
    }
    SetRaytraceThreads(2);
    GdiFlush();

    const orv_test::RgbImage want = orv_test::referenceImage(width, height);
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
                ADD_FAILURE() << "pixel " << x << ", " << y << std::hex << " want " << expected
                              << " got " << got;
            }
        }
    }
    EXPECT_EQ(0, wrong);

    SelectObject(dc, previous);
    DeleteObject(dib);
    DeleteDC(dc);
}

}  // namespace
