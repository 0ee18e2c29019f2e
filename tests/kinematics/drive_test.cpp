// Drive evaluation: the five motion functions, cycles, damping, stretch, inverse, and the
// drives that write nothing. Expected values are worked out by hand from the phase tables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "kinematics/drive.h"

namespace {

struct Phase {
    double W, T;
    int32_t F;
};

OrvDrive driveOf(const std::vector<Phase>& phases, int cyclic = 1) {
    OrvDrive d;
    std::memset(&d, 0, sizeof d);
    d.on = 1;
    d.cyclic = cyclic;
    d.count = int32_t(phases.size());
    for (size_t i = 0; i < phases.size(); ++i) {
        d.phases[i].W = phases[i].W;
        d.phases[i].T = phases[i].T;
        d.phases[i].F = phases[i].F;
        d.phases[i].H = 77;  // carried, never read
    }
    return d;
}

double at(const OrvDrive& d, double t) {
    double offset = -999.0;
    orv::evaluateDrive(d, t, offset);
    return offset;
}

const double K = 1.57079632675;

TEST(Drive, ExactArithmetic) {
    struct Case {
        const char* what;
        std::vector<Phase> phases;
        int cyclic;
        double t, offset;
    };
    const Case cases[] = {
        {"linear, start", {{10, 4, 0}}, 1, 0.0, 0.0},
        {"linear, W t / T", {{10, 4, 0}}, 1, 1.0, 2.5},
        {"linear, end of the cycle", {{10, 4, 0}}, 1, 4.0, 10.0},
        {"linear, second cycle", {{10, 4, 0}}, 1, 6.0, 15.0},
        {"linear, after the end without cycles", {{10, 4, 0}}, 0, 6.0, 10.0},
        {"two phases", {{10, 2, 0}, {-4, 2, 0}}, 1, 3.0, 8.0},
        {"two phases, third cycle", {{10, 2, 0}, {-4, 2, 0}}, 1, 9.0, 17.0},
        {"three cycles exactly", {{10, 2, 0}, {-4, 2, 0}}, 1, 12.0, 18.0},
        {"negative time: completed cycles backwards", {{10, 4, 0}}, 1, -5.0, -10.0},
        {"beschleunigt: 2W/T^2 r^2 / 2", {{8, 2, 3}}, 1, 1.0, 2.0},
        {"beschleunigt, a quarter in", {{8, 2, 3}}, 1, 0.5, 0.5},
        {"verzoegert: W - 2W/T^2 (T-r)^2 / 2", {{8, 2, 4}}, 1, 1.0, 6.0},
        {"verzoegert, a quarter in", {{8, 2, 4}}, 1, 0.5, 3.5},
        {"unknown function adds nothing while it runs", {{5, 2, 7}, {1, 2, 0}}, 1, 1.0, 0.0},
        {"but its path once it has passed", {{5, 2, 7}, {1, 2, 0}}, 1, 3.0, 5.5},
        {"negative function", {{5, 2, -1}}, 1, 1.0, 0.0},
        {"a phase of no duration adds its path at once", {{3, 0, 0}, {1, 2, 0}}, 1, 1.0, 3.5},
        {"sinus reaches W at the end", {{2, 1, 1}}, 0, 1.0, 2.0},
        {"cosinus reaches W at the end", {{2, 1, 2}}, 0, 5.0, 2.0},
    };
    for (const Case& c : cases) EXPECT_EQ(at(driveOf(c.phases, c.cyclic), c.t), c.offset) << c.what;
}

TEST(Drive, SineShapedFunctions) {
    // sin(K/2) and sin(3K/2) with K a rounded quarter turn: sin(pi/4) up to K's rounding.
    const double sinHalfK = std::sin(0.785398163375), sinThreeHalvesK = std::sin(1.5 * K);
    EXPECT_EQ(at(driveOf({{4, 2, 1}}), 1.0), sinHalfK * 4);
    EXPECT_EQ(at(driveOf({{4, 2, 2}}), 1.0), (1.0 - sinThreeHalvesK) * 4);
    // The cosinus starts flat: after 1/1000 of its phase it has covered about (pi/2)^2/2e-6.
    EXPECT_NEAR(at(driveOf({{1, 1, 2}}), 0.001), 1.2337e-6, 1e-9);
    // Just before its end: 1 - sin(2K) = 1 - 8.979e-11 of the path, less the last 1e-12 of
    // the phase, 1.571e-12 more.
    EXPECT_NEAR(at(driveOf({{1, 1, 2}}, 0), 1.0 - 1e-12), 1.0 - 9.1364e-11, 1e-14);
}

TEST(Drive, DampingStretchAndInverse) {
    const double e = std::exp(1.0);
    OrvDrive d = driveOf({{10, 4, 0}}, 0);
    d.damping = 0.5;
    // a = exp(-t D) = 1/e at t = 2: half the path, damped.
    EXPECT_NEAR(at(d, 2.0), 5.0 / e, 1e-15);
    // After the end: the whole path times the damping factor.
    EXPECT_NEAR(at(d, 8.0), 10.0 / (e * e * e * e), 1e-15);

    d.stretch = 1;  // t' = t / sqrt(a) = t e^(tD/2): at t = 1, e^0.25
    const double stretched = std::exp(0.25) / 4 * 10 * std::exp(-0.5);
    EXPECT_NEAR(at(d, 1.0), stretched, 1e-14);

    d.inverse = 1;  // the sign flips, the stretched time stays
    EXPECT_NEAR(at(d, 1.0), -stretched, 1e-14);
    d.stretch = 0;
    EXPECT_NEAR(at(d, 2.0), -5.0 / e, 1e-15);

    // A cyclic drive at k Ttot gives k times the (damped) path; a phase later its first path.
    OrvDrive cyclic = driveOf({{3, 1, 1}, {-1, 1, 4}});
    cyclic.inverse = 1;
    EXPECT_EQ(at(cyclic, 4.0), -4.0);
    EXPECT_EQ(at(cyclic, 5.0), -7.0);
}

TEST(Drive, DrivesThatWriteNothing) {
    OrvDrive off = driveOf({{10, 4, 0}});
    off.on = 0;
    EXPECT_EQ(at(off, 1.0), -999.0);
    EXPECT_EQ(at(driveOf({}), 1.0), -999.0);
    EXPECT_EQ(at(driveOf({{10, 0, 0}, {5, 0, 1}}), 1.0), -999.0);
    EXPECT_EQ(at(driveOf({{10, -2, 0}, {5, 1, 1}}), 1.0), -999.0);
    OrvDrive negative = driveOf({{10, 4, 0}});
    negative.count = -5;
    EXPECT_EQ(at(negative, 1.0), -999.0);
}

TEST(Drive, CountsAboveTheTableUseTheTable) {
    OrvDrive d = driveOf(std::vector<Phase>(256, Phase{1, 1, 0}));
    d.count = 100000;
    EXPECT_EQ(at(d, 300.5), 300.5);
}

}  // namespace
