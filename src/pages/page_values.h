// The arithmetic of the colour, light and environment pages: slider positions and the values
// they stand for, colours as hue, saturation and value, a light's distance from its target,
// the environment's standard light bits and the fog distances' whole and fractional parts.
// Portable, so that every mapping is exact on every platform.
#pragma once

#include <cstdint>

#include "math/vec3.h"

namespace orv {

// A vertical slider: value = (origin - position) x step, so with a positive step the top
// (position low) is the largest value. position() is the inverse, not yet rounded (the slider
// helpers round). Positions run from low to high.
struct SliderScale {
    double origin;
    double step;
    int low, high;
    double value(double position) const { return (origin - position) * step; }
    double position(double value) const { return origin - value / step; }
};

constexpr SliderScale kPercentSlider{100, 0.01, 0, 100};  // colour components, gloss, falloff
constexpr SliderScale kHueSlider{360, 0.002777777777777778, 0, 360};  // a full turn is 1
constexpr SliderScale kAngleSlider{90, 1, 0, 90};                     // a spot's cone in degrees
constexpr SliderScale kSharpnessSlider{128, 1, 0, 128};
constexpr SliderScale kDistanceSlider{100, 0.1, 0, 100};
constexpr SliderScale kBrightnessSlider{200, 0.01, 0, 200};

// The material's sliders. Gloss: the square of the value is the shininess, 100 at the top.
// Opacity grows downward (the top is fully transparent). Refraction: the value plus 1 is the
// index, 2.5 at the top. Rotation: minus the position in degrees. Texture offset: minus the
// position in hundredths of a tile edge.
constexpr SliderScale kGlossSlider{100, 0.1, 0, 100};
constexpr SliderScale kOpacitySlider{0, -0.01, 0, 100};
constexpr SliderScale kRefractionSlider{150, 0.01, 0, 150};
constexpr SliderScale kRotationSlider{0, 1, -180, 180};
constexpr SliderScale kOffsetSlider{0, 0.01, -100, 100};

// A texture page's "Größe" slider against its reference length r: positions 1..100 give
// (101 - position) x 0.01 x r, so never 0; the top (0) leaves size as it is.
double textureSizeAt(double position, double size, double r);
// Where the slider shows size: 100 - size / r x 100; the middle when r is 0.
double textureSizePosition(double size, double r);

// A link axis's slider: positions 0..positions() from the lower limit up in steps of step,
// the last one the upper limit itself (also where the span is no whole number of steps). A
// span of more than kStepSliderMost steps is covered in multiples of step.
struct StepSlider {
    static constexpr int kStepSliderMost = 10000;
    double low, high, step;  // high >= low, step > 0
    int stepsPerPosition() const;
    int positions() const;
    double value(int position) const;
    int position(double value) const;  // the nearest position, within 0..positions()
};

// value within low..high.
double clampToLimits(double value, double low, double high);

struct Hsv {
    double h, s, v;  // each 0..1; a hue of 1 is a full turn
};

// Red wins a tie with green or blue, green a tie with blue; a grey has hue and saturation 0,
// and a hue of exactly 1 becomes 0.
Hsv rgbToHsv(const Vec3& rgb);
// Writes rgb from hsv. A hue of 1 (the hue slider's top) writes nothing: the colour stays.
void hsvToRgb(const Hsv& hsv, Vec3& rgb);

// Moves a light's position to distance d from its target, rescaling the components one after
// another, each with those already rescaled, so the light keeps roughly its direction and the
// distance comes close to d. Below 0.001 nothing moves; a light on its target goes to
// target + (0, 0, d).
void setLightDistance(Vec3& position, const Vec3& target, double d);

// The environment's standard light switches: bit 0 all of them, bits 1..6 front, back, left,
// right, top, bottom, bit 7 the camera light.
constexpr int kStandardLightBits = 8;

// A fog distance as its whole part (changed by the buttons) and its fraction (the slider).
double wholePart(double distance);
// The whole part one up or down, the fraction kept; down does nothing below 1.
double wholeStep(double distance, int direction);

}  // namespace orv
