// Text textures drawn with GDI: where the foreground pixels fall for each of the nine
// placements, both colours exactly, the single-line rule of the middle and bottom placements,
// and the texture's edge from `textSize`.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "appearance/texture_build.h"
#include "appearance/texture_image.h"
#include "core/records.h"

namespace {

constexpr uint32_t kInk = 0x0000C0;    // COLORREF: red 0xC0
constexpr uint32_t kPaper = 0xF0E0D0;  // COLORREF: red 0xD0, green 0xE0, blue 0xF0

struct Ink {
    int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;  // top-down, inclusive
    int others = 0;  // pixels of neither colour
    bool any() const { return right >= 0; }
    int centreX() const { return (left + right) / 2; }
    int centreY() const { return (top + bottom) / 2; }
};

struct TextSlot {
    Mat mat;
    OrvTextureSlot& s = mat.slots[0];

    explicit TextSlot(const char* text, uint32_t alignH = 0, uint32_t alignV = 0) {
        orv::setBuiltInDefaults(mat);
        s.source = 2;
        std::strcpy(s.text, text);
        s.textColor = kInk;
        s.textBackground = kPaper;
        s.textAlignH = alignH;
        s.textAlignV = alignV;
        LOGFONTA font = {};
        font.lfHeight = -40;
        font.lfWeight = FW_BOLD;
        font.lfQuality = NONANTIALIASED_QUALITY;  // two colours only
        std::strcpy(font.lfFaceName, "Tahoma");
        static_assert(sizeof font == sizeof s.textFont);
        std::memcpy(s.textFont, &font, sizeof font);
    }
    ~TextSlot() { orv::freeTexturePixels(s); }

    // Where the ink lies, top row first.
    Ink ink() const {
        Ink k;
        const int n = int(s.side);
        for (int row = 0; row < n; ++row) {
            for (int x = 0; x < n; ++x) {
                const uint8_t* p = s.pixels + 4 * (size_t(row) * n + x);
                const uint32_t colour = p[0] | p[1] << 8 | p[2] << 16;
                if (colour == kPaper) continue;
                if (colour != kInk) {
                    ++k.others;
                    continue;
                }
                const int y = n - 1 - row;
                k.left = std::min(k.left, x), k.right = std::max(k.right, x);
                k.top = std::min(k.top, y), k.bottom = std::max(k.bottom, y);
            }
        }
        return k;
    }
};

TEST(TextTexture, EachPlacementPutsTheInkWhereItSays) {
    for (uint32_t h : {0u, 1u, 2u}) {
        for (uint32_t v : {0u, 4u, 8u}) {
            SCOPED_TRACE(testing::Message() << "textAlignH " << h << " textAlignV " << v);
            TextSlot slot("Wg", h, v);
            ASSERT_EQ(orv::renderTextTexture(slot.s), 1);
            ASSERT_EQ(slot.s.side, 256u);
            const Ink k = slot.ink();
            ASSERT_TRUE(k.any());
            EXPECT_EQ(k.others, 0);
            EXPECT_LT(k.right - k.left, 100);
            EXPECT_LT(k.bottom - k.top, 60);
            // Left, centre, right; top, middle, bottom.
            const bool placedH[] = {k.left < 12, std::abs(k.centreX() - 128) <= 8, k.right > 243};
            const bool placedV[] = {k.top < 16, std::abs(k.centreY() - 128) <= 12, k.bottom > 243};
            EXPECT_TRUE(placedH[h]) << "ink from column " << k.left << " to " << k.right;
            EXPECT_TRUE(placedV[v / 4]) << "ink from row " << k.top << " to " << k.bottom;
            EXPECT_EQ(slot.s.pixels[3], 255);  // alpha
        }
    }
}

TEST(TextTexture, LineBreaksCountAtTheTopOnly) {
    TextSlot top("W\nW\nW", 0, 0), middle("W\nW\nW", 0, 4), bottom("W\nW\nW", 0, 8);
    for (TextSlot* slot : {&top, &middle, &bottom}) ASSERT_EQ(orv::renderTextTexture(slot->s), 1);
    EXPECT_GT(top.ink().bottom - top.ink().top, 100);  // three lines
    EXPECT_LT(middle.ink().bottom - middle.ink().top, 60);  // one line
    EXPECT_LT(bottom.ink().bottom - bottom.ink().top, 60);
}

TEST(TextTexture, TextSizeGivesTheEdgeAndTheFlagsApply) {
    TextSlot slot("", 0, 0);
    slot.s.textSize = 100;  // stretched onto 128
    slot.s.inverted = 1;
    ASSERT_EQ(orv::renderTextTexture(slot.s), 1);
    EXPECT_EQ(slot.s.side, 128u);
    EXPECT_EQ(slot.s.pixelBytes, 4u * 128 * 128);
    EXPECT_EQ(slot.s.pixels[0], 255 - 0xD0);  // the paper, inverted
    EXPECT_EQ(slot.s.pixels[1], 255 - 0xE0);
    EXPECT_EQ(slot.s.pixels[2], 255 - 0xF0);

    slot.s.textSize = 0;  // nothing to draw: the slot keeps its image
    EXPECT_EQ(orv::renderTextTexture(slot.s), 0);
    EXPECT_EQ(slot.s.side, 128u);
}

}  // namespace
