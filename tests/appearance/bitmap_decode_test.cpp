// The bitmap reader. On files made here, byte by byte: what the BMP Suite's pictures do not show
// exactly (masks and their widening, run-length escapes, short image sizes, a short colour
// table) and each refusal at its boundary. Then the BMP Suite (g/ good, q/ questionable, b/ bad)
// each file once: listed with its outcome (decoded where the platform converts it too, else
// refused and why), the same outcome and pixels from memory and from disk, and natively the
// picture against the suite's reference PNG (read with libpng), where only opaque pixels count.
#include "appearance/bitmap_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "appearance/bmp_writer.h"
#ifndef _WIN32
#include "support/png_reference.h"
#endif

namespace {

using orv::Bitmap;
using orv::BitmapStatus;
constexpr BitmapStatus ok = BitmapStatus::ok, unsupported = BitmapStatus::unsupported,
                       tooLarge = BitmapStatus::tooLarge, truncated = BitmapStatus::truncated;

struct SuiteFile {
    std::string name;
    BitmapStatus status;
    std::string reference;  // html/ picture with exactly the decoded pixels, or empty
    int tolerance;          // the largest difference allowed in a channel
};

// Entries "file", "file=reference" or "file=reference+" (a masked field narrower than 8 bits,
// which the reference rounds: one off). Refused: Huffman 1D, 2 and 64 bits, JPEG, PNG, OS/2
// RLE24, alpha bit fields (compression 6), the 16-byte header, a negative width, a channel
// without bits, top-down RLE, an image size beyond the file. Cut or transparent RLE leaves the
// skipped pixels black; rgb24prof2 keeps red and green swapped (profiles are not applied);
// badheadersize's 66 bytes are read as an info header; badpalettesize's table holds 256 entries.
std::vector<SuiteFile> suite() {
    const std::pair<BitmapStatus, const char*> lists[] = {
        {ok,
         "g/pal1.bmp=pal1 g/pal1bg.bmp=pal1bg g/pal1wb.bmp=pal1 g/pal4.bmp=pal4 "
         "g/pal4gs.bmp=pal4gs g/pal4rle.bmp=pal4 g/pal8-0.bmp=pal8 g/pal8.bmp=pal8 "
         "g/pal8gs.bmp=pal8gs g/pal8nonsquare.bmp=pal8nonsquare-e g/pal8os2.bmp=pal8 "
         "g/pal8rle.bmp=pal8 g/pal8topdown.bmp=pal8 g/pal8v4.bmp=pal8 g/pal8v5.bmp=pal8 "
         "g/pal8w124.bmp=pal8w124 g/pal8w125.bmp=pal8w125 g/pal8w126.bmp=pal8w126 "
         "g/rgb16-565.bmp=rgb16-565+ g/rgb16-565pal.bmp=rgb16-565+ g/rgb16.bmp=rgb16+ "
         "g/rgb16bfdef.bmp=rgb16+ g/rgb24.bmp=rgb24 g/rgb24pal.bmp=rgb24 g/rgb32.bmp=rgb24 "
         "g/rgb32bf.bmp=rgb24 g/rgb32bfdef.bmp=rgb24 q/pal1p1.bmp=pal1p1 "
         "q/pal4rlecut.bmp=pal4rlecut-b q/pal4rletrns.bmp=pal4rletrns-b q/pal8offs.bmp=pal8 "
         "q/pal8os2-hs.bmp=pal8 q/pal8os2-sz.bmp=pal8 q/pal8os2sp.bmp=pal8 "
         "q/pal8os2v2-40sz.bmp=pal8 q/pal8os2v2-sz.bmp=pal8 q/pal8os2v2.bmp=pal8 "
         "q/pal8oversizepal.bmp=pal8 q/pal8rlecut.bmp=pal8rlecut-b "
         "q/pal8rletrns.bmp=pal8rletrns-b q/rgb16-231.bmp=rgb16-231 q/rgb16-3103.bmp=rgb16-3103+ "
         "q/rgb16faketrns.bmp=rgb16+ q/rgb24largepal.bmp=rgb24 q/rgb24lprof.bmp=rgb24 "
         "q/rgb24prof.bmp=rgb24 q/rgb24prof2.bmp q/rgb32-111110.bmp q/rgb32-7187.bmp=rgb32-7187+ "
         "q/rgb32-xbgr.bmp=rgb24 q/rgb32fakealpha.bmp=rgb24 q/rgb32h52.bmp=rgb24 "
         "q/rgba16-1924.bmp=rgba16-1924 q/rgba16-4444.bmp=rgba16-4444 "
         "q/rgba16-5551.bmp=rgba16-5551+ q/rgba32-1.bmp=rgba32 "
         "q/rgba32-1010102.bmp=rgba32-1010102+ q/rgba32-2.bmp=rgba32 "
         "q/rgba32-61754.bmp=rgba32-61754+ q/rgba32-81284.bmp=rgba32-81284+ "
         "q/rgba32h56.bmp=rgba32 b/baddens1.bmp=pal1 b/baddens2.bmp=pal1 b/badfilesize.bmp=pal1 "
         "b/badheadersize.bmp=pal1 b/badpalettesize.bmp=pal8 b/badplanes.bmp=pal1 b/badrle.bmp "
         "b/badrle4.bmp b/badrle4bis.bmp b/badrle4ter.bmp b/badrlebis.bmp b/badrleter.bmp "
         "b/pal8badindex.bmp "},
        {unsupported,
         "q/pal1huffmsb.bmp q/pal2.bmp q/pal2color.bmp q/pal8os2v2-16.bmp q/rgb24jpeg.bmp "
         "q/rgb24png.bmp q/rgb24rle24.bmp q/rgba32abf.bmp q/rgba64.bmp b/badbitcount.bmp "
         "b/badwidth.bmp b/rgb16-880.bmp b/rletopdown.bmp "},
        {truncated, "b/badbitssize.bmp b/shortfile.bmp "},
        {tooLarge, "b/reallybig.bmp "},
    };
    std::vector<SuiteFile> files;
    for (const auto& [status, list] : lists) {
        std::istringstream in(list);
        for (std::string entry; in >> entry;) {
            const bool rounded = entry.back() == '+';
            if (rounded) entry.pop_back();
            const size_t equals = std::min(entry.find('='), entry.size());
            const std::string reference = entry.substr(std::min(equals + 1, entry.size()));
            files.push_back({entry.substr(0, equals), status, reference, rounded});
        }
    }
    return files;
}

std::string suiteDir() {
    const char* dir = std::getenv("ORVANTA_TESTDATA_DIR");
    return std::string(dir && *dir ? dir : ORVANTA_TESTDATA_DIR) + "/bmpsuite/";
}

#ifndef _WIN32
int channelDifference(uint32_t a, uint32_t b) {
    int most = 0;
    for (int shift = 0; shift < 24; shift += 8)
        most = std::max(most, std::abs(int(a >> shift & 255) - int(b >> shift & 255)));
    return most;
}
#endif

TEST(BitmapSuite, EveryFileOfTheSuiteIsListed) {
    std::set<std::string> listed, present;
    for (const SuiteFile& f : suite()) listed.insert(f.name);
    for (const char* folder : {"g", "q", "b"}) {
        const std::filesystem::path dir = suiteDir() + folder;
        ASSERT_TRUE(std::filesystem::is_directory(dir))
            << dir << " is missing: the suite lies in tests/data/bmpsuite, "
            << "or set ORVANTA_TESTDATA_DIR";
        for (const auto& entry : std::filesystem::directory_iterator(dir))
            present.insert(std::string(folder) + "/" + entry.path().filename().string());
    }
    EXPECT_EQ(listed, present);
}

TEST(BitmapSuite, EachFileDecodesAsListedAndAsTheReferenceShowsIt) {
    [[maybe_unused]] int compared = 0;  // natively
    for (const SuiteFile& f : suite()) {
        SCOPED_TRACE(f.name);
        const std::string path = suiteDir() + f.name;
        Bitmap fromMemory, fromDisk;
        EXPECT_EQ(orv::readBitmapFile(path.c_str(), fromDisk), f.status);
        std::vector<unsigned char> bytes(std::filesystem::file_size(path));
        if (FILE* file = std::fopen(path.c_str(), "rb")) {
            EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), file), bytes.size());
            std::fclose(file);
        }
        EXPECT_EQ(orv::decodeBitmap(bytes.data(), bytes.size(), fromMemory), f.status);
        if (f.status != ok) {
            EXPECT_EQ(fromDisk.pixels, nullptr);
            continue;
        }
        ASSERT_EQ(fromMemory.width, fromDisk.width);
        ASSERT_EQ(fromMemory.height, fromDisk.height);
        const size_t count = size_t(fromDisk.width) * fromDisk.height;
        const uint32_t* pixels = fromDisk.pixels.get();
        EXPECT_TRUE(std::equal(pixels, pixels + count, fromMemory.pixels.get()));
        // Decoded pixels keep their fourth byte 0.
        EXPECT_TRUE(std::all_of(pixels, pixels + count, [](uint32_t p) { return p >> 24 == 0; }));
#ifndef _WIN32
        PngPicture png;
        if (f.reference.empty()) continue;
        ASSERT_TRUE(readPng(suiteDir() + "html/" + f.reference + ".png", png)) << f.reference;
        ASSERT_EQ(fromDisk.width, png.width);
        ASSERT_EQ(fromDisk.height, png.height);
        size_t wrong = 0, opaque = 0;
        int worst = 0;
        for (size_t i = 0; i < count; ++i) {
            if (png.pixels[i] >> 24 != 0xFF) continue;
            ++opaque;
            const int difference = channelDifference(pixels[i], png.pixels[i]);
            worst = std::max(worst, difference);
            if (difference > f.tolerance && ++wrong <= 3)
                ADD_FAILURE() << "pixel " << i % png.width << ", " << i / png.width << ": "
                              << std::hex << pixels[i] << " instead of " << png.pixels[i];
        }
        EXPECT_EQ(wrong, 0u);
        EXPECT_EQ(worst > 0, f.tolerance > 0) << "the difference allowed is no longer needed";
        EXPECT_GE(opaque, count / 2);
        ++compared;
#endif
    }
#ifndef _WIN32
    EXPECT_EQ(compared, 65);
#endif
}

// Decodes from memory; the pixels, top row first.
std::vector<uint32_t> decode(const BmpFile& f, BitmapStatus want = ok) {
    const Bytes bytes = f.bytes();
    Bitmap b;
    EXPECT_EQ(orv::decodeBitmap(bytes.data(), bytes.size(), b), want);
    if (want != ok) return {};
    EXPECT_EQ(b.width, f.width);
    EXPECT_EQ(b.height, f.height < 0 ? -f.height : f.height);
    return {b.pixels.get(), b.pixels.get() + size_t(b.width) * b.height};
}

using Pixels = std::vector<uint32_t>;

// The table has biClrUsed entries, though the file holds a third before the pixels.
TEST(BitmapDecode, AnIndexBeyondTheTableIsBlack) {
    BmpFile f;
    f.width = 4, f.bitCount = 8, f.clrUsed = 2, f.colours = {0x111111, 0x222222, 0x333333};
    f.pixels = {1, 0, 2, 5};
    EXPECT_EQ(decode(f), (Pixels{0x222222, 0x111111, 0, 0}));
}

// Bit fields (compression 3) where masks are given, else the default masks.
TEST(BitmapDecode, MaskedChannelsRepeatTheirBitsToEightBits) {
    struct Case {
        const char* what;
        uint32_t bitCount;
        std::vector<uint32_t> masks;
        uint32_t stored, want;
    };
    const Case cases[] = {
        {"5-5-5 white", 16, {}, 0x7FFF, 0xFFFFFF},
        {"5-5-5 levels 3, 15, 1", 16, {}, 3 << 10 | 15 << 5 | 1, 24u << 16 | 123u << 8 | 8},
        {"5-5-5 unused top bit", 16, {}, 0x8000, 0},
        {"5-6-5 green 11", 16, {0xF800, 0x07E0, 0x001F}, 11 << 5, 44u << 8},
        {"2-3-1 levels 1, 3, 1", 16, {0x30, 0x0E, 0x01}, 0x17, 85u << 16 | 109u << 8 | 255},
        {"5-6-5 white", 16, {0xF800, 0x07E0, 0x001F}, 0xFFFF, 0xFFFFFF},
        {"32 plain, top byte ignored", 32, {}, 0xAA123456, 0x123456},
        {"32 channels reordered", 32, {0xFF00, 0xFF0000, 0xFF000000}, 0x12345678, 0x563412},
        {"10-10-10", 32, {0x3FF00000, 0xFFC00, 0x3FF}, 1023u << 20 | 512u << 10 | 1, 0xFF8000},
        {"2-3-1", 16, {0x30, 0x0E, 0x01}, 0x3F, 0xFFFFFF},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BmpFile f;
        f.bitCount = c.bitCount, f.compression = c.masks.empty() ? 0 : 3, f.masks = c.masks;
        put32(f.pixels, c.stored);  // a 16-bit row is padded to 4 bytes anyway
        if (c.bitCount == 16) f.pixels[2] = f.pixels[3] = 0;
        EXPECT_EQ(decode(f), Pixels{c.want});
    }
}

TEST(BitmapDecode, RunLengthStreamsFollowEveryEscapeAndMayEndEarly) {
    BmpFile f;  // 5 x 3, RLE8; rows listed from the bottom
    f.width = 5, f.height = 3, f.bitCount = 8, f.compression = 1;
    f.colours = {0, 0x000001, 0x000002, 0x000003, 0x000004};
    f.pixels = {
        2, 1,              // bottom row: 1 1
        0, 3, 2, 3, 4, 0,  // absolute run 2 3 4, padded to an even count
        0, 0,              // end of line
        0, 2, 1, 1,        // delta: right 1, up 1 (to the top row)
        7, 3,              // run of 7 threes: only 4 fit the row
        0, 1,              // end of bitmap
        9, 9,              // never read
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

    // A stream that ends early leaves the rest black.
    f.width = 4, f.height = 2, f.colours = {0, 0xFFFFFF};
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

// The suite's bad and questionable files add 2 and 64 bits, JPEG, PNG, alpha bit fields, the
// 16-byte header, a negative width, top-down RLE8, a zero mask and a huge picture.
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
        {"width 0", with([](BmpFile& f) { f.width = 0; }), unsupported},
        {"height 0", with([](BmpFile& f) { f.height = 0; }), unsupported},
        {"0 bits", with([](BmpFile& f) { f.bitCount = 0; }), unsupported},
        {"RLE8 at 4 bits", with([](BmpFile& f) { f.bitCount = 4, f.compression = 1; }),
         unsupported},
        {"RLE4 at 8 bits", with([](BmpFile& f) { f.bitCount = 8, f.compression = 2; }),
         unsupported},
        {"bit fields at 24 bits", with([](BmpFile& f) {
             f.compression = 3, f.masks = {0xFF0000, 0xFF00, 0xFF};
         }),
         unsupported},
        {"core header at 16 bits", with([](BmpFile& f) { f.headerSize = 12, f.bitCount = 16; }),
         unsupported},
        {"one pixel short", with([](BmpFile& f) { f.pixels.resize(2), f.sizeImage = 0; }),
         truncated},
        {"image size beyond the file", with([](BmpFile& f) { f.sizeImage = 5; }), truncated},
        {"run-length stream without image size shorter than its rows",
         with([](BmpFile& f) { f.width = 5, f.bitCount = 8, f.compression = 1, f.sizeImage = 0; }),
         truncated},
        {"height -2^31", with([](BmpFile& f) { f.height = INT32_MIN; }), tooLarge},
        {"one pixel too many", with([](BmpFile& f) { f.width = 8193, f.height = -8192; }),
         tooLarge},
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
    EXPECT_EQ(orv::readBitmapFile(path.c_str(), b), truncated);
    std::remove(path.c_str());
}

}  // namespace
