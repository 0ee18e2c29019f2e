// Every good file of the BMP Suite, and the questionable ones that have a fitting reference,
// decode to exactly the pixels of their reference PNG (read with libpng). Alpha is not part of
// a texture's picture, so only the reference's opaque pixels are compared.
#include <gtest/gtest.h>

#include "appearance/bitmap_suite.h"
#include "support/png_reference.h"

namespace {

TEST(BitmapSuite, DecodedPixelsEqualTheReferencePictures) {
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
        int wrong = 0, opaque = 0;
        for (int y = 0; y < bitmap.height; ++y) {
            for (int x = 0; x < bitmap.width; ++x) {
                const uint32_t got = bitmap.pixels[size_t(y) * bitmap.width + x];
                const uint32_t want = reference.pixels[size_t(y) * reference.width + x];
                if (want >> 24 != 0xFF) continue;
                ++opaque;
                if (got != (want & 0xFFFFFF) && ++wrong <= 3)
                    ADD_FAILURE() << "pixel (" << x << ", " << y << "): " << std::hex << got
                                  << " instead of " << want;
            }
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_GE(opaque, bitmap.width * bitmap.height / 2);
        ++compared;
    }
    EXPECT_EQ(compared, 66);
}

}  // namespace
