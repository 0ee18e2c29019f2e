// A radio button of a texture page or the text dialog and the value it gives a field of the
// texture slot.
#pragma once

#include <cstdint>

#include "orvanta.h"

namespace orv {

struct SlotChoice {
    int id;
    uint32_t OrvTextureSlot::*field;
    uint32_t value;
};

}  // namespace orv
