#include "raytrace/trace_row.h"

#include "raytrace/pixel.h"
#include "raytrace/shade.h"

namespace orv {

namespace {

Vec3 traceScreenPoint(RenderContext& ctx, double x, double y, int32_t column, int32_t row) {
    return tracePrimary(ctx, primaryDirection(ctx, x, y), column - ctx.centreX,
                        row - ctx.centreY);
}

}  // namespace

uint32_t tracePixel(RenderContext& ctx, int32_t column, int32_t row) {
    return packPixel(
        traceScreenPoint(ctx, screenX(ctx, column), screenY(ctx, row), column, row));
}

bool traceRow(RenderContext& ctx, int32_t row, uint32_t* buffer, CancelCheck cancel,
              void* user) {
    for (int32_t c = 0; c < ctx.width; ++c) {
        buffer[c + 1] = tracePixel(ctx, c, row);
        if (cancel && cancel(user)) return false;
    }
    buffer[0] = buffer[1];
    buffer[ctx.width + 1] = buffer[ctx.width];
    return true;
}

void antialiasRow(RenderContext& ctx, int32_t row, const uint32_t* older, uint32_t* middle,
                  const uint32_t* newer) {
    for (int32_t c = 0; c < ctx.width; ++c) {
        const int32_t i = c + 1;
        const uint32_t neighbours[8] = {middle[i - 1], middle[i + 1], older[i - 1], older[i + 1],
                                        older[i],      newer[i - 1],  newer[i + 1], newer[i]};
        bool differs = false;
        for (uint32_t n : neighbours) {
            if (coloursDiffer(middle[i], n)) {
                differs = true;
                break;
            }
        }
        if (!differs) continue;
        ScreenPoint samples[4];
        antialiasSamples(ctx, screenX(ctx, c), screenY(ctx, row), samples);
        Vec3 sum = unpackPixel(middle[i]);
        for (const ScreenPoint& p : samples) sum = sum + traceScreenPoint(ctx, p.x, p.y, c, row);
        middle[i] = packPixel(sum * 0.2);
    }
}

}  // namespace orv
