// Arbitrary files against the bitmap reader, and what it decodes against the stretch into a
// texture square (cut and padded, mirrored by the input's last byte).
#include <cstdint>
#include <initializer_list>
#include <memory>

#include "appearance/bitmap_decode.h"
#include "appearance/texture_mirror.h"
#include "appearance/texture_stretch.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    orv::Bitmap bitmap;
    const orv::BitmapStatus status = orv::decodeBitmap(data, size, bitmap);
    if (status != orv::BitmapStatus::ok) {
        check(bitmap.pixels == nullptr);
        return 0;
    }
    check(bitmap.width > 0 && bitmap.height > 0);
    const uint64_t count = uint64_t(bitmap.width) * uint64_t(bitmap.height);
    check(count <= orv::kMaxBitmapPixels);
    for (uint64_t i = 0; i < count; ++i) check(bitmap.pixels[i] >> 24 == 0);

    // Small pictures only: the stretch of a large one says nothing new and takes long.
    const uint32_t w = uint32_t(bitmap.width), h = uint32_t(bitmap.height);
    if (w > 512 || h > 512) return 0;
    const bool mirrorX = data[size - 1] & 1, mirrorY = data[size - 1] & 2;
    for (const uint32_t edge : {w < h ? w : h, w > h ? w : h}) {
        uint32_t side = 2;  // the texture edge: a power of two, at least 2
        while (side < edge) side <<= 1;
        const std::unique_ptr<uint32_t[]> square(new uint32_t[size_t(side) * side]);
        check(orv::stretchIntoSquare({bitmap.width, bitmap.height, bitmap.pixels.get()}, edge, side,
                                     square.get()));
        orv::mirrorTexturePixels(square.get(), side, mirrorX, mirrorY);
        for (size_t i = 0; i < size_t(side) * side; ++i) check(square[i] >> 24 == 0);
    }
    return 0;
}
