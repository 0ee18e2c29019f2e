// A material library thumbnail: the preview's sphere of the material under the preview's three
// fixed lights, raytraced by the library's engine on the calling thread's behalf.
#pragma once

#include <cstdint>

#include "orvanta.h"

namespace orv {

// Traces a size x size picture of mat into pixels (size x size words 0x00BBGGRR, top row
// first) and returns once it is whole. Reads mat only; call it on a copy that no editor
// changes meanwhile.
void renderThumbnail(const Mat& mat, int size, uint32_t* pixels);

}  // namespace orv
