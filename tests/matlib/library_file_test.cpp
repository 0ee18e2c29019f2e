// The material library file: materials through a file and back, a shorter library over a
// longer one, the entries kept before the first that cannot be a material block.
#include "matlib/library_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/record_lifecycle.h"
#include "matlib/library_store.h"
#include "matlib/material_list.h"
#include "support/temp_folder.h"

namespace {

using orv::LibraryStop;

// A block as getMat writes it: a fresh record named name whose slot k announces an image of
// images[k] bytes (side 2 and a stale pixels value; no image for 0), then body image bytes
// counting up from 0.
std::vector<uint8_t> block(const char* name, std::vector<uint32_t> images = {}, size_t body = 0) {
    Mat* fresh = orv::createMat(name);
    Mat record = *fresh;
    orv::disposeMat(fresh);
    for (size_t k = 0; k < images.size(); ++k) {
        record.slots[k].pixelBytes = images[k];
        record.slots[k].side = 2;
        record.slots[k].pixels =
            images[k] ? reinterpret_cast<uint8_t*>(uintptr_t(0x1000)) : nullptr;
    }
    std::vector<uint8_t> bytes(sizeof record + body);
    std::memcpy(bytes.data(), &record, sizeof record);
    for (size_t i = 0; i < body; ++i) bytes[sizeof record + i] = uint8_t(i);
    return bytes;
}

TEST(LibraryFile, MaterialsGoThroughAFileAndBack) {
    Mat* mats[4] = {orv::createMat(""), nullptr, orv::createMat(""), orv::createMat("")};
    orv::putMat(*mats[0], block("Plain").data());
    mats[0]->slots[1].pixelBytes = 64;  // a stale size in an empty slot announces nothing
    orv::putMat(*mats[2], block("Surface", {16}, 16).data());
    orv::putMat(*mats[3], block("Two", {0, 16, 0, 16}, 32).data());
    const std::vector<uint8_t> bytes = orv::libraryBytes(mats, 4);  // the null one left out
    EXPECT_EQ(bytes.size(), (4 + 6300u) + (4 + 6316u) + (4 + 6332u));

    TempFolder folder;
    const std::string path = folder.file("round.msl");
    ASSERT_TRUE(orv::writeLibraryFile(path.c_str(), bytes));
    std::vector<uint8_t> read;
    ASSERT_TRUE(orv::readLibraryFile(path.c_str(), read));
    EXPECT_EQ(read, bytes);

    Mat* loaded[4] = {};
    ASSERT_EQ(orv::loadLibrary(read.data(), read.size(), loaded, 4), 3u);
    EXPECT_TRUE(orv::matEqual(loaded[0], false, mats[0], false));
    EXPECT_TRUE(orv::matEqual(loaded[1], false, mats[2], false));
    EXPECT_TRUE(orv::matEqual(loaded[2], false, mats[3], false));
    // Packed fields through copies: a reference to one may be misaligned.
    const uint8_t *first = loaded[1]->slots[0].pixels, *second = loaded[2]->slots[3].pixels;
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first[15], 15);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second[0], 16);  // the images follow in slot order
    for (Mat* mat : {mats[0], mats[2], mats[3], loaded[0], loaded[1], loaded[2]})
        orv::disposeMat(mat);
}

TEST(LibraryFile, AShorterLibraryLeavesTheOldTailToBeReadOn) {
    std::vector<uint8_t> longer, shorter;
    for (const char* name : {"A", "B", "C"})
        orv::appendLibraryEntry(longer, block(name).data(), 6300);
    orv::appendLibraryEntry(shorter, block("D").data(), 6300);
    TempFolder folder;
    const std::string path = folder.file("over.msl");
    ASSERT_TRUE(orv::writeLibraryFile(path.c_str(), longer));
    ASSERT_TRUE(orv::writeLibraryFile(path.c_str(), shorter));

    std::vector<uint8_t> read;
    ASSERT_TRUE(orv::readLibraryFile(path.c_str(), read));
    EXPECT_EQ(read.size(), 3 * (4 + 6300u));
    Mat* loaded[2] = {};
    ASSERT_EQ(orv::loadLibrary(read.data(), read.size(), loaded, 2), 2u);  // `most` of three
    EXPECT_STREQ(loaded[0]->name, "D");
    EXPECT_STREQ(loaded[1]->name, "B");
    for (Mat* mat : loaded) orv::disposeMat(mat);
}

TEST(LibraryFile, AnEmptyFileHoldsNoMaterialsAndAMissingOneCannotBeRead) {
    TempFolder folder;
    std::vector<uint8_t> read{1};
    EXPECT_FALSE(orv::readLibraryFile(folder.file("missing.msl").c_str(), read));
    ASSERT_TRUE(orv::readLibraryFile(folder.write("empty.msl", "").c_str(), read));
    EXPECT_TRUE(read.empty());
    const orv::LibraryScan scan = orv::scanLibrary(read.data(), 0);
    EXPECT_TRUE(scan.entries.empty());
    EXPECT_EQ(scan.stop, LibraryStop::end);
    EXPECT_EQ(scan.stopOffset, 0u);
    Mat* none = nullptr;
    EXPECT_EQ(orv::loadLibrary(read.data(), 0, &none, 1), 0u);
}

// A good entry, then an entry of the first `count` bytes of block("Bad", images, body) with its
// last `drop` bytes cut off.
struct Corrupt {
    const char* what;
    std::vector<uint32_t> images;
    size_t body;
    uint32_t count;
    size_t drop;
    LibraryStop stop;
};
const Corrupt kCorrupt[] = {
    {"three bytes of a count", {}, 0, 6300, 6301, LibraryStop::countCut},
    {"a count below the record", {}, 0, 6299, 0, LibraryStop::countTooSmall},
    {"a count one past the end", {}, 0, 6300, 1, LibraryStop::countPastEnd},
    {"an announced image missing", {16}, 0, 6300, 0, LibraryStop::imageSizes},
    {"image bytes no slot announces", {}, 16, 6316, 0, LibraryStop::imageSizes},
    {"sizes summing past 32 bits", {0xFFFFFFF0u, 0x20}, 16, 6316, 0, LibraryStop::imageSizes},
};

TEST(LibraryFile, CorruptEntriesKeepTheEntriesBeforeThem) {
    const std::vector<uint8_t> good = block("Kept", {16}, 16);
    for (const Corrupt& c : kCorrupt) {
        SCOPED_TRACE(c.what);
        std::vector<uint8_t> bytes;
        orv::appendLibraryEntry(bytes, good.data(), uint32_t(good.size()));
        orv::appendLibraryEntry(bytes, block("Bad", c.images, c.body).data(), c.count);
        bytes.resize(bytes.size() - c.drop);

        const orv::LibraryScan scan = orv::scanLibrary(bytes.data(), bytes.size());
        ASSERT_EQ(scan.entries.size(), 1u);
        EXPECT_EQ(scan.entries[0].offset, 4u);
        EXPECT_EQ(scan.entries[0].size, 6316u);
        EXPECT_EQ(scan.stop, c.stop);
        EXPECT_EQ(scan.stopOffset, 6320u);
        Mat* loaded[2] = {};
        ASSERT_EQ(orv::loadLibrary(bytes.data(), bytes.size(), loaded, 2), 1u);
        EXPECT_TRUE(orv::matEqual(loaded[0], false, good.data(), true));
        orv::disposeMat(loaded[0]);
    }
}

// A list of the window: freed slots are taken first, the 1,025th material is refused, and an
// equal material is found whatever its place.
TEST(LibraryFile, ListsReuseFreedSlotsAndHoldAtMost1024) {
    orv::MaterialList list;
    std::vector<Mat*> mats;
    for (size_t i = 0; i < orv::MaterialList::kMost; ++i) {
        mats.push_back(orv::createMat("M"));
        mats.back()->shininess = double(i);
        ASSERT_EQ(list.insert(mats.back()), int(i));
    }
    Mat* extra = orv::createMat("M");
    EXPECT_EQ(list.insert(extra), -1);
    EXPECT_EQ(list.take(7), mats[7]);
    EXPECT_EQ(list.count(), orv::MaterialList::kMost - 1);
    EXPECT_EQ(list.insert(extra), 7);
    Mat* twin = orv::copyMaterial(*mats[500]);
    orv::setHandleName(twin, "M");
    EXPECT_TRUE(list.holdsEqual(*twin));
    twin->shininess = -1;
    EXPECT_FALSE(list.holdsEqual(*twin));
    orv::disposeMat(twin);
    orv::disposeMat(mats[7]);
    list.clear(true);
    EXPECT_EQ(list.used(), 0u);
}

}  // namespace
