// The colour page as the light, environment and material tools place it: which colour of the
// record it edits and how it is dressed.
#pragma once

#include <cstddef>

#include "pages/preview_page_win32.h"

namespace orv {

struct ColourDesign {
    size_t colourOffset;  // the Vec3 edited, at this offset in the record
    Edited edited;
    int materialPage;     // a material page's place: its colour becomes that custom colour
    bool copyDiffuse;     // "Kopie Diffus" is shown
};

ToolPage* makeColourPage(ToolBlock& tool, const ColourDesign& design);

}  // namespace orv
