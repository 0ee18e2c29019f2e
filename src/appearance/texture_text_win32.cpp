// Text textures with GDI: the slot's text drawn with its LOGFONTA and colours into a square,
// then built like a picture.
#include <windows.h>

#include <cstring>

#include "appearance/texture_build.h"
#include "appearance/texture_image.h"

namespace orv {

int32_t renderTextTexture(OrvTextureSlot& slot) {
    const uint32_t size = slot.textSize;
    if (size == 0 || size > kMaxTextureSide) return 0;

    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) return 0;
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = LONG(size);
    info.bmiHeader.biHeight = -LONG(size);  // top-down: the picture's first row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HBITMAP section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    LOGFONTA logFont;
    std::memcpy(&logFont, slot.textFont, sizeof logFont);
    HFONT font = CreateFontIndirectA(&logFont);
    HBRUSH background = CreateSolidBrush(slot.textBackground);
    int32_t result = 0;
    if (section && font && background) {
        const HGDIOBJ oldBitmap = SelectObject(dc, section);
        const HGDIOBJ oldFont = SelectObject(dc, font);
        SetBkColor(dc, slot.textBackground);
        SetTextColor(dc, slot.textColor);
        RECT square = {0, 0, LONG(size), LONG(size)};
        FillRect(dc, &square, background);

        // Lines break only at line breaks; a middle or bottom placement is one line.
        char text[sizeof slot.text + 1] = {};
        std::memcpy(text, slot.text, sizeof slot.text);
        const UINT horizontal = slot.textAlignH & (DT_CENTER | DT_RIGHT);
        const UINT vertical = slot.textAlignV & (DT_VCENTER | DT_BOTTOM);
        UINT format = horizontal | vertical | DT_NOPREFIX | DT_EXPANDTABS;
        if (vertical != 0) format |= DT_SINGLELINE;
        DrawTextA(dc, text, -1, &square, format);
        GdiFlush();

        const PictureView picture{int32_t(size), int32_t(size), static_cast<uint32_t*>(bits)};
        result = buildTextureImage(slot, picture, false, nullptr) == BuildResult::built ? 1 : 0;
        SelectObject(dc, oldFont);
        SelectObject(dc, oldBitmap);
    }
    if (background) DeleteObject(background);
    if (font) DeleteObject(font);
    if (section) DeleteObject(section);
    DeleteDC(dc);
    return result;
}

}  // namespace orv
