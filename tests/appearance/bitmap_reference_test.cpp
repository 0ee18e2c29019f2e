// Every good file of the BMP Suite, and the questionable ones that have a fitting reference,
// decode to the pixels of their reference PNG (read with libpng): exactly, except where a
// masked field is not 8 bits wide. The reader widens such a field by repeating its bits, as
// the platform does, where the references scale it with rounding (3 of 31: 24 against 25), so
// those files may differ by 1 in a channel. Alpha is not part of a texture's picture, so only
// the reference's opaque pixels are compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>

#include "appearance/bitmap_suite.h"
#include "support/png_reference.h"

namespace {

TEST(BitmapSuite, DecodedPixelsEqualTheReferencePictures) {
    const std::set<std::string> withinOne = {
        "g/rgb16-565.bmp", "g/rgb16-565pal.bmp", "g/rgb16.bmp", "g/rgb16bfdef.bmp",
        "q/rgb16-3103.bmp", "q/rgb16faketrns.bmp", "q/rgba16-5551.bmp", "q/rgb32-7187.bmp",
        "q/rgba32-1010102.bmp", "q/rgba32-61754.bmp", "q/rgba32-81284.bmp"};
    auto difference = [](uint32_t a, uint32_t b) {
        int most = 0;
        for (int shift = 0; shift < 24; shift += 8)
            most = std::max(most, std::abs(int(a >> shift & 255) - int(b >> shift & 255)));
        return most;
    };
    int compared = 0;
    for (const SuiteFile& f : bitmapSuite()) {
        if (!f.reference) continue;
        SCOPED_TRACE(f.name);
        orv::Bitmap bitmap;
        ASSERT_EQ(orv::readBitmapFile((bitmapSuiteDir() + f.name).c_str(), bitmap),
                  orv::BitmapStatus::ok);
        PngPicture reference;
        ASSERT_TRUE(readPng(bitmapSuiteDir() + "html/" + f.reference, reference));
        ASSERT_EQ(bitmap.width, reference.width);
        ASSERT_EQ(bitmap.height, reference.height);
        const int allowed = withinOne.count(f.name) ? 1 : 0;
        int wrong = 0, opaque = 0, worst = 0;
        for (int y = 0; y < bitmap.height; ++y) {
            for (int x = 0; x < bitmap.width; ++x) {
                const uint32_t got = bitmap.pixels[size_t(y) * bitmap.width + x];
                const uint32_t want = reference.pixels[size_t(y) * reference.width + x];
                if (want >> 24 != 0xFF) continue;
                ++opaque;
                worst = std::max(worst, difference(got, want));
                if (difference(got, want) > allowed && ++wrong <= 3)
                    ADD_FAILURE() << "pixel (" << x << ", " << y << "): " << std::hex << got
                                  << " instead of " << want;
            }
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(worst, allowed) << "the difference allowed is no longer needed";
        EXPECT_GE(opaque, bitmap.width * bitmap.height / 2);
        ++compared;
    }
    EXPECT_EQ(compared, 65);
}

}  // namespace
