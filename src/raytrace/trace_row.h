// One row of the image: primary rays per column, and the adaptive antialiasing of a row
// against its neighbours. The driver adds threads, buffers and delivery around these.
#pragma once

#include <cstdint>

#include "raytrace/render_context.h"

namespace orv {

// Called after each pixel; returning true cancels the row.
using CancelCheck = bool (*)(void* user);

// Packed colour of pixel (column, row); any row, also -1 and height.
uint32_t tracePixel(RenderContext& ctx, int32_t column, int32_t row);
// Fills buffer[0 .. width + 1]: pixel c at c + 1, the ends repeating their neighbours.
// Returns false when cancel (may be null) asked to stop; the buffer is then incomplete.
bool traceRow(RenderContext& ctx, int32_t row, uint32_t* buffer, CancelCheck cancel,
              void* user);
// Antialiases `middle` (the row `row`, width + 2 entries) in place: a pixel that differs from
// one of its eight neighbours in `older`, `middle` and `newer` becomes the mean of itself and
// four more rays.
void antialiasRow(RenderContext& ctx, int32_t row, const uint32_t* older, uint32_t* middle,
                  const uint32_t* newer);

}  // namespace orv
