// The phase list's edits, the back-and-forth generator and the plot's samples.
#include "kinematics/drive_editing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace {

// A switched-on cyclic drive of linear phases of 1 time unit, told apart by their paths.
OrvDrive driveOf(const std::vector<double>& paths) {
    OrvDrive d = {};
    d.on = d.cyclic = 1;
    d.count = int32_t(paths.size());
    for (size_t i = 0; i < paths.size(); ++i) d.phases[i] = {paths[i], 1, 0, int32_t(i), {}};
    return d;
}

std::vector<double> pathsOf(const OrvDrive& d) {
    std::vector<double> paths;
    for (int i = 0; i < d.count; ++i) paths.push_back(double(d.phases[i].W));  // a copy: packed
    return paths;
}

TEST(DriveEditing, InsertDeleteMove) {
    const OrvPhase nine = {9, 1, 0, 0, {1, 2, 3}}, zero = {};
    const std::vector<double> start = {1, 2, 3};
    struct Case {
        char op;  // insert, delete, move
        int at, by;
        std::vector<double> after;
    };
    const Case cases[] = {
        {'i', 1, 0, {1, 9, 2, 3}}, {'i', 3, 0, {1, 2, 3, 9}}, {'i', 4, 0, start},
        {'d', 0, 0, {2, 3}},       {'d', 3, 0, start},        {'m', 1, -1, {2, 1, 3}},
        {'m', 0, -1, start},       {'m', 2, 1, start},        {'m', 0, 2, start},
    };
    for (const Case& c : cases) {
        OrvDrive d = driveOf(start);
        const bool done = c.op == 'i'   ? orv::insertPhase(d, c.at, nine)
                          : c.op == 'd' ? orv::deletePhase(d, c.at)
                                        : orv::movePhase(d, c.at, c.by);
        EXPECT_EQ(done, c.after != start) << c.op << c.at << c.by;
        EXPECT_EQ(pathsOf(d), c.after) << c.op << c.at << c.by;
        if (done && c.op != 'm') {  // inserted whole; the slot a deletion frees zeroed
            const OrvPhase& whole = c.op == 'i' ? nine : zero;
            EXPECT_EQ(std::memcmp(&d.phases[c.op == 'i' ? c.at : 2], &whole, sizeof whole), 0);
        }
    }
}

TEST(DriveEditing, CountsOutsideTheTableAreClamped) {
    OrvDrive d = driveOf(std::vector<double>(256, 1.0));
    d.count = 1000;
    EXPECT_FALSE(orv::insertPhase(d, 0, d.phases[0]));
    EXPECT_EQ(orv::driveCycle(d), 256.0);
    EXPECT_TRUE(orv::deletePhase(d, 255));
    EXPECT_EQ(d.count, 255);
    d.count = -4;
    EXPECT_FALSE(orv::deletePhase(d, 0));
    EXPECT_TRUE(orv::insertPhase(d, 0, d.phases[7]));  // its own phase, moved meanwhile
    EXPECT_EQ(d.count, 1);
    EXPECT_EQ(d.phases[0].H, 7);
}

TEST(DriveEditing, BackAndForth) {
    const double nan = std::nan(""), inf = INFINITY;
    const double refused[][3] = {{1, 0, 0},   {1, -2, 0},  {1, inf, 0}, {1, nan, 0},
                                 {inf, 2, 0}, {nan, 2, 0}, {1, 2, -1},  {1, 2, 5}};
    OrvDrive d = driveOf({5, 6, 7});
    d.on = 0, d.inverse = 1, d.stretch = 1, d.damping = 0.25;
    const OrvDrive before = d;
    for (const auto& r : refused) EXPECT_FALSE(orv::generateBackAndForth(d, r[0], r[1], int(r[2])));
    EXPECT_EQ(std::memcmp(&d, &before, sizeof d), 0);

    OrvDrive expected = d;
    expected.count = 2;
    expected.phases[0] = {-3, 2.5, 4, 0, {}};
    expected.phases[1] = {3, 2.5, 4, 0, {}};
    EXPECT_TRUE(orv::generateBackAndForth(d, -3, 5, 4));
    EXPECT_EQ(std::memcmp(&d, &expected, sizeof d), 0);
}

TEST(DriveEditing, Samples) {
    OrvDrive off = driveOf({4}), timeless = driveOf({4});
    off.on = 0;
    timeless.phases[0].T = 0;
    const std::pair<OrvDrive, std::vector<double>> cases[] = {
        {driveOf({10, -2}), {0, 5, 10, 9, 8}},  // there and partly back
        {off, {0, 2, 4, 6, 8}},                 // two cycles
        {timeless, {0, 0, 0, 0, 0}},
    };
    for (const auto& [drive, expected] : cases) {
        std::vector<double> values(5, -1.0);
        orv::sampleDrive(drive, 2, 5, values.data());
        EXPECT_EQ(values, expected);
    }
}

}  // namespace
