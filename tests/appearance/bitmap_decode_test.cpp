// The bitmap reader on files made here, byte by byte: every depth with its exact colours, row
// order and padding, masks and their widening, run-length escapes, and each refusal.
#include "appearance/bitmap_decode.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "appearance/bmp_writer.h"

namespace {

using orv::Bitmap;
using orv::BitmapStatus;

// Decodes from memory; the pixels, top row first.
std::vector<uint32_t> decode(const BmpFile& f, BitmapStatus want = BitmapStatus::ok) {
    const Bytes bytes = f.bytes();
    Bitmap b;
    EXPECT_EQ(orv::decodeBitmap(bytes.data(), bytes.size(), b), want);
    if (want != BitmapStatus::ok) return {};
    EXPECT_EQ(b.width, f.width);
    EXPECT_EQ(b.height, f.height < 0 ? -f.height : f.height);
    return {b.pixels.get(), b.pixels.get() + size_t(b.width) * b.height};
}

using Pixels = std::vector<uint32_t>;

TEST(BitmapDecode, IndexedDepthsLookUpTheirTables) {
    BmpFile one;  // 10 x 1: bits 1011 0010 01, row padded to 4 bytes
    one.width = 10, one.bitCount = 1, one.colours = {0x102030, 0xA0B0C0};
    one.pixels = {0xB2, 0x40, 0xFF, 0xFF};
    const uint32_t A = 0x102030, B = 0xA0B0C0;
    EXPECT_EQ(decode(one), (Pixels{B, A, B, B, A, A, B, A, A, B}));

    BmpFile four;  // 3 x 1: nibbles 2, 0, 1, high nibble first
    four.width = 3, four.bitCount = 4, four.colours = {0x000001, 0x000002, 0x000003};
    four.clrUsed = 3;
    four.pixels = {0x20, 0x1F, 0, 0};
    EXPECT_EQ(decode(four), (Pixels{3, 1, 2}));

    BmpFile eight;  // index 5 lies beyond a table of 2 entries: black
    eight.width = 3, eight.bitCount = 8, eight.clrUsed = 2, eight.colours = {0x111111, 0x222222};
    eight.pixels = {1, 0, 5, 0xEE};
    EXPECT_EQ(decode(eight), (Pixels{0x222222, 0x111111, 0}));
}

TEST(BitmapDecode, RowsComeBottomUpUnlessTheHeightIsNegativeAndPaddingIsSkipped) {
    for (int32_t height : {2, -2}) {
        for (int32_t width = 1; width <= 4; ++width) {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            BmpFile f;  // two stored rows of 24-bit pixels with value (row, x, 7)
            f.width = width, f.height = height;
            const int stride = (width * 3 + 3) / 4 * 4;
            for (int row = 0; row < 2; ++row) {
                for (int x = 0; x < width; ++x)
                    f.pixels.insert(f.pixels.end(), {7, uint8_t(x), uint8_t(row)});
                f.pixels.resize(size_t(stride) * (row + 1), 0xAB);
            }
            const uint32_t top = height > 0 ? 0x010007 : 0x000007;  // the stored row shown first
            const Pixels p = decode(f);
            for (int x = 0; x < width; ++x) {
                EXPECT_EQ(p[size_t(x)], top | uint32_t(x) << 8);
                EXPECT_EQ(p[size_t(width + x)], (top ^ 0x010000) | uint32_t(x) << 8);
            }
        }
    }
}

TEST(BitmapDecode, MaskedChannelsRepeatTheirBitsToEightBits) {
    struct Case {
        const char* what;
        uint32_t bitCount, compression;
        std::vector<uint32_t> masks;
        uint32_t stored;
        uint32_t want;
    };
    const Case cases[] = {
        {"5-5-5 white", 16, 0, {}, 0x7FFF, 0xFFFFFF},
        {"5-5-5 levels 3, 15, 1", 16, 0, {}, 3 << 10 | 15 << 5 | 1, 24u << 16 | 123u << 8 | 8},
        {"5-5-5 unused top bit", 16, 0, {}, 0x8000, 0},
        {"5-6-5 green 11", 16, 3, {0xF800, 0x07E0, 0x001F}, 11 << 5, 44u << 8},
        {"2-3-1 levels 1, 3, 1", 16, 3, {0x0030, 0x000E, 0x0001}, 0x17, 85u << 16 | 109u << 8 | 255},
        {"5-6-5 white", 16, 3, {0xF800, 0x07E0, 0x001F}, 0xFFFF, 0xFFFFFF},
        {"32 plain, top byte ignored", 32, 0, {}, 0xAA123456, 0x123456},
        {"32 channels reordered", 32, 3, {0x0000FF00, 0x00FF0000, 0xFF000000}, 0x12345678,
         0x563412},
        {"10-10-10", 32, 3, {0x3FF00000, 0x000FFC00, 0x000003FF}, 1023u << 20 | 512u << 10 | 1,
         0xFF8000},
        {"2-3-1", 16, 3, {0x0030, 0x000E, 0x0001}, 0x3F, 0xFFFFFF},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BmpFile f;
        f.bitCount = c.bitCount, f.compression = c.compression, f.masks = c.masks;
        put32(f.pixels, c.stored);  // a 16-bit row is padded to 4 bytes anyway
        if (c.bitCount == 16) f.pixels[2] = f.pixels[3] = 0;
        EXPECT_EQ(decode(f), Pixels{c.want});
    }
}

TEST(BitmapDecode, LongerHeadersCarryTheirMasksInside) {
    for (uint32_t headerSize : {52u, 56u, 108u, 124u}) {
        SCOPED_TRACE(headerSize);
        BmpFile f;
        f.headerSize = headerSize, f.bitCount = 32, f.compression = 3;
        f.masks = {0x000000FF, 0x0000FF00, 0x00FF0000};
        f.pixels = {0x11, 0x22, 0x33, 0x44};
        EXPECT_EQ(decode(f), Pixels{0x112233});  // red in the low byte
    }
}

TEST(BitmapDecode, CoreHeaderHasThreeByteEntries) {
    BmpFile f;
    f.headerSize = 12, f.width = 2, f.bitCount = 8;
    f.colours.assign(256, 0);
    f.colours[1] = 0x123456, f.colours[255] = 0xABCDEF;
    f.pixels = {255, 1, 0, 0};
    EXPECT_EQ(decode(f), (Pixels{0xABCDEF, 0x123456}));
}

TEST(BitmapDecode, RunLengthStreamsFollowEveryEscape) {
    BmpFile f;  // 5 x 3, RLE8; rows listed from the bottom
    f.width = 5, f.height = 3, f.bitCount = 8, f.compression = 1;
    f.colours = {0, 0x000001, 0x000002, 0x000003, 0x000004};
    f.pixels = {
        2, 1,           // bottom row: 1 1
        0, 3, 2, 3, 4, 0,  // absolute run 2 3 4, padded to an even count
        0, 0,           // end of line
        0, 2, 1, 1,     // delta: right 1, up 1 (to the top row)
        7, 3,           // run of 7 threes: only 4 fit the row
        0, 1,           // end of bitmap
        9, 9,           // never read
    };
    EXPECT_EQ(decode(f), (Pixels{0, 3, 3, 3, 3,  //
                                 0, 0, 0, 0, 0,  //
                                 1, 1, 2, 3, 4}));

    BmpFile four;  // 4 x 1, RLE4: a run alternates its two nibbles; absolute runs by nibble
    four.width = 4, four.bitCount = 4, four.compression = 2;
    four.colours = {0, 1, 2, 3};
    four.pixels = {3, 0x12, 0, 1};
    EXPECT_EQ(decode(four), (Pixels{1, 2, 1, 0}));
    four.pixels = {0, 3, 0x23, 0x10, 0, 1};
    EXPECT_EQ(decode(four), (Pixels{2, 3, 1, 0}));
}

TEST(BitmapDecode, StreamsThatEndEarlyLeaveTheRestBlack) {
    BmpFile f;
    f.width = 4, f.height = 2, f.bitCount = 8, f.compression = 1, f.colours = {0, 0xFFFFFF};
    f.pixels = {2, 1, 0, 9, 1};  // an absolute run of 9 without its bytes, then a lone byte
    EXPECT_EQ(decode(f), (Pixels{0, 0, 0, 0, 0xFFFFFF, 0xFFFFFF, 0, 0}));
}

// The header's image size is what is read: rows it does not reach stay black, a row it ends
// inside reads zeros behind it.
TEST(BitmapDecode, AnImageSizeShortOfTheRowsLeavesTheirRestBlack) {
    BmpFile f;  // 2 x 2 at 24 bits: rows of 8 bytes, bottom row first
    f.width = 2, f.height = 2;
    f.pixels = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};
    f.sizeImage = 12;
    EXPECT_EQ(decode(f), (Pixels{0x090807, 0x00000A, 0x030201, 0x060504}));
    f.sizeImage = 6;
    EXPECT_EQ(decode(f), (Pixels{0, 0, 0x030201, 0x060504}));
}

TEST(BitmapDecode, RefusesWhatThePlatformDoesNotConvert) {
    struct Case {
        const char* what;
        BmpFile file;
        BitmapStatus status;
    };
    auto with = [](auto change) {
        BmpFile f;
        f.pixels = {1, 2, 3, 0};
        change(f);
        return f;
    };
    const Case cases[] = {
        {"width 0", with([](BmpFile& f) { f.width = 0; }), BitmapStatus::unsupported},
        {"negative width", with([](BmpFile& f) { f.width = -1; }), BitmapStatus::unsupported},
        {"height 0", with([](BmpFile& f) { f.height = 0; }), BitmapStatus::unsupported},
        {"2 bits", with([](BmpFile& f) { f.bitCount = 2; }), BitmapStatus::unsupported},
        {"64 bits", with([](BmpFile& f) { f.bitCount = 64; }), BitmapStatus::unsupported},
        {"0 bits", with([](BmpFile& f) { f.bitCount = 0; }), BitmapStatus::unsupported},
        {"RLE8 top-down",
         with([](BmpFile& f) { f.bitCount = 8, f.compression = 1, f.height = -1; }),
         BitmapStatus::unsupported},
        {"RLE8 at 4 bits", with([](BmpFile& f) { f.bitCount = 4, f.compression = 1; }),
         BitmapStatus::unsupported},
        {"RLE4 at 8 bits", with([](BmpFile& f) { f.bitCount = 8, f.compression = 2; }),
         BitmapStatus::unsupported},
        {"bit fields at 24 bits",
         with([](BmpFile& f) { f.compression = 3, f.masks = {0xFF0000, 0xFF00, 0xFF}; }),
         BitmapStatus::unsupported},
        {"a mask without bits",
         with([](BmpFile& f) { f.bitCount = 16, f.compression = 3, f.masks = {0xFF00, 0xFF, 0}; }),
         BitmapStatus::unsupported},
        {"JPEG", with([](BmpFile& f) { f.compression = 4; }), BitmapStatus::unsupported},
        {"PNG", with([](BmpFile& f) { f.compression = 5; }), BitmapStatus::unsupported},
        {"alpha bit fields", with([](BmpFile& f) { f.bitCount = 32, f.compression = 6; }),
         BitmapStatus::unsupported},
        {"16-byte header", with([](BmpFile& f) { f.headerSize = 16; }), BitmapStatus::unsupported},
        {"core header at 16 bits", with([](BmpFile& f) { f.headerSize = 12, f.bitCount = 16; }),
         BitmapStatus::unsupported},
        {"one pixel short", with([](BmpFile& f) { f.pixels.resize(2), f.sizeImage = 0; }),
         BitmapStatus::truncated},
        {"image size beyond the file", with([](BmpFile& f) { f.sizeImage = 5; }),
         BitmapStatus::truncated},
        {"run-length stream cut short",
         with([](BmpFile& f) { f.bitCount = 8, f.compression = 1, f.sizeImage = 6; }),
         BitmapStatus::truncated},
        {"run-length stream without image size shorter than its rows",
         with([](BmpFile& f) { f.width = 5, f.bitCount = 8, f.compression = 1, f.sizeImage = 0; }),
         BitmapStatus::truncated},
        {"2^31 pixels", with([](BmpFile& f) { f.width = 65536, f.height = 32768; }),
         BitmapStatus::tooLarge},
        {"height -2^31", with([](BmpFile& f) { f.height = INT32_MIN; }), BitmapStatus::tooLarge},
        {"one pixel too many", with([](BmpFile& f) { f.width = 8193, f.height = -8192; }),
         BitmapStatus::tooLarge},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        decode(c.file, c.status);
    }
}

TEST(BitmapDecode, RefusesFilesThatAreNoBitmaps) {
    BmpFile f;
    f.pixels = {1, 2, 3, 0};
    Bytes bytes = f.bytes();
    Bitmap b;
    bytes[1] = 'A';
    EXPECT_EQ(orv::decodeBitmap(bytes.data(), bytes.size(), b), BitmapStatus::notBitmap);
    bytes[1] = 'M';
    EXPECT_EQ(orv::decodeBitmap(bytes.data(), 17, b), BitmapStatus::notBitmap);
    EXPECT_EQ(orv::decodeBitmap(bytes.data(), 40, b), BitmapStatus::notBitmap);  // header cut
    EXPECT_EQ(b.pixels, nullptr);
    EXPECT_EQ(orv::readBitmapFile("no such file.bmp", b), BitmapStatus::notBitmap);
}

TEST(BitmapDecode, FilesOnDiskReadOnlyWhatTheyHold) {
    BmpFile f;  // claims 8192 x 8192 at 32 bits but holds one row
    f.width = 8192, f.height = 8192, f.bitCount = 32, f.sizeImage = 0;
    f.pixels.assign(8192 * 4, 0x7F);
    const std::string path = testing::TempDir() + "bitmap_decode_short.bmp";
    ASSERT_TRUE(f.write(path));
    Bitmap b;
    EXPECT_EQ(orv::readBitmapFile(path.c_str(), b), BitmapStatus::truncated);
    std::remove(path.c_str());
}

}  // namespace
