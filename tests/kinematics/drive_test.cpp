// A drive's phase table: its evaluation, the phase list's edits, the back-and-forth generator,
// the plot's samples, and drive files (the text written, the forms read, each fault's line).
#include "kinematics/drive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kinematics/drive_editing.h"
#include "kinematics/drive_file.h"

namespace {

struct Phase {
    double W, T;
    int32_t F;
};

// A switched-on drive of the phases given, their H numbering them from 70.
OrvDrive driveOf(const std::vector<Phase>& phases, int cyclic = 1) {
    OrvDrive d = {};
    d.on = 1;
    d.cyclic = cyclic;
    d.count = int32_t(phases.size());
    for (size_t i = 0; i < phases.size(); ++i)
        d.phases[i] = {phases[i].W, phases[i].T, phases[i].F, int32_t(70 + i), {}};
    return d;
}

// The offset at time t; kNothing when the drive writes nothing.
const double kNothing = -999.0;
double at(const OrvDrive& d, double t) {
    double offset = kNothing;
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
        void (*tweak)(OrvDrive&) = nullptr;
    };
    const Case cases[] = {
        {"linear, start", {{10, 4, 0}}, 1, 0.0, 0.0},
        {"linear, W t / T", {{10, 4, 0}}, 1, 1.0, 2.5},
        {"linear, end of the cycle", {{10, 4, 0}}, 1, 4.0, 10.0},
        {"linear, second cycle", {{10, 4, 0}}, 1, 6.0, 15.0},
        {"linear, after the end without cycles", {{10, 4, 0}}, 0, 6.0, 10.0},
        {"two phases", {{10, 2, 0}, {-4, 2, 0}}, 1, 3.0, 8.0},
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
        {"switched off", {{10, 4, 0}}, 1, 1.0, kNothing, [](OrvDrive& d) { d.on = 0; }},
        {"no phases", {}, 1, 1.0, kNothing},
        {"no duration in the cycle", {{10, 0, 0}, {5, 0, 1}}, 1, 1.0, kNothing},
        {"a negative duration", {{10, -2, 0}, {5, 1, 1}}, 1, 1.0, kNothing},
        {"a negative count", {{10, 4, 0}}, 1, 1.0, kNothing, [](OrvDrive& d) { d.count = -5; }},
        {"counts above the table use the table", std::vector<Phase>(256, Phase{1, 1, 0}), 1, 300.5,
         300.5, [](OrvDrive& d) { d.count = 100000; }},
    };
    for (const Case& c : cases) {
        OrvDrive d = driveOf(c.phases, c.cyclic);
        if (c.tweak) c.tweak(d);
        EXPECT_EQ(at(d, c.t), c.offset) << c.what;
    }
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

// Linear phases of 1 time unit, told apart by their paths.
OrvDrive linearDrive(const std::vector<double>& paths) {
    std::vector<Phase> phases;
    for (double w : paths) phases.push_back({w, 1, 0});
    return driveOf(phases);
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
        SCOPED_TRACE(testing::Message() << c.op << c.at << c.by);
        OrvDrive d = linearDrive(start);
        const bool done = c.op == 'i'   ? orv::insertPhase(d, c.at, nine)
                          : c.op == 'd' ? orv::deletePhase(d, c.at)
                                        : orv::movePhase(d, c.at, c.by);
        EXPECT_EQ(done, c.after != start);
        EXPECT_EQ(pathsOf(d), c.after);
        if (done && c.op != 'm') {  // inserted whole; the slot a deletion frees zeroed
            const OrvPhase& whole = c.op == 'i' ? nine : zero;
            EXPECT_EQ(std::memcmp(&d.phases[c.op == 'i' ? c.at : 2], &whole, sizeof whole), 0);
        }
    }
}

TEST(DriveEditing, CountsOutsideTheTableAreClamped) {
    OrvDrive d = linearDrive(std::vector<double>(256, 1.0));
    d.count = 1000;
    EXPECT_FALSE(orv::insertPhase(d, 0, d.phases[0]));
    EXPECT_EQ(orv::driveCycle(d), 256.0);
    EXPECT_TRUE(orv::deletePhase(d, 255));
    EXPECT_EQ(d.count, 255);
    d.count = -4;
    EXPECT_FALSE(orv::deletePhase(d, 0));
    EXPECT_TRUE(orv::insertPhase(d, 0, d.phases[7]));  // its own phase, moved meanwhile
    EXPECT_EQ(d.count, 1);
    EXPECT_EQ(d.phases[0].H, 77);
}

TEST(DriveEditing, BackAndForth) {
    const double nan = std::nan(""), inf = INFINITY;
    const double refused[][3] = {{1, 0, 0},   {1, -2, 0},  {1, inf, 0}, {1, nan, 0},
                                 {inf, 2, 0}, {nan, 2, 0}, {1, 2, -1},  {1, 2, 5}};
    OrvDrive d = linearDrive({5, 6, 7});
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
    OrvDrive off = linearDrive({4}), timeless = linearDrive({4});
    off.on = 0;
    timeless.phases[0].T = 0;
    const std::pair<OrvDrive, std::vector<double>> cases[] = {
        {linearDrive({10, -2}), {0, 5, 10, 9, 8}},  // there and partly back
        {off, {0, 2, 4, 6, 8}},                     // two cycles
        {timeless, {0, 0, 0, 0, 0}},
    };
    for (const auto& [drive, expected] : cases) {
        std::vector<double> values(5, -1.0);
        orv::sampleDrive(drive, 2, 5, values.data());
        EXPECT_EQ(values, expected);
    }
}

using F = orv::DriveFileFault;

struct Table {
    OrvPhase phases[orv::kDrivePhasesMost];
};

// Reads text into a patterned table: untouched past the phases taken (all of it on a fault), the
// reserved bytes of those taken zero.
orv::DriveFileRead readInto(const std::string& text, Table& t) {
    Table before;
    std::memset(&before, 0xA5, sizeof before);
    t = before;
    const orv::DriveFileRead r = orv::readDriveFile(text.data(), text.size(), t.phases);
    const int taken = r.fault == F::none ? r.count : 0;
    for (int i = 0; i < orv::kDrivePhasesMost; ++i) {
        OrvPhase expected = before.phases[i];
        if (i < taken) expected = {t.phases[i].W, t.phases[i].T, t.phases[i].F, t.phases[i].H, {}};
        EXPECT_EQ(std::memcmp(&t.phases[i], &expected, sizeof expected), 0) << text << i;
    }
    return r;
}

TEST(DriveFile, WritesAndReadsBack) {
    Table t = {};
    t.phases[0] = {1.234567e12, -0.5, 0, -7, {}};
    t.phases[1] = {1e-7, -0.0, 4, INT32_MIN, {}};
    const std::string text = orv::writeDriveFile(t.phases, 2);
    EXPECT_EQ(text, "1.234567E+12;-0.5;0;-7\r\n1E-07;-0;4;-2147483648\r\n");
    EXPECT_EQ(orv::writeDriveFile(t.phases, -1), "");
    const Table written = t;
    EXPECT_EQ(readInto(text, t).count, 2);
    EXPECT_EQ(std::memcmp(t.phases, written.phases, 2 * sizeof(OrvPhase)), 0);
}

TEST(DriveFile, AcceptedForms) {
    struct Case {
        std::string text;
        int count;  // and the last phase:
        double W, T;
        int F, H;
    };
    const Case cases[] = {
        {"\357\273\277 \"1,5\" ;\t\"2\";3;\"-4\"", 1, 1.5, 2, 3, -4},
        {"\n \t\r\n1;1;0;0\r\n\n+2.;,5E+1;+4;0005\n", 2, 2, 5, 4, 5},
        {"1e-400;7;0;0", 1, 0, 7, 0, 0},
        {"", 0, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        Table t;
        const orv::DriveFileRead r = readInto(c.text, t);
        ASSERT_EQ(std::make_pair(r.fault, r.count), std::make_pair(F::none, c.count)) << c.text;
        if (c.count == 0) continue;
        const OrvPhase p = t.phases[c.count - 1];
        const double W = p.W, T = p.T;
        EXPECT_EQ(std::make_tuple(W, T, p.F, p.H), std::make_tuple(c.W, c.T, c.F, c.H)) << c.text;
    }
}

TEST(DriveFile, FaultsAndTheirLines) {
    const std::pair<std::string, std::pair<F, int>> cases[] = {
        {"1;1;0;0\n\n1;2;3\n", {F::fields, 3}},
        {"\"1;2\";0;0", {F::number, 1}},  // ";" splits quoted text too
        {"1;1;0;0\r\n\r\ninf;1;0;0\r\n", {F::number, 3}},
        {"1;1;0;0\r", {F::number, 1}},  // a CR without LF is part of the line
        {"1,5.0;1;0;0", {F::number, 1}},
        {"1;1;0;2147483648", {F::number, 1}},
        {"\n1;-1e999;9;x", {F::notFinite, 2}},
        {"\357\273\2771;1;0;0\n  \n1;1;5;0", {F::function, 3}},
    };
    for (const auto& [text, fault] : cases) {
        Table t;
        const orv::DriveFileRead r = readInto(text, t);
        EXPECT_EQ(std::make_tuple(r.fault, r.line, r.count),
                  std::tuple(fault.first, fault.second, 0))
            << text;
    }
}

TEST(DriveFile, TakesAtMost256Phases) {
    Table t = {};
    for (int i = 0; i < orv::kDrivePhasesMost; ++i) t.phases[i] = {1, 0.5, 0, i, {}};
    const std::string full = orv::writeDriveFile(t.phases, 300);
    EXPECT_EQ(readInto(full, t).count, 256);
    const orv::DriveFileRead r = readInto("\n" + full + "1;1;0;0\n", t);
    EXPECT_EQ(std::make_pair(r.fault, r.line), std::make_pair(F::tooMany, 258));
}

}  // namespace
