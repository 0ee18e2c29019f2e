// The raytrace driver through its exports: every row reaches the row callback with the pixels
// of a reference traced here row by row, for both forms of the geometry callback and every
// thread count; height 1; cancelling from the row callback.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "raytrace_host.h"

namespace {

using orv_test::RgbImage;

struct RowLog {
    std::vector<std::vector<std::vector<uint8_t>>> deliveries;  // per row, every delivery
    int calls = 0;
    int cancelAtCall = -1;  // the call (0-based) that returns 0
};

int32_t logRow(const uint8_t* rgb, int32_t count, int32_t row, void* user) {
    auto* log = static_cast<RowLog*>(user);
    const int call = log->calls++;
    if (row >= 0 && row < static_cast<int32_t>(log->deliveries.size()) && rgb) {
        log->deliveries[row].emplace_back(rgb, rgb + 3 * count);
    }
    return call == log->cancelAtCall ? 0 : 1;
}

struct RenderResult {
    RowLog log;
    int geometryCalls = 0;
    int32_t returned = 0;
};

RenderResult render(bool longForm, int32_t width, int32_t height, int cancelAtCall = -1) {
    RenderResult result;
    result.log.deliveries.resize(std::max(height, 0));
    result.log.cancelAtCall = cancelAtCall;
    orv_test::GeometryHost host;
    using orv_test::kEye, orv_test::kTarget, orv_test::kUp;
    if (longForm) {
        result.returned =
            RaytraceToDevice2(nullptr, kEye, kTarget, kUp, 60, 1, 0, 0, 1, 0, 0, width, height,
                              nullptr, orv_test::kHostBackground, nullptr, 0, 0,
                              orv_test::longGeometry, &host, logRow, &result.log);
    } else {
        result.returned = RaytraceToDevice(nullptr, kEye, kTarget, kUp, 60, 1, 0, 0, 1, 0, 0, width,
                                           height, nullptr, orv_test::kHostBackground, nullptr, 0,
                                           0, orv_test::shortGeometry, &host, logRow, &result.log);
    }
    result.geometryCalls = host.calls;
    return result;
}

class RenderDriverTest : public ::testing::Test {
protected:
    void TearDown() override { SetRaytraceThreads(2); }
};

// Every row delivered once, or twice where two workers meet, always with the reference pixels.
void expectImage(const RgbImage& want, const RowLog& log, const char* label) {
    for (size_t r = 0; r < want.size(); ++r) {
        const auto& got = log.deliveries[r];
        EXPECT_TRUE(got.size() == 1 || got.size() == 2)
            << label << ": row " << r << " delivered " << got.size() << " times";
        for (const auto& rgb : got) {
            const int at = orv_test::firstDifference(want[r], rgb);
            if (at < 0) continue;
            ADD_FAILURE() << label << ": row " << r << " byte " << at << " want "
                          << int(want[r][at]) << " got " << (at < int(rgb.size()) ? rgb[at] : -1);
            return;
        }
    }
}

TEST_F(RenderDriverTest, EveryThreadCountDeliversTheReferenceImage) {
    // At this size antialiasing against already antialiased rows would change seven rows.
    const int32_t width = 42, height = 28;
    const RgbImage want = orv_test::referenceImage(width, height);
    const struct {
        int32_t threads;
        bool longForm;
        const char* label;
    } cases[] = {{2, true, "2 threads, long form"},
                 {2, false, "2 threads, short form"},
                 {1, true, "1 thread"},
                 {3, false, "3 threads"},
                 {0, true, "one per core"},
                 {7, true, "7 threads"}};
    for (const auto& c : cases) {
        SetRaytraceThreads(c.threads);
        const RenderResult result = render(c.longForm, width, height);
        EXPECT_EQ(1, result.returned) << c.label;
        EXPECT_EQ(4, result.geometryCalls) << c.label << ": three triangles, then 0";
        expectImage(want, result.log, c.label);
    }
}

TEST_F(RenderDriverTest, HeightOneDeliversRowZero) {
    const RgbImage want = orv_test::referenceImage(24, 1);
    for (int32_t threads : {1, 2, 3}) {
        SetRaytraceThreads(threads);
        const RenderResult result = render(true, 24, 1);
        const std::string label = std::to_string(threads) + " threads, height 1";
        EXPECT_GE(result.log.calls, 1) << label;
        expectImage(want, result.log, label.c_str());
    }
}

TEST_F(RenderDriverTest, CancelFromTheRowCallbackStopsEveryWorker) {
    const struct {
        int32_t width, height, threads;
    } cases[] = {{300, 200, 2}, {300, 200, 3}, {24, 1, 2}, {24, 2, 2}};
    for (const auto& c : cases) {
        SetRaytraceThreads(c.threads);
        const RenderResult result = render(false, c.width, c.height, 0);
        const std::string label = std::to_string(c.width) + " x " + std::to_string(c.height) +
                                  ", " + std::to_string(c.threads) + " threads";
        // The cancelling row, and at most one row per worker that was already on its way: the
        // workers stopped (the call returning at all shows that the cancel retries ended).
        EXPECT_LE(result.log.calls, 1 + c.threads) << label;
        EXPECT_NE(0, result.returned) << label;
    }
}

TEST_F(RenderDriverTest, ImagesTooLargeForTheRowMessageRenderNothing) {
    for (const auto& size : {std::pair<int32_t, int32_t>{65536, 1}, {1, 65536}, {0, 4}, {4, -1}}) {
        const RenderResult result = render(true, size.first, size.second);
        EXPECT_EQ(0, result.log.calls) << size.first << " x " << size.second;
        EXPECT_EQ(0, result.geometryCalls) << size.first << " x " << size.second;
    }
}

}  // namespace
