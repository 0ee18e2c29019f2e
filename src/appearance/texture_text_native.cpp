// Text textures natively: drawing text with a LOGFONTA needs GDI, so the native library
// builds none.
#include "appearance/texture_image.h"

namespace orv {

int32_t renderTextTexture(OrvTextureSlot&) { return 0; }

}  // namespace orv
