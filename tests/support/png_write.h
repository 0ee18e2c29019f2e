// Writes 8-bit RGB pictures as PNG files (uncompressed deflate blocks), for screenshots.
#pragma once

#include <cstdint>
#include <string>

// rgb holds width x height pixels, top row first, three bytes each; false when the file
// cannot be written.
bool writePng(const std::string& path, int width, int height, const uint8_t* rgb);
