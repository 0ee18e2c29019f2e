// Reference pictures from PNG files, read with libpng (native tests only).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct PngPicture {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;  // top row first, 0xAARRGGBB (alpha 255 where opaque)
};

// False when the file cannot be read as a PNG.
bool readPng(const std::string& path, PngPicture& out);
