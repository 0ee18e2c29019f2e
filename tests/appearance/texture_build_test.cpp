// Building a slot's square image: the edge rule, the not-square question and `padded`, where
// the picture lands in the square (cut, pad, mirrors, bottom row first), the pixel pass and
// the buffer swap. Natively the stretch is the library's own; under Wine it is GDI's.
#include "appearance/texture_build.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/records.h"
#include "support/box_recorder.h"

namespace {

using orv::BuildResult;
using orv::PictureView;

struct Picture {
    int32_t width, height;
    std::vector<uint32_t> pixels;  // top row first, 0x00RRGGBB

    template <typename Colour>
    Picture(int32_t w, int32_t h, Colour colour) : width(w), height(h), pixels(size_t(w) * h) {
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) pixels[size_t(y) * w + x] = colour(x, y);
    }
    PictureView view() const { return {width, height, pixels.data()}; }
};

struct Slot {
    Mat mat;
    OrvTextureSlot& s = mat.slots[0];
    Slot() { orv::setBuiltInDefaults(mat); }
    ~Slot() { orv::freeTexturePixels(s); }
    // Texture pixel (column, row), row 0 the bottom row, as 0xAABBGGRR (bytes R, G, B, A).
    uint32_t at(uint32_t column, uint32_t row) const {
        const uint8_t* p = s.pixels + 4 * (size_t(row) * s.side + column);
        return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    }
};

// 0x00RRGGBB as the texture holds it: bytes R, G, B, 255.
uint32_t rgba(uint32_t rgb) {
    return (rgb >> 16 & 255) | (rgb & 0xFF00) | (rgb & 255) << 16 | 0xFF000000u;
}

TEST(TextureBuild, EdgeIsThePowerOfTwoAtLeastTheSquareAndAtLeastTwo) {
    const uint32_t cases[][2] = {{1, 2},     {2, 2},       {3, 4},        {4, 4},
                                 {5, 8},     {255, 256},   {256, 256},    {257, 512},
                                 {300, 512}, {8192, 8192}, {8193, 16384}, {0x80000001u, 0}};
    for (const auto& c : cases) EXPECT_EQ(orv::textureSide(c[0]), c[1]) << c[0];
}

TEST(TextureBuild, PixelPassSwapsBytesSetsAlphaThenInvertsThenAverages) {
    struct Case {
        uint32_t rgb;
        bool inverted, grey;
        uint32_t want;  // 0xAABBGGRR
    };
    const Case cases[] = {
        {0xFF0000, false, false, 0xFF0000FF},  // red keeps its place as byte 0
        {0x123456, false, false, 0xFF563412},  // bytes 0x12, 0x34, 0x56, 255
        {0xFF0000, true, false, 0xFFFFFF00},   // (0, 255, 255)
        {0xFF0000, false, true, 0xFF555555},   // 255 / 3 = 85
        {0xFF0000, true, true, 0xFFAAAAAA},    // complement first: 510 / 3 = 170
        {0x010204, false, true, 0xFF020202},   // 7 / 3 truncated
        {0x000101, false, true, 0xFF000000},   // 2 / 3 truncated, not rounded
        {0xFFFFFF, false, true, 0xFFFFFFFF},
    };
    for (const Case& c : cases) {
        uint32_t pixel = c.rgb | 0xAB000000u;  // the fourth byte is not read
        orv::finishTexturePixels(&pixel, 1, c.inverted, c.grey);
        const uint8_t* b = reinterpret_cast<const uint8_t*>(&pixel);
        const uint32_t got = b[0] | b[1] << 8 | b[2] << 16 | uint32_t(b[3]) << 24;
        EXPECT_EQ(got, c.want) << std::hex << c.rgb << " inverted " << c.inverted << " grey "
                               << c.grey;
    }
}

// A 4 x 4 picture whose pixel (x, y) is x * 16 + y in blue and 0x40 in red; its texture has
// the same edge, so every texel is one source pixel, and a picture of one pixel makes 2 x 2.
TEST(TextureBuild, SquarePictureLandsBottomRowFirst) {
    const Picture picture(4, 4, [](int x, int y) { return 0x400000u | uint32_t(x * 16 + y); });
    Slot slot;
    slot.s.padded = 1;  // square pictures store 0
    ASSERT_EQ(orv::buildTextureImage(slot.s, picture.view(), true, nullptr), BuildResult::built);
    EXPECT_EQ(slot.s.padded, 0u);
    EXPECT_EQ(slot.s.side, 4u);
    EXPECT_EQ(slot.s.pixelBytes, 64u);
    for (uint32_t i = 0; i < 16; ++i)
        EXPECT_EQ(slot.at(i % 4, i / 4), rgba(picture.pixels[(3 - i / 4) * 4 + i % 4])) << i;

    const Picture one(1, 1, [](int, int) { return 0x336699u; });
    ASSERT_EQ(orv::buildTextureImage(slot.s, one.view(), false, nullptr), BuildResult::built);
    ASSERT_EQ(slot.s.side, 2u);
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(slot.at(i % 2, i / 2), rgba(0x336699)) << i;
}

// The mirrors act on the whole square, padding included: a mirrored texture is the unmirrored
// one mirrored, moved by one texel, for pictures padded, cut and square. A mirrored axis starts
// at the edge with extent -edge, which covers device pixels edge down to 1: the texel at device
// pixel 0 shows a position beyond the picture and is black.
TEST(TextureBuild, MirroredTexturesAreTheUnmirroredOnesMirrored) {
    struct Case {
        int32_t width, height;
        uint32_t padded, side;
    };
    const Case cases[] = {{300, 200, 1, 512},
                          {300, 200, 0, 256},
                          {200, 300, 1, 512},
                          {300, 300, 0, 512},
                          {4, 4, 0, 4}};
    for (const Case& c : cases) {
        const Picture picture(c.width, c.height, [](int x, int y) {
            return uint32_t(x % 256) << 16 | uint32_t(y % 256) << 8 | uint32_t((x + y) / 3 % 256);
        });
        Slot plain;
        plain.s.padded = c.padded;
        ASSERT_EQ(orv::buildTextureImage(plain.s, picture.view(), false, nullptr),
                  BuildResult::built);
        ASSERT_EQ(plain.s.side, c.side);
        for (int mirror = 1; mirror < 4; ++mirror) {
            const bool mx = mirror & 1, my = mirror & 2;
            SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << " padded "
                                            << c.padded << " mirrorX " << mx << " mirrorY " << my);
            Slot mirrored;
            mirrored.s.padded = c.padded;
            mirrored.s.mirrorX = mx, mirrored.s.mirrorY = my;
            ASSERT_EQ(orv::buildTextureImage(mirrored.s, picture.view(), false, nullptr),
                      BuildResult::built);
            int wrong = 0;
            for (uint32_t row = 0; row < c.side; ++row) {
                for (uint32_t col = 0; col < c.side; ++col) {
                    const bool outside = (mx && col == 0) || (my && row == c.side - 1);
                    const uint32_t want =
                        outside ? rgba(0)
                                : plain.at(mx ? c.side - col : col, my ? c.side - 2 - row : row);
                    if (mirrored.at(col, row) != want && ++wrong <= 3)
                        ADD_FAILURE() << "texel " << col << ", " << row;
                }
            }
            EXPECT_EQ(wrong, 0);
        }
    }
}

// 300 x 200: the left 200 columns one colour, the right 100 another.
const Picture wide(300, 200, [](int x, int) { return x < 200 ? 0x2040C0u : 0xC08020u; });

// Padded, the picture fills the upper two thirds; cut, the top left square fills all.
TEST(TextureBuild, PaddingPutsThePictureInTheUpperTwoThirdsAndCuttingKeepsTheTopLeftSquare) {
    Slot slot, cut;
    slot.s.padded = 1;
    ASSERT_EQ(orv::buildTextureImage(slot.s, wide.view(), false, nullptr), BuildResult::built);
    ASSERT_EQ(slot.s.side, 512u);
    EXPECT_EQ(slot.s.padded, 1u);
    // The picture's 200 rows cover 341.3 of 512 texel rows from the top, its left part 341.3
    // of 512 columns; texel rows counted from the bottom.
    for (uint32_t row : {0u, 100u, 169u}) {
        EXPECT_EQ(slot.at(0, row), rgba(0)) << row;
        EXPECT_EQ(slot.at(511, row), rgba(0)) << row;
    }
    for (uint32_t row : {172u, 300u, 511u}) {
        EXPECT_EQ(slot.at(0, row), rgba(0x2040C0)) << row;
        EXPECT_EQ(slot.at(338, row), rgba(0x2040C0)) << row;
        EXPECT_EQ(slot.at(343, row), rgba(0xC08020)) << row;
        EXPECT_EQ(slot.at(511, row), rgba(0xC08020)) << row;
    }

    cut.s.padded = 0;
    ASSERT_EQ(orv::buildTextureImage(cut.s, wide.view(), false, nullptr), BuildResult::built);
    ASSERT_EQ(cut.s.side, 256u);
    for (uint32_t i = 0; i < 256 * 256; i += 97)
        EXPECT_EQ(cut.at(i % 256, i / 256), rgba(0x2040C0));
}

TEST(TextureBuild, TheQuestionDecidesAndIsRemembered) {
    struct Case {
        int32_t answer;
        BuildResult result;
        uint32_t padded, side;
    };
    const Case cases[] = {
        {orv::kIdYes, BuildResult::built, 1, 512},
        {orv::kIdNo, BuildResult::built, 0, 256},
        {orv::kIdCancel, BuildResult::cancelled, 7, 2},
    };
    const Picture old(2, 2, [](int, int) { return 0u; });
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        Slot slot;
        ASSERT_EQ(orv::buildTextureImage(slot.s, old.view(), false, nullptr), BuildResult::built);
        const uint8_t* before = slot.s.pixels;
        slot.s.padded = 7;
        {
            const BoxRecorder boxes(c.answer);
            EXPECT_EQ(orv::buildTextureImage(slot.s, wide.view(), true, nullptr), c.result);
            ASSERT_EQ(BoxRecorder::shown().size(), 1u);
            const ShownMessage& box = BoxRecorder::shown()[0];
            EXPECT_EQ(box.caption, "Bild laden");
            EXPECT_EQ(box.text, localisedText(119));
            EXPECT_EQ(box.style, orv::kMbYesNoCancel | orv::kMbIconQuestion);
        }
        EXPECT_EQ(slot.s.padded, c.padded);
        EXPECT_EQ(slot.s.side, c.side);
        if (c.result == BuildResult::cancelled) {
            EXPECT_EQ(+slot.s.pixels, before);
        }

        // A later build without asking follows the stored answer.
        if (c.result == BuildResult::built) {
            const BoxRecorder none(orv::kIdCancel);
            EXPECT_EQ(orv::buildTextureImage(slot.s, wide.view(), false, nullptr),
                      BuildResult::built);
            EXPECT_TRUE(BoxRecorder::shown().empty());
            EXPECT_EQ(slot.s.side, c.side);
        }
    }
}

TEST(TextureBuild, AnEdgeBeyondTheLimitFailsAndKeepsTheSlot) {
    const Picture line(orv::kMaxTextureSide + 1, 1, [](int, int) { return 0xFFFFFFu; });
    Slot slot;
    slot.s.padded = 1;
    EXPECT_EQ(orv::buildTextureImage(slot.s, line.view(), false, nullptr), BuildResult::failed);
    EXPECT_EQ(+slot.s.pixels, nullptr);
    EXPECT_EQ(slot.s.side, 0u);
    slot.s.padded = 0;  // cut: the 1 x 1 square
    EXPECT_EQ(orv::buildTextureImage(slot.s, line.view(), false, nullptr), BuildResult::built);
    EXPECT_EQ(slot.s.side, 2u);
}

}  // namespace
