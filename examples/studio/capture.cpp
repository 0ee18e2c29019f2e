// capture.cpp - window pictures for the scripted session.
#include "capture.h"

#include <algorithm>
#include <cstring>

// Static, so that another file of the program may carry its own copy of the writer.
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace {

constexpr UINT kPrintTimeoutMs = 3000;

bool hasPixelFormat(HWND window) {
    HDC dc = GetDC(window);
    if (!dc) return false;
    const bool result = GetPixelFormat(dc) != 0;
    ReleaseDC(window, dc);
    return result;
}

// Lets each visible OpenGL descendant print its client area where it lies in the picture,
// clipped to its ancestors' client areas (clip in picture coordinates).
void printOpenGlChildren(HDC dc, HWND parent, POINT origin, RECT clip, HWND skip) {
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if (!IsWindowVisible(child) || child == skip) continue;
        RECT client;
        GetClientRect(child, &client);
        POINT at{0, 0};
        ClientToScreen(child, &at);
        RECT area{at.x - origin.x, at.y - origin.y, at.x - origin.x + client.right,
                  at.y - origin.y + client.bottom};
        RECT inside;
        if (!IntersectRect(&inside, &area, &clip)) continue;
        if (hasPixelFormat(child)) {
            const int saved = SaveDC(dc);
            IntersectClipRect(dc, inside.left, inside.top, inside.right, inside.bottom);
            SetViewportOrgEx(dc, area.left, area.top, nullptr);
            DWORD_PTR ignored = 0;
            SendMessageTimeoutW(child, WM_PRINTCLIENT, WPARAM(dc), PRF_CLIENT, SMTO_NORMAL,
                                kPrintTimeoutMs, &ignored);
            RestoreDC(dc, saved);
        }
        printOpenGlChildren(dc, child, origin, inside, skip);
    }
}

}  // namespace

Image captureWindow(HWND window, HWND skip) {
    Image image;
    RECT frame;
    if (!GetWindowRect(window, &frame)) return image;
    const int width = frame.right - frame.left, height = frame.bottom - frame.top;
    if (width <= 0 || height <= 0) return image;

    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;  // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    ReleaseDC(nullptr, screen);
    if (!memory || !bitmap) {
        if (bitmap) DeleteObject(bitmap);
        if (memory) DeleteDC(memory);
        return image;
    }
    HGDIOBJ old = SelectObject(memory, bitmap);

    HDC source = GetWindowDC(window);
    BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY);
    ReleaseDC(window, source);
    printOpenGlChildren(memory, window, {frame.left, frame.top}, {0, 0, width, height}, skip);
    GdiFlush();

    image.width = width;
    image.height = height;
    image.rgb.resize(size_t(width) * size_t(height) * 3);
    const auto* bgra = static_cast<const uint8_t*>(bits);
    for (size_t i = 0, n = size_t(width) * size_t(height); i < n; ++i) {
        image.rgb[3 * i] = bgra[4 * i + 2];
        image.rgb[3 * i + 1] = bgra[4 * i + 1];
        image.rgb[3 * i + 2] = bgra[4 * i];
    }
    SelectObject(memory, old);
    DeleteObject(bitmap);
    DeleteDC(memory);
    return image;
}

Image imageFromBottomUp(const std::vector<uint8_t>& rgb, int width, int height) {
    Image image;
    if (width <= 0 || height <= 0 || rgb.size() < size_t(width) * size_t(height) * 3) return image;
    image.width = width;
    image.height = height;
    image.rgb.resize(size_t(width) * size_t(height) * 3);
    const size_t row = size_t(width) * 3;
    for (int y = 0; y < height; ++y)
        std::memcpy(&image.rgb[size_t(y) * row], &rgb[size_t(height - 1 - y) * row], row);
    return image;
}

void paste(Image& image, const Image& picture, int x, int y) {
    const int left = std::max(0, x), right = std::min(image.width, x + picture.width);
    if (left >= right) return;
    for (int row = std::max(0, y); row < std::min(image.height, y + picture.height); ++row) {
        std::memcpy(&image.rgb[(size_t(row) * size_t(image.width) + size_t(left)) * 3],
                    &picture.rgb[(size_t(row - y) * size_t(picture.width) + size_t(left - x)) * 3],
                    size_t(right - left) * 3);
    }
}

bool writePng(const Image& image, const std::wstring& path) {
    if (image.empty()) return false;
    std::vector<uint8_t> png;
    const auto append = [](void* context, void* data, int size) {
        auto* out = static_cast<std::vector<uint8_t>*>(context);
        const auto* bytes = static_cast<const uint8_t*>(data);
        out->insert(out->end(), bytes, bytes + size);
    };
    if (!stbi_write_png_to_func(append, &png, image.width, image.height, 3, image.rgb.data(),
                                image.width * 3))
        return false;
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool ok =
        WriteFile(file, png.data(), DWORD(png.size()), &written, nullptr) && written == png.size();
    CloseHandle(file);
    return ok;
}
