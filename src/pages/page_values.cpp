#include "pages/page_values.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

// Whole steps in span, a rounding error below a step not counting as one more.
double wholeSteps(double span, double step) {
    return std::ceil(span / step - 1e-9);
}

}  // namespace

int StepSlider::stepsPerPosition() const {
    if (!(high > low) || !(step > 0)) return 1;
    const double steps = wholeSteps(high - low, step);
    return steps > kStepSliderMost ? int(std::ceil(steps / kStepSliderMost)) : 1;
}

int StepSlider::positions() const {
    if (!(high > low) || !(step > 0)) return 0;
    return int(std::max(1.0, wholeSteps(high - low, step * stepsPerPosition())));
}

double StepSlider::value(int position) const {
    if (position >= positions()) return high;
    return std::min(high, low + std::max(0, position) * stepsPerPosition() * step);
}

int StepSlider::position(double v) const {
    const int last = positions();
    if (last == 0 || v >= high) return last;
    const int p =
        int(std::clamp(std::round((v - low) / (stepsPerPosition() * step)), 0.0, double(last)));
    // The last step may be shorter than the others: nearer the limit is the limit.
    if (p == last - 1 && high - v < v - value(p)) return last;
    return p;
}

double clampToLimits(double value, double low, double high) {
    return std::max(low, std::min(value, high));
}

Hsv rgbToHsv(const Vec3& rgb) {
    const double r = rgb.x, g = rgb.y, b = rgb.z;
    const double v = std::max(r, std::max(g, b));
    const double m = std::min(r, std::min(g, b));
    const double delta = v - m;
    const double s = v > 0 ? delta / v : 0.0;
    double h = 0;
    if (s != 0) {
        if (r == v)
            h = (g - b) / delta;
        else if (g != v)
            h = (r - g) / delta + 4;
        else
            h = (b - r) / delta + 2;
        if (h < 0) h += 6;
        h *= 0.16666666666666666;
        if (h == 1.0) h = 0;
    }
    return {h, s, v};
}

void hsvToRgb(const Hsv& hsv, Vec3& rgb) {
    const double v = hsv.v, s = hsv.s;
    if (s == 0) {
        rgb = {v, v, v};
        return;
    }
    const double h6 = hsv.h * 6;
    const double i = std::floor(h6), f = h6 - i;
    const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    switch (static_cast<int>(i)) {
        case 0: rgb = {v, t, p}; break;
        case 1: rgb = {q, v, p}; break;
        case 2: rgb = {p, v, t}; break;
        case 3: rgb = {p, q, v}; break;
        case 4: rgb = {t, p, v}; break;
        case 5: rgb = {v, p, q}; break;
        default: break;  // a full turn: the colour stays as it was
    }
}

void setLightDistance(Vec3& position, const Vec3& target, double d) {
    if (d < 0.001) return;
    const Vec3 D = position - target;
    if (D.x == 0 && D.y == 0 && D.z == 0) {
        position = target + Vec3{0, 0, d};
        return;
    }
    const double x = D.x * d / std::sqrt(D.x * D.x + D.y * D.y + D.z * D.z);
    const double y = D.y * d / std::sqrt(x * x + D.y * D.y + D.z * D.z);
    const double z = D.z * d / std::sqrt(x * x + y * y + D.z * D.z);
    position = target + Vec3{x, y, z};
}

double wholePart(double distance) {
    return std::floor(distance);
}

double wholeStep(double distance, int direction) {
    if (direction < 0 && distance < 1) return distance;
    return distance + (direction < 0 ? -1 : 1);
}

double textureSizeAt(double position, double size, double r) {
    if (position < 1 || position > 100) return size;
    return (101 - position) * 0.01 * r;
}

double textureSizePosition(double size, double r) {
    return r != 0 ? 100 - size / r * 100 : 50;
}

}  // namespace orv
