// capture.h - pictures of the studio's windows, taken in the process itself: GDI's copy of a
// window, which need not hold what OpenGL drew, with those pixels put in.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

struct Image {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;  // top row first

    bool empty() const { return rgb.empty(); }
};

// The window with its frame. Descendants that have a pixel format of their own are asked to
// print themselves (WM_PRINTCLIENT; those of other threads with a time limit), except skip.
Image captureWindow(HWND window, HWND skip = nullptr);
// OpenGL's rows (glReadPixels, RGB, bottom row first) as an image.
Image imageFromBottomUp(const std::vector<uint8_t>& rgb, int width, int height);
// Copies picture into image with its top-left corner at (x, y), clipped to image.
void paste(Image& image, const Image& picture, int x, int y);
bool writePng(const Image& image, const std::wstring& path);
