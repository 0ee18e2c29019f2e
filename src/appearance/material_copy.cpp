#include "appearance/material_copy.h"

#include <cstddef>
#include <cstring>

#include "core/checked_alloc.h"
#include "core/process_lock.h"

namespace orv {

namespace {

// from's pixels in a buffer of their own, or null.
uint8_t* duplicatePixels(const OrvTextureSlot& from) {
    if (!from.pixels || from.pixelBytes == 0) return nullptr;
    auto* pixels = static_cast<uint8_t*>(checkedAlloc(from.pixelBytes));
    std::memcpy(pixels, from.pixels, from.pixelBytes);
    return pixels;
}

// The caller holds the texture lock.
void copySlotLocked(OrvTextureSlot& to, const OrvTextureSlot& from) {
    if (&to == &from) return;
    uint8_t* pixels = duplicatePixels(from);
    checkedFree(to.pixels);
    std::memcpy(&to, &from, sizeof to);
    to.pixels = pixels;
    if (!pixels) to.pixelBytes = 0;
}

}  // namespace

void copyTextureSlot(OrvTextureSlot& to, const OrvTextureSlot& from) {
    ProcessLockScope lock;
    copySlotLocked(to, from);
}

void copyMaterialBody(Mat& to, const Mat& from, int keepSlot) {
    if (&to == &from) return;
    ProcessLockScope lock;
    const auto span = [&](size_t begin, size_t end) {
        std::memcpy(reinterpret_cast<char*>(&to) + begin,
                    reinterpret_cast<const char*>(&from) + begin, end - begin);
    };
    span(offsetof(Mat, ambient), offsetof(Mat, slots));
    for (int k = 0; k < 4; ++k)
        if (k != keepSlot) copySlotLocked(to.slots[k], from.slots[k]);
    span(offsetof(Mat, texturePosition), offsetof(Mat, tool));
    span(offsetof(Mat, reserved), sizeof(Mat));
}

Mat* takeMaterialSnapshot(const Mat& mat) {
    auto* snapshot = static_cast<Mat*>(checkedAlloc(sizeof(Mat)));
    std::memset(snapshot, 0, sizeof(Mat));
    copyMaterialBody(*snapshot, mat);
    return snapshot;
}

void restoreMaterialSnapshot(Mat& mat, const Mat& snapshot) {
    copyMaterialBody(mat, snapshot);
}

void freeMaterialSnapshot(Mat* snapshot) {
    if (!snapshot) return;
    {
        ProcessLockScope lock;
        for (OrvTextureSlot& slot : snapshot->slots) checkedFree(slot.pixels);
    }
    checkedFree(snapshot);
}

}  // namespace orv
