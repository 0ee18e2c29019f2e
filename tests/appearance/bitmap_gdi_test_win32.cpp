// The reader against the platform's own conversion: each suite file that either side decodes
// is handed to GDI (SetDIBits into a 32-bit bitmap section) and compared pixel by pixel.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

#include "appearance/bitmap_suite.h"

namespace {

struct GdiPicture {
    bool converted = false;
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;  // top row first
};

// What GDI makes of a file's headers and pixel data. The pixel data is copied into a buffer
// zero-filled far beyond what the headers claim, so that GDI never reads outside it.
GdiPicture convertWithGdi(const std::vector<unsigned char>& file) {
    GdiPicture out;
    uint32_t offset = 0, headerSize = 0;
    std::memcpy(&offset, &file[10], 4);
    std::memcpy(&headerSize, &file[14], 4);
    int32_t width = 0, height = 0;
    if (headerSize == 12) {
        uint16_t w = 0, h = 0;
        std::memcpy(&w, &file[18], 2);
        std::memcpy(&h, &file[20], 2);
        width = w, height = h;
    } else {
        std::memcpy(&width, &file[18], 4);
        std::memcpy(&height, &file[22], 4);
    }
    const int64_t rows = height < 0 ? -int64_t(height) : height;
    if (width <= 0 || rows == 0 || int64_t(width) * rows > (int64_t(1) << 24)) return out;

    std::vector<unsigned char> info(8192, 0);
    const size_t infoBytes = std::min<size_t>(offset > 14 ? offset - 14 : 0, info.size());
    std::memcpy(info.data(), &file[14], std::min(infoBytes, file.size() - 14));
    std::vector<unsigned char> bits(size_t(width) * rows * 8 + file.size() + 65536, 0);
    if (offset < file.size()) std::memcpy(bits.data(), &file[offset], file.size() - offset);

    HDC dc = CreateCompatibleDC(nullptr);
    BITMAPINFO target = {};
    target.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    target.bmiHeader.biWidth = width;
    target.bmiHeader.biHeight = -LONG(rows);  // top-down, like the reader's pictures
    target.bmiHeader.biPlanes = 1;
    target.bmiHeader.biBitCount = 32;
    void* memory = nullptr;
    HBITMAP section = CreateDIBSection(dc, &target, DIB_RGB_COLORS, &memory, nullptr, 0);
    if (section) {
        out.converted = SetDIBits(dc, section, 0, UINT(rows), bits.data(),
                                  reinterpret_cast<BITMAPINFO*>(info.data()), DIB_RGB_COLORS) > 0;
        GdiFlush();
        out.width = width;
        out.height = int(rows);
        const uint32_t* p = static_cast<const uint32_t*>(memory);
        out.pixels.assign(p, p + size_t(width) * rows);
        DeleteObject(section);
    }
    DeleteDC(dc);
    return out;
}

int channelDifference(uint32_t a, uint32_t b) {
    int most = 0;
    for (int shift = 0; shift < 24; shift += 8)
        most = std::max(most, std::abs(int(a >> shift & 255) - int(b >> shift & 255)));
    return most;
}

TEST(BitmapSuite, DecodedPixelsEqualWhatGdiMakesOfTheFile) {
    // Where the two may differ: a field of 1 to 3 bits Wine's GDI repeats only once (1 bit
    // gives 192), the reader until 8 bits are filled; a file that ends before its image size does GDI reads as if zeros
    // followed, the reader refuses it.
    const std::map<std::string, int> mostDifference = {
        {"q/rgb16-231.bmp", 63}, {"q/rgb16-3103.bmp", 3}, {"q/rgba16-1924.bmp", 63},
    };
    const std::vector<std::string> gdiOnly = {"b/shortfile.bmp", "b/badbitssize.bmp"};
    int compared = 0;
    for (const SuiteFile& f : bitmapSuite()) {
        SCOPED_TRACE(f.name);
        const std::vector<unsigned char> file = readWholeFile(bitmapSuiteDir() + f.name);
        ASSERT_GE(file.size(), 30u);
        const GdiPicture gdi = convertWithGdi(file);
        orv::Bitmap ours;
        const bool decoded = orv::decodeBitmap(file.data(), file.size(), ours) ==
                             orv::BitmapStatus::ok;
        const bool expectGdiOnly =
            std::find(gdiOnly.begin(), gdiOnly.end(), f.name) != gdiOnly.end();
        EXPECT_EQ(gdi.converted, decoded || expectGdiOnly);
        if (!decoded || !gdi.converted) continue;
        ASSERT_EQ(ours.width, gdi.width);
        ASSERT_EQ(ours.height, gdi.height);
        const auto allowed = mostDifference.find(f.name);
        const int tolerance = allowed == mostDifference.end() ? 0 : allowed->second;
        int worst = 0;
        for (size_t i = 0; i < gdi.pixels.size(); ++i)
            worst = std::max(worst, channelDifference(ours.pixels[i], gdi.pixels[i]));
        EXPECT_LE(worst, tolerance);
        if (tolerance > 0) {
            EXPECT_GT(worst, 0) << "the difference allowed is no longer needed";
        }
        ++compared;
    }
    EXPECT_EQ(compared, 74);
}

}  // namespace
