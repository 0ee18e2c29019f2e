#include "support/png_reference.h"

#include <png.h>

#include <cstring>

bool readPng(const std::string& path, PngPicture& out) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    // 16-bit samples are read as they are stored (the simplified reader would take them for
    // linear light and convert them to sRGB) and rounded to 8 bits.
    // With alpha, linear samples come premultiplied: only opaque ones keep their colour.
    const bool wide = image.format & PNG_FORMAT_FLAG_LINEAR;
    const int n = image.format & PNG_FORMAT_FLAG_ALPHA ? 4 : 3;
    image.format = wide ? (n == 4 ? PNG_FORMAT_LINEAR_RGB_ALPHA : PNG_FORMAT_LINEAR_RGB)
                        : PNG_FORMAT_BGRA;
    const size_t count = size_t(image.width) * image.height;
    std::vector<uint32_t> pixels(count);
    std::vector<uint16_t> samples(wide ? n * count : 0);
    if (!png_image_finish_read(&image, nullptr, wide ? static_cast<void*>(samples.data())
                                                     : static_cast<void*>(pixels.data()),
                               0, nullptr)) {
        png_image_free(&image);
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        if (wide) {  // BGRA bytes otherwise: already little-endian 0xAARRGGBB words
            auto to8 = [&](int c) { return uint32_t((samples[n * i + c] + 128u) / 257u); };
            pixels[i] = (n == 4 ? to8(3) : 255u) << 24 | to8(0) << 16 | to8(1) << 8 | to8(2);
        }
    }
    out.width = int(image.width);
    out.height = int(image.height);
    out.pixels = std::move(pixels);
    return true;
}
