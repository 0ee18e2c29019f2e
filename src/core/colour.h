// Win32 colours (0x00BBGGRR) and the records' colour triples (0..1 per channel).
#pragma once

#include <cstdint>

#include "orvanta.h"

namespace orv {

// Each byte times 1/255; the factor is applied as this double everywhere in the library.
constexpr double kByteToUnit = 0.00392156862745098;

constexpr OrvVec3 colourFromRef(uint32_t ref) {
    return {(ref & 0xFF) * kByteToUnit, ((ref >> 8) & 0xFF) * kByteToUnit,
            ((ref >> 16) & 0xFF) * kByteToUnit};
}

}  // namespace orv
