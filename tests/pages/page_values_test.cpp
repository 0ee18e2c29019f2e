// The pages' arithmetic with exact values: slider scales, RGB and HSV with their tie order,
// the light's sequential distance rescaling, the fog distances' whole and fractional parts.
#include "pages/page_values.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orv {
namespace {

TEST(PageValues, SlidersMapBothWays) {
    struct Case {
        SliderScale scale;
        double position, value;
    } cases[] = {
        {kPercentSlider, 0, 1.0},
        {kPercentSlider, 100, 0.0},
        {kHueSlider, 0, 1.0},
        {kHueSlider, 240, 120 * kHueSlider.step},
        {kAngleSlider, 0, 90},
        {kAngleSlider, 90, 0},
        {kSharpnessSlider, 128, 0},
        {kDistanceSlider, 100, 0},
        {kDistanceSlider, 75, 2.5},
        {kBrightnessSlider, 100, 1.0},
        {kBrightnessSlider, 0, 2.0},
        // The material's: the gloss value's square is the shininess, so the middle is 25.
        {kGlossSlider, 0, 10},
        {kGlossSlider, 50, 5},
        {kGlossSlider, 100, 0},
        {kOpacitySlider, 0, 0},
        {kOpacitySlider, 30, 0.3},
        {kOpacitySlider, 100, 1},
        {kRefractionSlider, 0, 1.5},
        {kRefractionSlider, 150, 0},
        {kRotationSlider, -180, 180},
        {kRotationSlider, 45, -45},
        {kOffsetSlider, 100, -1},
        {kOffsetSlider, -50, 0.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.position);
        EXPECT_DOUBLE_EQ(c.scale.value(c.position), c.value);
        EXPECT_NEAR(c.scale.position(c.value), c.position, 1e-9);
    }
}

// A link axis's slider: whole steps from the lower limit, the upper limit last even where the
// span is no whole number of steps, and coarser positions once the span exceeds 10000 steps.
TEST(PageValues, StepSlidersRunFromLimitToLimit) {
    const struct {
        StepSlider slider;
        int positions;
        int position;  // of value, and back
        double value;
        int nearest;  // the position of a value between two
        double between;
    } cases[] = {
        {{-180, 180, 1}, 360, 180, 0.0, 91, -89.4},
        {{0, 1, 0.3}, 4, 3, 0.9, 4, 0.96},  // the last, shorter step ends at the limit
        {{0, 10, 4}, 3, 2, 8, 2, 9},        // halfway to the limit: the tie stays below
        {{0, 100, 0.5}, 200, 7, 3.5, 8, 3.9},
        {{0, 1000, 0.01}, 10000, 5000, 500, 2, 0.23},  // 100000 steps: every tenth
        {{2, 2, 1}, 0, 0, 2, 0, 5},                    // no span: one position
        {{5, 10, 0}, 0, 0, 10, 0, 7},                  // no step: nothing to slide
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.slider.high << " by " << c.slider.step);
        EXPECT_EQ(c.slider.positions(), c.positions);
        EXPECT_DOUBLE_EQ(c.slider.value(c.position), c.value);
        EXPECT_EQ(c.slider.position(c.value), c.position);
        EXPECT_EQ(c.slider.position(c.between), c.nearest);
        EXPECT_EQ(c.slider.value(c.positions), c.slider.high);
    }
}

// "Größe" against the reference length 3: the top leaves the size, one step below is 3, the
// bottom 0.03; the size shows in the middle when it is half the reference.
TEST(PageValues, TextureSizeSliderScalesTheReferenceLength) {
    const struct {
        double position, size;
    } cases[] = {{0, 7}, {1, 3}, {51, 1.5}, {100, 0.03}, {101, 7}};
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(textureSizeAt(c.position, 7, 3), c.size);
    EXPECT_EQ(textureSizePosition(1.5, 3), 50);
    EXPECT_EQ(textureSizePosition(0, 0), 50);
}

TEST(PageValues, RgbToHsvFollowsTheTieOrder) {
    struct Case {
        Vec3 rgb;
        Hsv hsv;
    } cases[] = {
        {{1, 0, 0}, {0, 1, 1}},
        {{0, 1, 0}, {1.0 / 3, 1, 1}},
        {{0, 0, 1}, {2.0 / 3, 1, 1}},
        {{1, 1, 0}, {1.0 / 6, 1, 1}},    // red wins the tie with green
        {{0, 1, 1}, {0.5, 1, 1}},        // green wins the tie with blue
        {{1, 0, 1}, {5.0 / 6, 1, 1}},    // red wins, hue below 0 turned
        {{0.5, 0.5, 0.5}, {0, 0, 0.5}},  // grey
        {{0, 0, 0}, {0, 0, 0}},
        {{0.8, 0.4, 0.2}, {(0.4 - 0.2) / 0.6 * 0.16666666666666666, 0.75, 0.8}},
    };
    for (const Case& c : cases) {
        const Hsv hsv = rgbToHsv(c.rgb);
        SCOPED_TRACE(testing::Message() << c.rgb.x << c.rgb.y << c.rgb.z);
        EXPECT_NEAR(hsv.h, c.hsv.h, 1e-15);
        EXPECT_DOUBLE_EQ(hsv.s, c.hsv.s);
        EXPECT_DOUBLE_EQ(hsv.v, c.hsv.v);
    }
}

TEST(PageValues, HsvToRgbAndTheFullTurn) {
    struct Case {
        Hsv hsv;
        Vec3 after;  // from (0.2, 0.3, 0.4)
    } cases[] = {
        {{0, 1, 1}, {1, 0, 0}},
        {{1.0 / 3, 1, 1}, {0, 1, 0}},
        {{0.5, 0.5, 0.8}, {0.4, 0.8, 0.8}},
        {{0.75, 1, 1}, {0.5, 0, 1}},
        {{0.3, 0, 0.25}, {0.25, 0.25, 0.25}},  // no saturation: grey, any hue
        {{1.0, 1, 1}, {0.2, 0.3, 0.4}},        // a full turn leaves the colour
    };
    for (const Case& c : cases) {
        Vec3 rgb = {0.2, 0.3, 0.4};
        hsvToRgb(c.hsv, rgb);
        EXPECT_NEAR(rgb.x, c.after.x, 1e-15);
        EXPECT_NEAR(rgb.y, c.after.y, 1e-15);
        EXPECT_NEAR(rgb.z, c.after.z, 1e-15);
    }
}

TEST(PageValues, LightDistanceRescalesOneComponentAfterAnother) {
    struct Case {
        Vec3 position, target;
        double d;
        Vec3 expected;
    } cases[] = {
        {{3, 0, 4}, {0, 0, 0}, 10, {6, 0, 10 * 4 / std::sqrt(36.0 + 16)}},  // close to, not d
        {{1, 2, 2}, {1, 1, 1}, 0.0005, {1, 2, 2}},                          // below 0.001
        {{2, 2, 2}, {2, 2, 2}, 3, {2, 2, 5}},                               // on its target
        {{0, 0, -2}, {0, 0, 0}, 5, {0, 0, -5}},                             // on an axis: exact
    };
    for (const Case& c : cases) {
        Vec3 p = c.position;
        setLightDistance(p, c.target, c.d);
        EXPECT_DOUBLE_EQ(p.x, c.expected.x);
        EXPECT_DOUBLE_EQ(p.y, c.expected.y);
        EXPECT_DOUBLE_EQ(p.z, c.expected.z);
    }
}

TEST(PageValues, FogDistancesSplitIntoWholeAndFraction) {
    EXPECT_DOUBLE_EQ(wholePart(3.25), 3);
    EXPECT_DOUBLE_EQ(wholeStep(3.25, +1), 4.25);
    EXPECT_DOUBLE_EQ(wholeStep(3.25, -1), 2.25);
    EXPECT_DOUBLE_EQ(wholeStep(0.75, -1), 0.75);  // nothing below the whole part 0
}

}  // namespace
}  // namespace orv
