// Copies of a material with images of their own: what they take and leave, and a copy made
// while another thread reads the record's images under the texture lock, as a viewer does.
#include "appearance/material_copy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "appearance/texture_build.h"
#include "core/checked_alloc.h"
#include "core/process_lock.h"
#include "core/record_lifecycle.h"

namespace {

// A side x side image of one colour (the bytes red, green, blue, 255) in slot.
void paint(OrvTextureSlot& slot, uint32_t side, uint8_t red) {
    auto* pixels = static_cast<uint32_t*>(orv::checkedAlloc(4 * size_t(side) * side));
    for (size_t i = 0; i < size_t(side) * side; ++i) pixels[i] = 0xFF000000u | red;
    orv::installTexturePixels(slot, side, pixels);
}

struct Materials {
    Mat* a = orv::createMat("A");
    Mat* b = orv::createMat("B");
    ~Materials() {
        orv::disposeMat(a);
        orv::disposeMat(b);
    }
};

// A copy waits while another thread (a viewer, the raytracer) holds the process lock.
TEST(MaterialCopy, CopiesWaitForTheProcessLock) {
    Materials m;
    std::atomic<bool> holding{false}, released{false};
    std::thread reader([&] {
        orv::ProcessLockScope lock;
        holding = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        released = true;
    });
    while (!holding) std::this_thread::yield();
    orv::copyMaterialBody(*m.b, *m.a);
    EXPECT_TRUE(released) << "the copy ran while another thread held the lock";
    reader.join();
}

TEST(MaterialCopy, CopiesTakeTheBodyWithImagesOfTheirOwn) {
    Materials m;
    paint(m.a->slots[0], 4, 200);
    paint(m.a->slots[2], 2, 50);
    m.a->shininess = 42;
    m.a->textureRotation = {1, 2, 3};
    paint(m.b->slots[1], 8, 9);  // b's image in a slot a leaves empty: freed by the copy
    paint(m.b->slots[2], 2, 7);  // kept: the slot b keeps
    void* const bTool = reinterpret_cast<void*>(0x1234);
    m.b->tool = bTool;

    orv::copyMaterialBody(*m.b, *m.a, 2);
    EXPECT_STREQ(m.b->name, "B");
    EXPECT_EQ(m.b->tool, bTool);
    // Packed fields are read through copies: a reference to one may be misaligned.
    const double shininess = m.b->shininess, turnZ = m.b->textureRotation.z;
    const uint8_t *copied = m.b->slots[0].pixels, *original = m.a->slots[0].pixels;
    const uint8_t *freed = m.b->slots[1].pixels, *kept = m.b->slots[2].pixels;
    const uint32_t freedBytes = m.b->slots[1].pixelBytes;
    EXPECT_EQ(shininess, 42);
    EXPECT_EQ(turnZ, 3);
    ASSERT_NE(copied, nullptr);
    EXPECT_NE(copied, original);
    EXPECT_EQ(std::memcmp(copied, original, 64), 0);
    EXPECT_EQ(freed, nullptr);
    EXPECT_EQ(freedBytes, 0u);
    EXPECT_EQ(kept[0], 7);
    m.b->tool = nullptr;

    // The snapshot brings everything back, whatever happened to the record in between.
    Mat* snapshot = orv::takeMaterialSnapshot(*m.b);
    Mat* before = orv::createMat("B");
    orv::copyMaterialBody(*before, *m.b);
    m.b->diffuse = {0, 0, 1};
    paint(m.b->slots[0], 16, 1);
    orv::freeTexturePixels(m.b->slots[2]);
    orv::restoreMaterialSnapshot(*m.b, *snapshot);
    EXPECT_TRUE(orv::matEqual(m.b, false, before, false));
    orv::freeMaterialSnapshot(snapshot);
    orv::disposeMat(before);
}

// A writer replacing the record's surface image (as a texture page's OK and a Cancel do) and a
// reader going over it under the lock: every image read is whole, one colour throughout.
TEST(MaterialCopy, ReadersUnderTheLockNeverSeeAHalfCopiedImage) {
    Materials m;
    Mat* page = orv::createMat("Seite");
    paint(page->slots[0], 64, 10);
    paint(m.a->slots[0], 32, 20);
    Mat* snapshot = orv::takeMaterialSnapshot(*m.a);
    std::atomic<bool> done{false};
    std::atomic<int> torn{0}, reads{0};
    std::thread reader([&] {
        while (!done) {
            orv::ProcessLockScope lock;
            const OrvTextureSlot& s = m.a->slots[0];
            if (!s.pixels) continue;
            for (size_t i = 4; i < s.pixelBytes; i += 4) torn += s.pixels[i] != s.pixels[0];
            ++reads;
        }
    });
    int rounds = 0;
    for (; rounds < 200 || reads < 100; ++rounds) {
        if (rounds % 2) {
            orv::copyTextureSlot(m.a->slots[0], page->slots[0]);
        } else {
            orv::restoreMaterialSnapshot(*m.a, *snapshot);
        }
    }
    done = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(m.a->slots[0].side, rounds % 2 ? 32u : 64u);  // the last copy holds
    orv::freeMaterialSnapshot(snapshot);
    orv::disposeMat(page);
}

}  // namespace
