// The BMP Suite through the reader: every file listed with its outcome, the same outcome from
// memory and from disk, and decoded pictures within their stated size.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "appearance/bitmap_suite.h"

namespace {

using orv::Bitmap;
using orv::BitmapStatus;

TEST(BitmapSuite, EveryFileOfTheSuiteIsListed) {
    std::set<std::string> listed, present;
    for (const SuiteFile& f : bitmapSuite()) listed.insert(f.name);
    for (const char* folder : {"g", "q", "b"}) {
        const std::filesystem::path dir = bitmapSuiteDir() + folder;
        ASSERT_TRUE(std::filesystem::is_directory(dir))
            << dir << " is missing: the suite lies in tests/data/bmpsuite, "
            << "or set ORVANTA_TESTDATA_DIR";
        for (const auto& entry : std::filesystem::directory_iterator(dir))
            present.insert(std::string(folder) + "/" + entry.path().filename().string());
    }
    EXPECT_EQ(listed, present);
}

TEST(BitmapSuite, EachFileDecodesOrIsRefusedAsListed) {
    for (const SuiteFile& f : bitmapSuite()) {
        SCOPED_TRACE(f.name);
        const std::string path = bitmapSuiteDir() + f.name;
        const std::vector<unsigned char> bytes = readWholeFile(path);
        ASSERT_FALSE(bytes.empty());
        Bitmap fromMemory, fromDisk;
        EXPECT_EQ(orv::decodeBitmap(bytes.data(), bytes.size(), fromMemory), f.status);
        EXPECT_EQ(orv::readBitmapFile(path.c_str(), fromDisk), f.status);
        if (f.status != BitmapStatus::ok) {
            EXPECT_EQ(fromDisk.pixels, nullptr);
            continue;
        }
        ASSERT_EQ(fromMemory.width, fromDisk.width);
        ASSERT_EQ(fromMemory.height, fromDisk.height);
        const size_t count = size_t(fromDisk.width) * fromDisk.height;
        EXPECT_TRUE(std::equal(fromMemory.pixels.get(), fromMemory.pixels.get() + count,
                               fromDisk.pixels.get()));
        // Decoded pixels keep their fourth byte 0.
        EXPECT_TRUE(std::all_of(fromDisk.pixels.get(), fromDisk.pixels.get() + count,
                                [](uint32_t p) { return p >> 24 == 0; }));
    }
}

}  // namespace
