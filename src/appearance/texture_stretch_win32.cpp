// Windows stretch: the picture goes into a 32-bit bitmap section and GDI's half-tone
// StretchBlt makes the square.
#include <windows.h>

#include <cstring>

#include "appearance/texture_stretch.h"

namespace orv {

namespace {

BITMAPINFO sectionInfo(LONG width, LONG height) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;  // negative: top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

// Stretch-copies the square (0, 0, edge, edge) of src onto a side x side, 32-bit, bottom-up
// bitmap section in half-tone mode, brush origin (0, 0); what the source does not cover stays
// black. Never mirrored here: GDI clips a mirrored source square to the bitmap and mirrors
// only what is left, so the build mirrors the whole square afterwards.
bool stretchDcIntoSquare(HDC src, uint32_t edge, uint32_t side, uint32_t* out) {
    HDC dc = CreateCompatibleDC(src);
    if (!dc) return false;
    const BITMAPINFO info = sectionInfo(LONG(side), LONG(side));  // bottom-up
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool done = false;
    if (section) {
        const HGDIOBJ old = SelectObject(dc, section);
        SetStretchBltMode(dc, HALFTONE);
        SetBrushOrgEx(dc, 0, 0, nullptr);
        const int n = int(side);
        done = StretchBlt(dc, 0, 0, n, n, src, 0, 0, int(edge), int(edge), SRCCOPY) != FALSE;
        GdiFlush();
        if (done) std::memcpy(out, bits, size_t(4) * side * side);
        SelectObject(dc, old);
        DeleteObject(section);
    }
    DeleteDC(dc);
    return done;
}

}  // namespace

bool stretchIntoSquare(const PictureView& picture, uint32_t edge, uint32_t side, uint32_t* out) {
    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) return false;
    const BITMAPINFO info = sectionInfo(picture.width, -picture.height);
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool done = false;
    if (section) {
        std::memcpy(bits, picture.pixels, size_t(4) * picture.width * picture.height);
        const HGDIOBJ old = SelectObject(dc, section);
        done = stretchDcIntoSquare(dc, edge, side, out);
        SelectObject(dc, old);
        DeleteObject(section);
    }
    DeleteDC(dc);
    return done;
}

}  // namespace orv
