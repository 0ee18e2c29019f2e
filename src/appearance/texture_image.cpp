#include "appearance/texture_image.h"

#include <cstring>

#include "appearance/bitmap_decode.h"
#include "appearance/texture_build.h"
#include "core/message_box.h"
#include "i18n/localise.h"

namespace orv {

int32_t loadTextureImage(OrvTextureSlot& slot, const char* path, bool ask, bool quiet,
                         void* owner) {
    Bitmap bitmap;
    BuildResult result = BuildResult::failed;
    if (readBitmapFile(path, bitmap) == BitmapStatus::ok)
        result = buildTextureImage(slot, {bitmap.width, bitmap.height, bitmap.pixels.get()}, ask,
                                   owner);
    if (result == BuildResult::failed && !quiet)
        // 118 "Die Datei kann nicht geöffnet werden." under 117 "Bild laden".
        showLocalisedMessage(owner, 118, 117, 0, kMbOk | kMbIconExclamation);
    return result == BuildResult::built ? 1 : 0;
}

int32_t rebuildTexture(OrvTextureSlot& slot, bool quiet, void* owner) {
    freeTexturePixels(slot);
    if (slot.source == 1) {
        // A host's record may fill the whole field: read it as a terminated copy.
        char path[sizeof slot.imagePath + 1] = {};
        std::memcpy(path, slot.imagePath, sizeof slot.imagePath);
        return path[0] ? loadTextureImage(slot, path, false, quiet, owner) : 0;
    }
    if (slot.source == 2) return renderTextTexture(slot);
    return 1;
}

int32_t loadSlotImage(OrvTextureSlot& slot, const char* path, int32_t pad) {
    if (std::strlen(path) >= sizeof slot.imagePath) return 0;
    const uint32_t padded = slot.padded;
    if (pad >= 0) slot.padded = pad ? 1 : 0;
    if (!loadTextureImage(slot, path, pad < 0, true, nullptr)) {
        slot.padded = padded;
        return 0;
    }
    slot.source = 1;
    std::memset(slot.imagePath, 0, sizeof slot.imagePath);
    std::memcpy(slot.imagePath, path, std::strlen(path));
    return 1;
}

}  // namespace orv
