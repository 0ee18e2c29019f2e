#include "kinematics/drive.h"

#include <algorithm>
#include <cmath>

namespace orv {

namespace {

// What phase p has added after the time r into it, for the share u = r / T of its duration.
double partialPath(const OrvPhase& p, double r, double a) {
    const double W = p.W, T = p.T;
    const double u = r / T;
    switch (p.F) {
        case 0: return u * W * a;                                   // linear
        case 1: return std::sin(u * kQuarterTurn) * W * a;          // sinus
        case 2: return (1.0 - std::sin((u + 1.0) * kQuarterTurn)) * W * a;  // cosinus
        case 3: return 2.0 * W / (T * T) * (r * r) * 0.5 * a;      // beschleunigt
        case 4: return (W - 2.0 * W / (T * T) * ((T - r) * (T - r)) * 0.5) * a;  // verzoegert
        default: return 0.0;
    }
}

}  // namespace

void evaluateDrive(const OrvDrive& drive, double t, double& offset) {
    if (!drive.on) return;
    const int count = std::clamp(drive.count, 0, 256);
    if (count == 0) return;  // no time to run through: nothing is written
    // exp(0) is 1 exactly; most drives are undamped.
    const double decay = -t * drive.damping;
    double a = decay == 0.0 ? 1.0 : std::exp(decay);
    // The stretch takes the damping factor before the sign of an inverse drive.
    if (drive.stretch) t = t / std::sqrt(a);
    if (drive.inverse) a = -a;

    double totalTime = 0.0, totalPath = 0.0;
    for (int i = 0; i < count; ++i) {
        totalTime += drive.phases[i].T;
        totalPath += a * drive.phases[i].W;
    }
    if (!(totalTime > 0.0)) return;
    if (!drive.cyclic && t >= totalTime) t = totalTime;

    // Every completed cycle adds the whole path once.
    double r = std::fmod(t, totalTime);
    double v = (t - r) / totalTime * totalPath;
    // Whole phases; the count bounds the walk where rounding leaves r at or above the last.
    int i = 0;
    for (; i < count && r >= drive.phases[i].T; ++i) {
        r -= drive.phases[i].T;
        v += a * drive.phases[i].W;
    }
    if (i < count && r > 0.0) v += partialPath(drive.phases[i], r, a);
    offset = v;
}

}  // namespace orv
