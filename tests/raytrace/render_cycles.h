// Render/cancel cycles through the exports: a small image of the host scene, rendered in full
// and cancelled by the row callback at a pseudo-random row in turn, so that both ways a render
// ends repeat many times over (leaks and races show up as growth or sanitizer reports).
#pragma once

#include <random>
#include <string>
#include <vector>

#include "raytrace_host.h"

namespace orv_test {

struct CycleRows {
    std::vector<int> deliveries;  // per row
    int calls = 0;
    int cancelAtCall = -1;  // the call (0-based) that returns 0; -1 never
};

inline int32_t cycleRow(const uint8_t*, int32_t, int32_t row, void* user) {
    auto* rows = static_cast<CycleRows*>(user);
    if (row >= 0 && row < static_cast<int32_t>(rows->deliveries.size())) ++rows->deliveries[row];
    return rows->calls++ == rows->cancelAtCall ? 0 : 1;
}

// Runs `cycles` renders with the current thread count: even ones in full, odd ones cancelled
// at a row call drawn from a fixed seed. Returns the first broken promise, or "" when none:
// a full render delivers every row, a cancelled one at most one more row per worker.
inline std::string renderCancelCycles(int cycles, int32_t width, int32_t height, int32_t threads) {
    std::minstd_rand random(20260405);
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const bool cancel = cycle % 2 == 1;
        CycleRows rows;
        rows.deliveries.assign(static_cast<size_t>(height), 0);
        if (cancel) rows.cancelAtCall = static_cast<int>(random() % static_cast<unsigned>(height));
        GeometryHost host;
        RaytraceToDevice(nullptr, kEye, kTarget, kUp, 60, 1, 0, 0, 1, 0, 0, width, height, nullptr,
                         kHostBackground, nullptr, 0, 0, shortGeometry, &host, cycleRow, &rows);
        const std::string at = "cycle " + std::to_string(cycle) + ": ";
        if (cancel && rows.calls > rows.cancelAtCall + 1 + threads) {
            return at + "cancelled at call " + std::to_string(rows.cancelAtCall) + " but " +
                   std::to_string(rows.calls) + " rows delivered";
        }
        for (int32_t r = 0; !cancel && r < height; ++r) {
            if (rows.deliveries[r] == 0) return at + "row " + std::to_string(r) + " missing";
        }
    }
    return "";
}

}  // namespace orv_test
