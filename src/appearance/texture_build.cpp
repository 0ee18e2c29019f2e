#include "appearance/texture_build.h"

#include "appearance/texture_mirror.h"
#include "appearance/texture_stretch.h"
#include "core/checked_alloc.h"
#include "core/message_box.h"
#include "core/process_lock.h"
#include "i18n/localise.h"

namespace orv {

uint32_t textureSide(uint32_t edge) {
    uint32_t side = 2;
    while (side < edge) {
        if (side == 0x80000000u) return 0;
        side <<= 1;
    }
    return side;
}

void finishTexturePixels(uint32_t* pixels, size_t count, bool inverted, bool grey) {
    uint8_t* bytes = reinterpret_cast<uint8_t*>(pixels);
    for (size_t i = 0; i < count; ++i, bytes += 4) {
        uint32_t red = bytes[2], green = bytes[1], blue = bytes[0];
        if (inverted) red = 255 - red, green = 255 - green, blue = 255 - blue;
        if (grey) red = green = blue = uint32_t((red + green + blue) * 0.3333333333333333);
        bytes[0] = uint8_t(red);
        bytes[1] = uint8_t(green);
        bytes[2] = uint8_t(blue);
        bytes[3] = 255;
    }
}

void installTexturePixels(OrvTextureSlot& slot, uint32_t side, uint32_t* pixels) {
    ProcessLockScope lock;  // the viewer and the raytracer read the pixels under this lock
    checkedFree(slot.pixels);
    slot.pixels = reinterpret_cast<uint8_t*>(pixels);
    slot.side = side;
    slot.pixelBytes = 4 * side * side;
}

void freeTexturePixels(OrvTextureSlot& slot) {
    ProcessLockScope lock;
    checkedFree(slot.pixels);
    slot.pixels = nullptr;
    slot.pixelBytes = 0;
}

BuildResult buildTextureImage(OrvTextureSlot& slot, const PictureView& picture, bool ask,
                              void* owner) {
    const uint32_t w = uint32_t(picture.width), h = uint32_t(picture.height);
    uint32_t edge = w;
    if (w != h) {
        bool pad = slot.padded != 0;
        if (ask) {
            // 119 "Das Bild ist nicht quadratisch. ..." under 117 "Bild laden".
            const int32_t answer =
                showLocalisedMessage(owner, 119, 117, 0, kMbYesNoCancel | kMbIconQuestion);
            if (answer != kIdYes && answer != kIdNo) return BuildResult::cancelled;
            pad = answer == kIdYes;
            slot.padded = pad ? 1 : 0;
        }
        edge = pad ? (w > h ? w : h) : (w < h ? w : h);
    } else {
        slot.padded = 0;
    }

    const uint32_t side = textureSide(edge);
    if (side == 0 || side > kMaxTextureSide) return BuildResult::failed;
    uint32_t* pixels = static_cast<uint32_t*>(checkedAlloc(size_t(4) * side * side));
    if (!stretchIntoSquare(picture, edge, side, pixels)) {
        checkedFree(pixels);
        return BuildResult::failed;
    }
    mirrorTexturePixels(pixels, side, slot.mirrorX != 0, slot.mirrorY != 0);
    finishTexturePixels(pixels, size_t(side) * side, slot.inverted != 0, slot.grey != 0);
    installTexturePixels(slot, side, pixels);
    return BuildResult::built;
}

}  // namespace orv
