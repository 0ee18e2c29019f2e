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

// Each channel times 255, truncated: the Win32 colour of a colour triple.
constexpr uint32_t colourToRef(const OrvVec3& c) {
    return (uint32_t(int(c.x * 255)) & 0xFF) | (uint32_t(int(c.y * 255)) & 0xFF) << 8 |
           (uint32_t(int(c.z * 255)) & 0xFF) << 16;
}

}  // namespace orv
