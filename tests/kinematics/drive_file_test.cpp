// Drive files: the written text, round trips, the forms a spreadsheet saves, and each fault
// with its line. Reads go into a table filled with a pattern, to see what they wrote.
#include "kinematics/drive_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>

namespace {

using F = orv::DriveFileFault;

struct Table {
    OrvPhase phases[orv::kDrivePhasesMost];
};

// Reads text and checks what any read leaves: the table untouched past the phases taken (all of
// it on a fault), zero further bytes in those taken.
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
        EXPECT_EQ(std::make_pair(r.fault, r.line), fault) << text;
        EXPECT_EQ(r.count, 0) << text;
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
