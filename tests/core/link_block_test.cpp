// A link's geometry and its block: SetLnk's path length, the overlay of the path over the
// record, and PutLnk of blocks whose point count cannot be trusted.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "orvanta.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Path {
    std::vector<OrvVec3> points;
    std::vector<double> bulges;
    double frame[16] = {};
};

Path zigzag(int n) {
    Path p;
    for (int i = 0; i < n; ++i) {
        p.points.push_back({double(i), double(i % 2), 0.5 * i});
        p.bulges.push_back(i % 3 == 0 ? 0.0 : 0.25 * i);
    }
    for (int i = 0; i < 16; ++i) p.frame[i] = i + 0.5;
    return p;
}

Lnk* linkWithPath(const Path& p) {
    Lnk* lnk = CreateLnk("Kurbel");
    SetLnk(lnk, p.points.data(), p.bulges.data(), p.frame, int32_t(p.points.size()), 1, 2, 3);
    return lnk;
}

std::vector<uint8_t> blockOf(Lnk* lnk) {
    uint32_t size = 0;
    GetLnk(lnk, nullptr, &size);
    std::vector<uint8_t> block(size, 0xEE);
    GetLnk(lnk, block.data(), &size);
    return block;
}

void expectSamePath(const Lnk* lnk, const Path& p) {
    ASSERT_EQ(lnk->pathCount, int32_t(p.points.size()));
    EXPECT_EQ(0, std::memcmp(lnk->pathPoints, p.points.data(), 24 * p.points.size()));
    EXPECT_EQ(0, std::memcmp(lnk->pathBulges, p.bulges.data(), 8 * p.bulges.size()));
}

TEST(LinkGeometry, PathLengthAddsChordsAndArcs) {
    struct Case {
        const char* what;
        std::vector<OrvVec3> points;
        std::vector<double> bulges;
        double length;
    };
    const Case cases[] = {
        {"straight", {{0, 0, 0}, {3, 4, 0}, {3, 4, 2}}, {0, 0, 0}, 7.0},
        // A bulge of half the chord is a half circle; the sign only says which side.
        {"half circle", {{0, 0, 0}, {2, 0, 0}}, {0, -1}, kPi},
        {"first bulge unused", {{0, 0, 0}, {2, 0, 0}}, {5, 0}, 2.0},
        // h = 1, chord 4: r = (4 + 16) / 8 = 2.5, arc = 5 asin(0.8).
        {"shallow arc", {{0, 0, 0}, {0, 4, 0}}, {0, 1}, 5 * std::asin(0.8)},
        {"one point", {{1, 1, 1}}, {9}, 0.0},
    };
    for (const Case& c : cases) {
        Lnk* lnk = CreateLnk("l");
        const double frame[16] = {};
        SetLnk(lnk, c.points.data(), c.bulges.data(), frame, int32_t(c.points.size()), 4, 5, 6);
        EXPECT_NEAR(+lnk->linMax, c.length, 1e-12) << c.what;
        EXPECT_EQ(lnk->pathCount, int32_t(c.points.size())) << c.what;
        EXPECT_EQ(LnkTarget(lnk), 5u);
        EXPECT_EQ(ObjOfLnk(lnk), 6u);
        DisposeLnk(lnk);
    }
}

TEST(LinkGeometry, WithoutPathTheAxisPointsGiveTheLength) {
    Lnk* lnk = linkWithPath(zigzag(3));
    const double a[3] = {1, 1, 1}, b[3] = {4, 5, 1};
    SetLnk(lnk, a, b, nullptr, 0, 7, 8, 9);
    EXPECT_EQ(lnk->pathCount, 0);
    EXPECT_EQ(+lnk->pathPoints, nullptr);
    EXPECT_EQ(+lnk->linMax, 5.0);
    EXPECT_EQ(+lnk->axisB.y, 5.0);
    EXPECT_EQ(+lnk->pathFrame[3], 3.5);  // the frame of the earlier path stays
    DisposeLnk(lnk);
}

TEST(LinkGeometry, ResetClearsOnlyEnabledAxes) {
    for (int lin = 0; lin < 2; ++lin) {
        for (int rot = 0; rot < 2; ++rot) {
            Lnk* lnk = CreateLnk("l");
            lnk->lin = lin, lnk->rot = rot, lnk->linCur = 2.5, lnk->rotCur = 30;
            EXPECT_EQ(ResetLnk(lnk), 0);
            EXPECT_EQ(+lnk->linCur, lin ? 0.0 : 2.5);
            EXPECT_EQ(+lnk->rotCur, rot ? 0.0 : 30.0);
            DisposeLnk(lnk);
        }
    }
}

TEST(LinkBlock, PathOverlaysTheRecordAndRoundTripsByteForByte) {
    const Path p = zigzag(5);
    Lnk* lnk = linkWithPath(p);
    const std::vector<uint8_t> block = blockOf(lnk);
    ASSERT_EQ(block.size(), 19240u);
    EXPECT_EQ(0, std::memcmp(block.data() + 8, p.points.data(), 120));
    EXPECT_EQ(0, std::memcmp(block.data() + 128, p.bulges.data(), 40));
    EXPECT_EQ(0, std::memcmp(block.data(), "Kurbel\0\0", 8));
    EXPECT_EQ(block[19240 - 1], 0xEE);  // the last 32 x count bytes stay unwritten

    Lnk* copy = CreateLnk("other");
    PutLnk(copy, block.data());
    expectSamePath(copy, p);
    EXPECT_NE(+copy->pathPoints, +lnk->pathPoints);
    EXPECT_EQ(std::memcmp(copy->name, "Kurbel", 6), 0);  // bytes 0 to 7 survive the overlay
    EXPECT_EQ(+copy->targetBody, 2u);
    // Byte for byte, but for the two array pointers, which are the copy's own.
    std::vector<uint8_t> again = blockOf(copy);
    EXPECT_EQ(0, std::memcmp(again.data(), block.data(), offsetof(Lnk, pathPoints)));
    EXPECT_EQ(0, std::memcmp(again.data() + offsetof(Lnk, pathFrame),
                             block.data() + offsetof(Lnk, pathFrame),
                             block.size() - offsetof(Lnk, pathFrame)));
    DisposeLnk(lnk), DisposeLnk(copy);
}

TEST(LinkBlock, LongerPathsComeBackThroughTheCountCopy) {
    for (int n : {6, 40, 594}) {
        const Path p = zigzag(n);
        Lnk* lnk = linkWithPath(p);
        std::vector<uint8_t> block = blockOf(lnk);
        Lnk* copy = CreateLnk("c");
        PutLnk(copy, block.data());
        SCOPED_TRACE(n);
        expectSamePath(copy, p);
        EXPECT_EQ(copy->reserved[0], 0);  // the record itself keeps its reserved bytes zero
        DisposeLnk(lnk), DisposeLnk(copy);
    }
}

TEST(LinkBlock, CountsThatCannotBeRightLoadNoPath) {
    Lnk* source = CreateLnk("s");
    std::vector<uint8_t> block = blockOf(source);
    for (int32_t count : {-1, -2147483647 - 1, 597, 100000, 2147483647}) {
        std::memcpy(block.data() + 172, &count, 4);
        Lnk* lnk = CreateLnk("l");
        PutLnk(lnk, block.data());
        EXPECT_EQ(lnk->pathCount, 0) << count;
        EXPECT_EQ(+lnk->pathPoints, nullptr) << count;
        DisposeLnk(lnk);
    }
    // A plausible count reads its arrays from inside the record part of the block only.
    const int32_t count = 596;
    std::memcpy(block.data() + 172, &count, 4);
    Lnk* lnk = CreateLnk("l");
    PutLnk(lnk, block.data());
    EXPECT_EQ(lnk->pathCount, 596);
    DisposeLnk(lnk), DisposeLnk(source);
}

}  // namespace
