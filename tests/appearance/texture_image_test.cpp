// Load image and Rebuild on a slot, with message 118 on failure and the slot keeping its
// pixels; LoadMatTexture and RebuildMatTexture as a host calls them.
#include "appearance/texture_image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "appearance/bmp_writer.h"
#include "appearance/texture_build.h"
#include "core/records.h"
#include "orvanta.h"
#include "support/box_recorder.h"

namespace {

// Bitmap files in a temporary folder of the test's own.
class TextureFiles : public ::testing::Test {
protected:
    std::string write(const std::string& name, const Bytes& bytes) {
        return folder_.write(name, std::string(bytes.begin(), bytes.end()));
    }
    std::string write(const std::string& name, const BmpFile& file) {
        return write(name, file.bytes());
    }
    TempFolder folder_;
};

struct Material {
    Mat mat;
    Material() { orv::setBuiltInDefaults(mat); }
    ~Material() {
        for (OrvTextureSlot& s : mat.slots) orv::freeTexturePixels(s);
    }
    // Byte c of texel i, row 0 the bottom row.
    uint8_t byte(int slot, size_t i, int c) const { return mat.slots[slot].pixels[4 * i + c]; }
};

// Red left half, blue right half, 4 x 2 (not square).
const BmpFile kHalves = bmp24(4, 2, [](int x, int) { return x < 2 ? 0xFF0000u : 0x0000FFu; });
const BmpFile kRed = bmp24(2, 2, [](int, int) { return 0xFF0000u; });

// A run-length stream whose header's image size runs beyond the end of the file.
BmpFile shortRunLengthFile() {
    BmpFile f;
    f.width = 2, f.height = 2, f.bitCount = 8, f.compression = 1, f.colours = {0, 0xFF0000};
    f.pixels = {2, 1, 0, 0, 2, 1, 0, 1};
    f.sizeImage = 40;
    return f;
}
const BmpFile kShortRle = shortRunLengthFile();

// A square picture needs no question; the slots behind the surface hold grey pictures.
TEST_F(TextureFiles, LoadImageBuildsTheSlot) {
    const std::string path = write("red.bmp", kRed);
    Material m;
    const BoxRecorder boxes(orv::kIdOk);
    for (int slot = 0; slot < 4; ++slot) {
        SCOPED_TRACE(slot);
        const OrvTextureSlot& s = m.mat.slots[slot];
        ASSERT_EQ(orv::loadTextureImage(m.mat.slots[slot], path.c_str(), true, false, nullptr), 1);
        EXPECT_EQ(s.side, 2u);
        EXPECT_EQ(s.pixelBytes, 16u);
        EXPECT_EQ(s.source, 0u);  // the page sets source and path, not the load
        const std::vector<uint8_t> texel =
            slot == 0 ? std::vector<uint8_t>{255, 0, 0, 255} : std::vector<uint8_t>{85, 85, 85, 255};
        for (size_t i = 0; i < 4; ++i)
            EXPECT_EQ(std::vector<uint8_t>(s.pixels + 4 * i, s.pixels + 4 * i + 4), texel) << i;
    }
    EXPECT_TRUE(BoxRecorder::shown().empty());
}

TEST_F(TextureFiles, FailuresShowMessage118AndKeepThePixels) {
    BmpFile shortFile = kRed;  // its rows need 16 bytes
    shortFile.pixels.resize(5), shortFile.sizeImage = 0;
    Bytes notBm = kRed.bytes();
    notBm[0] = 'X';
    const std::string cases[] = {
        folder_.file("missing.bmp"),
        write("notbm.bmp", notBm),
        write("short.bmp", shortFile),
        write("rle-short.bmp", kShortRle),
        write("empty.bmp", Bytes{}),
    };
    const std::string good = write("halves.bmp", kHalves);
    for (const std::string& path : cases) {
        SCOPED_TRACE(path);
        Material m;
        m.mat.slots[0].padded = 1;
        ASSERT_EQ(orv::loadTextureImage(m.mat.slots[0], good.c_str(), false, true, nullptr), 1);
        const uint8_t* before = m.mat.slots[0].pixels;
        const BoxRecorder boxes(orv::kIdOk);
        EXPECT_EQ(orv::loadTextureImage(m.mat.slots[0], path.c_str(), true, false, nullptr), 0);
        ASSERT_EQ(BoxRecorder::shown().size(), 1u);
        EXPECT_EQ(BoxRecorder::shown()[0].caption, "Bild laden");
        EXPECT_EQ(BoxRecorder::shown()[0].text, localisedText(118));
        EXPECT_EQ(BoxRecorder::shown()[0].text.rfind("Die Datei kann nicht ge", 0), 0u);
        EXPECT_EQ(BoxRecorder::shown()[0].style, orv::kMbOk | orv::kMbIconExclamation);
        EXPECT_EQ(+m.mat.slots[0].pixels, before);
        EXPECT_EQ(m.mat.slots[0].side, 4u);
        EXPECT_EQ(m.mat.slots[0].padded, 1u);

        BoxRecorder::shown().clear();  // quiet: the same failure without a box
        EXPECT_EQ(orv::loadTextureImage(m.mat.slots[0], path.c_str(), true, true, nullptr), 0);
        EXPECT_TRUE(BoxRecorder::shown().empty());
    }
}

TEST_F(TextureFiles, CancelInTheQuestionShowsNothingElse) {
    const std::string path = write("halves.bmp", kHalves);
    Material m;
    const BoxRecorder boxes(orv::kIdCancel);
    EXPECT_EQ(orv::loadTextureImage(m.mat.slots[0], path.c_str(), true, false, nullptr), 0);
    EXPECT_EQ(BoxRecorder::shown().size(), 1u);  // the question only
    EXPECT_EQ(+m.mat.slots[0].pixels, nullptr);
}

TEST_F(TextureFiles, RebuildFollowsTheSourceAndTheBakedFlags) {
    const std::string path = write("halves.bmp", kHalves);
    Material m;
    OrvTextureSlot& s = m.mat.slots[0];
    ASSERT_EQ(orv::loadSlotImage(s, path.c_str(), 1), 1);
    ASSERT_EQ(s.side, 4u);
    EXPECT_EQ(m.byte(0, 15, 0), 0);  // top right texel: blue
    EXPECT_EQ(m.byte(0, 15, 2), 255);

    s.mirrorX = 1, s.inverted = 1;
    EXPECT_EQ(orv::rebuildTexture(s, false, nullptr), 1);
    EXPECT_EQ(m.byte(0, 15, 0), 0);  // now red at the top right, inverted: (0, 255, 255)
    EXPECT_EQ(m.byte(0, 15, 1), 255);
    EXPECT_EQ(m.byte(0, 15, 2), 255);
    for (int c = 0; c < 3; ++c)  // bottom left: padding black, inverted to white
        EXPECT_EQ(m.byte(0, 0, c), 255);

    s.padded = 0;  // the stored answer decides: the left 2 x 2 square
    EXPECT_EQ(orv::rebuildTexture(s, false, nullptr), 1);
    EXPECT_EQ(s.side, 2u);

    s.source = 0;
    EXPECT_EQ(orv::rebuildTexture(s, false, nullptr), 1);
    EXPECT_EQ(+s.pixels, nullptr);
    EXPECT_EQ(s.pixelBytes, 0u);

    s.source = 1;  // a file that went away: no pixels after a rebuild, and message 118
    std::strcpy(s.imagePath, folder_.file("gone.bmp").c_str());
    const BoxRecorder boxes(orv::kIdOk);
    EXPECT_EQ(orv::rebuildTexture(s, false, nullptr), 0);
    EXPECT_EQ(+s.pixels, nullptr);
    EXPECT_EQ(BoxRecorder::shown().size(), 1u);
    s.imagePath[0] = '\0';
    EXPECT_EQ(orv::rebuildTexture(s, false, nullptr), 0);
}

TEST_F(TextureFiles, HostLoadSetsSourceAndPathOnlyOnSuccess) {
    const std::string good = write("halves.bmp", kHalves);
    Mat* mat = CreateMat("host");
    OrvTextureSlot& s = mat->slots[2];
    EXPECT_EQ(LoadMatTexture(mat, 2, good.c_str(), 0), 1);
    EXPECT_EQ(s.source, 1u);
    EXPECT_STREQ(s.imagePath, good.c_str());
    EXPECT_EQ(s.padded, 0u);
    EXPECT_EQ(s.side, 2u);
    EXPECT_EQ(IsMatTexture(mat), 0);  // slot 2 is not the surface

    const std::string cut = write("rle-short.bmp", kShortRle);
    EXPECT_EQ(LoadMatTexture(mat, 2, cut.c_str(), 1), 0);  // no box: the export is quiet
    EXPECT_EQ(s.source, 1u);
    EXPECT_STREQ(s.imagePath, good.c_str());
    EXPECT_EQ(s.padded, 0u);
    EXPECT_EQ(s.side, 2u);

    // The path field holds 255 characters and a terminator: a real file named by 256 is refused.
    const std::string folder = good.substr(0, good.size() - std::strlen("halves.bmp"));
    for (const size_t length : {size_t(255), size_t(256)}) {
        const std::string name = std::string(length - folder.size() - 4, 'p') + ".bmp";
        const std::string path = write(name, kHalves);
        ASSERT_EQ(path.size(), length);
        EXPECT_EQ(LoadMatTexture(mat, 2, path.c_str(), 0), length == 255 ? 1 : 0) << length;
    }
    EXPECT_EQ(LoadMatTexture(mat, 2, good.c_str(), 0), 1);
    EXPECT_EQ(LoadMatTexture(mat, 4, good.c_str(), 1), 0);
    EXPECT_EQ(LoadMatTexture(mat, -1, good.c_str(), 1), 0);

    EXPECT_EQ(LoadMatTexture(mat, 2, good.c_str(), 1), 1);
    EXPECT_EQ(s.side, 4u);
    s.grey = 0;
    EXPECT_EQ(RebuildMatTexture(mat, 2), 1);
    EXPECT_EQ(s.side, 4u);  // padded was stored by the load
    EXPECT_EQ(s.pixels[4 * 15 + 2], 255);  // top right: blue, no longer grey

    // A material block carries the rebuilt image.
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    EXPECT_EQ(size, 6300u + 64u);
    DisposeMat(mat);
}

TEST_F(TextureFiles, TextTexturesNeedWindows) {
    Mat* mat = CreateMat("text");
    mat->slots[0].source = 2;
    std::strcpy(mat->slots[0].text, "Orvanta");
#ifdef _WIN32
    EXPECT_EQ(RebuildMatTexture(mat, 0), 1);
    EXPECT_EQ(mat->slots[0].side, 256u);
#else
    EXPECT_EQ(RebuildMatTexture(mat, 0), 0);
    EXPECT_EQ(+mat->slots[0].pixels, nullptr);
#endif
    DisposeMat(mat);
}

}  // namespace
