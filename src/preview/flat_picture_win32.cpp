// Flat pictures without OpenGL: a material's thumbnail (MatPreview, as the material library's
// lists show it) and the preview's colour mode. A texture is shown one image pixel per device
// pixel from the top-left corner, cropped, never scaled, with the image's bottom-up rows
// turned upright.
#include <windows.h>

#include <algorithm>
#include <vector>

#include "core/colour.h"
#include "core/process_lock.h"
#include "preview/preview_state_win32.h"

namespace orv {

namespace {

void fill(HDC dc, const RECT& area, COLORREF colour) {
    HBRUSH brush = CreateSolidBrush(colour);
    FillRect(dc, &area, brush);
    DeleteObject(brush);
}

bool hasPixels(const OrvTextureSlot& slot) { return slot.pixels && slot.side > 0; }

// width x height pixels of the slot's image (top rows first) at (x, y); the caller holds the
// process lock and has cropped width and height to the image.
void drawUpright(HDC dc, int x, int y, const OrvTextureSlot& slot, int width, int height) {
    std::vector<uint32_t> rows(size_t(width) * size_t(height));
    for (int r = 0; r < height; ++r) {
        const uint8_t* source = slot.pixels + 4 * (size_t(slot.side - 1 - r) * slot.side);
        for (int c = 0; c < width; ++c, source += 4)
            rows[size_t(r) * width + c] = uint32_t(source[0]) << 16 | source[1] << 8 | source[2];
    }
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetDIBitsToDevice(dc, x, y, DWORD(width), DWORD(height), 0, 0, 0, UINT(height), rows.data(),
                      &info, DIB_RGB_COLORS);
}

}  // namespace

void drawMaterialThumbnail(const Mat& mat, int x, int y, int size, HDC dc) {
    const RECT square{x, y, x + size, y + size};
    {
        ProcessLockScope lock;
        const OrvTextureSlot& slot = mat.slots[0];
        if (hasPixels(slot)) {
            const int side = int(slot.side);
            if (side < size) FillRect(dc, &square, HBRUSH(GetStockObject(LTGRAY_BRUSH)));
            const int shown = std::min(side, size);
            if (shown > 0) drawUpright(dc, x, y, slot, shown, shown);
            return;
        }
    }
    fill(dc, square, colourToRef(mat.diffuse));
}

void paintFlatPicture(PreviewState& state) {
    const RECT area{0, 0, state.width, state.height};
    const Mat* mat = state.subject.material;
    const int slotIndex = state.subject.textureSlot;
    if (!mat || slotIndex < 0 || slotIndex > 3) {
        fill(state.memoryDc, area, colourToRef(state.subject.colour));
        return;
    }
    FillRect(state.memoryDc, &area, HBRUSH(GetStockObject(LTGRAY_BRUSH)));
    ProcessLockScope lock;
    const OrvTextureSlot& slot = mat->slots[slotIndex];
    if (!hasPixels(slot)) return;
    const int w = std::min(int(slot.side), state.width), h = std::min(int(slot.side), state.height);
    if (w > 0 && h > 0) drawUpright(state.memoryDc, 0, 0, slot, w, h);
}

}  // namespace orv
