// KinematicInit, NextFix and NextJnt through the exports, on host trees built in the test:
// fixed list and joint order, joint kinds, the consistency check with its boxes and out value.
#include <gtest/gtest.h>

#include <cctype>
#include <vector>

#include "support/box_watch.h"
#include "kinematics/host_tree.h"

namespace {

// Windows-1252, as the string table holds them.
const char* const kCaption =
    "Konsistenzpr\xFC"
    "fung";
const char* const kRecursive = "Rekursive Verbindung definiert.";
const char* const kInvalidFollower = "Ung\xFCltige Definition der abh\xE4ngigen Verbindungen.";

struct LinkRow {
    const char* name;
    char source, target, carrier;
    const char* flags;
};

struct Case {
    const char* title;
    const char* objects;
    std::vector<LinkRow> links;
    const char* tree;       // describe() after KinematicInit
    const char* message;    // box text, or null when the structure is sound
    const char* offending;  // name of the link reported in the out value
};

// clang-format off
const Case kCases[] = {
    // Fixed list and joint order.
    {"no links", "A B(C)", {}, "", nullptr, nullptr},
    {"chain", "A B C", {{"l1", 'A', 'B', 'A', ""}, {"l2", 'B', 'C', 'B', ""}},
     "A{l1>B{l2>C}}", nullptr, nullptr},
    // Links are found in object order, each pushed on the front: l2 (on A) before l1 (on D).
    {"branch", "A(B C) D",
     {{"l1", 'A', 'B', 'D', ""}, {"l2", 'A', 'C', 'A', ""}, {"l3", 'B', 'D', 'C', ""}},
     "A{l1>B{l3>D} l2>C}", nullptr, nullptr},
    // Fixed bodies in reverse walk order; T, which moves nothing, leaves the list.
    {"two fixed bodies", "P(T) Q R S", {{"l1", 'P', 'R', 'S', ""}, {"l2", 'Q', 'S', 'P', ""}},
     "Q{l2>S} P{l1>R}", nullptr, nullptr},
    {"body reached twice", "F A B C",
     {{"l1", 'F', 'A', 'F', ""}, {"l2", 'F', 'B', 'F', ""}, {"l3", 'A', 'C', 'A', ""},
      {"l4", 'B', 'C', 'B', ""}},
     "F{l2>B{l4>C} l1>A{l3>C}}", nullptr, nullptr},

    // Kinds.
    {"follower below a fixed body", "F A", {{"l1", 'F', 'A', 'F', "f"}}, "F{l1#1>A}",
     kInvalidFollower, "l1"},
    {"follower below a follower", "F A B", {{"l1", 'F', 'A', 'F', "f"}, {"l2", 'A', 'B', 'A', "f"}},
     "F{l1>A{l2#1>B}}", kInvalidFollower, "l2"},
    {"follower below an ordinary link", "F A B",
     {{"l1", 'F', 'A', 'F', ""}, {"l2", 'A', 'B', 'A', "f"}}, "F{l1>A{l2#1>B}}",
     kInvalidFollower, "l2"},
    {"ordinary link below a follower", "F A B",
     {{"l1", 'F', 'A', 'F', "f"}, {"l2", 'A', 'B', 'A', ""}}, "F{l1#1>A{l2>B}}",
     kInvalidFollower, "l1"},
    {"kind 2: rotational, then linear", "F A B C",
     {{"l1", 'F', 'A', 'F', "fR"}, {"l2", 'A', 'B', 'A', "fL"}, {"l3", 'B', 'C', 'B', "f"}},
     "F{l1>A{l2>B{l3#2>C}}}", nullptr, nullptr},
    {"kind 3: linear, then rotational", "F A B C",
     {{"l1", 'F', 'A', 'F', "fL"}, {"l2", 'A', 'B', 'A', "fR"}, {"l3", 'B', 'C', 'B', "f"}},
     "F{l1>A{l2>B{l3#3>C}}}", nullptr, nullptr},
    {"kind 4: rotational, then rotational", "F A B C",
     {{"l1", 'F', 'A', 'F', "fR"}, {"l2", 'A', 'B', 'A', "fR"}, {"l3", 'B', 'C', 'B', "fL"}},
     "F{l1>A{l2>B{l3#4>C}}}", nullptr, nullptr},
    {"parents with both axes", "F A B C",
     {{"l1", 'F', 'A', 'F', "f"}, {"l2", 'A', 'B', 'A', "fL"}, {"l3", 'B', 'C', 'B', "f"}},
     "F{l1>A{l2>B{l3#1>C}}}", kInvalidFollower, "l3"},
    {"grandparent not a follower", "F A B C",
     {{"l1", 'F', 'A', 'F', "R"}, {"l2", 'A', 'B', 'A', "fL"}, {"l3", 'B', 'C', 'B', "f"}},
     "F{l1>A{l2>B{l3#1>C}}}", kInvalidFollower, "l3"},

    // Recursion: the circle is built once round, then reported at the joint that starts it.
    {"source is target", "F A", {{"l1", 'F', 'A', 'F', ""}, {"l2", 'A', 'A', 'A', ""}},
     "F{l1>A{l2>A}}", kRecursive, "l2"},
    {"two-link circle", "F A B",
     {{"l1", 'F', 'A', 'F', ""}, {"l2", 'A', 'B', 'A', ""}, {"l3", 'B', 'A', 'B', ""}},
     "F{l1>A{l2>B{l3>A}}}", kRecursive, "l2"},
    {"recursion before the kind of the same joint", "F A",
     {{"l1", 'F', 'A', 'F', ""}, {"l2", 'A', 'A', 'A', "f"}}, "F{l1>A{l2#1>A}}", kRecursive,
     "l2"},
    // Depth first: the circle below the first joint comes before the follower of the second.
    {"faults in depth-first order", "F A B C",
     {{"l1", 'F', 'A', 'F', "f"}, {"l2", 'F', 'B', 'F', ""}, {"l3", 'B', 'C', 'B', ""},
      {"l4", 'C', 'C', 'C', ""}},
     "F{l2>B{l3>C{l4>C}} l1#1>A}", kRecursive, "l4"},
    // Every body of the circle is a target, so no fixed body leads into it.
    {"circle without a fixed body", "A B", {{"l1", 'A', 'B', 'A', ""}, {"l2", 'B', 'A', 'B', ""}},
     "", nullptr, nullptr},
};
// clang-format on

class KinematicInitCase : public testing::TestWithParam<Case> {};

TEST_P(KinematicInitCase, TreeCheckAndBox) {
    const Case& c = GetParam();
    HostTree host(c.objects);
    for (const LinkRow& l : c.links) host.addLink(l.name, l.source, l.target, l.carrier, l.flags);
    host.install();

    uint64_t offending = 12345;
    BoxWatch watch;
    const int32_t result = KinematicInit(&offending);
    const std::vector<ShownBox> boxes = watch.stop();

    EXPECT_EQ(host.describe(), c.tree);
    EXPECT_EQ(result, c.message ? 0 : 1);
    EXPECT_EQ(host.linkName(offending), c.offending ? c.offending : "?") << offending;
    if (!c.offending) {
        EXPECT_EQ(offending, 0u);
    }
    ASSERT_EQ(boxes.size(), c.message ? 1u : 0u);
    if (c.message) {
        EXPECT_EQ(boxes[0].caption, kCaption);
        EXPECT_EQ(boxes[0].text, c.message);
    }

    // Without an out value the same tree is built, unchecked and silently.
    BoxWatch silent;
    EXPECT_EQ(KinematicInit(nullptr), 1);
    EXPECT_EQ(silent.stop().size(), 0u);
    EXPECT_EQ(host.describe(), c.tree);
}

INSTANTIATE_TEST_SUITE_P(Scenes, KinematicInitCase, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) {
                             std::string name;
                             for (const char* c = info.param.title; *c; ++c)
                                 if (isalnum(static_cast<unsigned char>(*c))) name += *c;
                             return name;
                         });

TEST(KinematicInit, WalkOutsAndTheirEnd) {
    HostTree host("F A B");
    host.addLink("l1", 'F', 'A', 'F');
    host.addLink("l2", 'F', 'B', 'B');
    host.install();
    ASSERT_EQ(KinematicInit(nullptr), 1);

    void* node = nullptr;
    uint64_t fixed = 0;
    void* cell = NextFix(nullptr, &node, &fixed);
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(fixed, HostTree::body('F'));
    void* const fixedNode = node;
    EXPECT_EQ(NextFix(cell, &node, &fixed), nullptr);
    EXPECT_EQ(node, fixedNode) << "outs untouched at the end";

    void* child = nullptr;
    uint64_t linkObject = 0, childBody = 0;
    void* first = NextJnt(fixedNode, nullptr, &child, &linkObject, &childBody);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(linkObject, HostTree::linkObject(1));
    EXPECT_EQ(childBody, HostTree::body('B'));
    EXPECT_EQ(NextJnt(child, nullptr, &child, &linkObject, &childBody), nullptr);

    void* second = NextJnt(fixedNode, first, &child, &linkObject, &childBody);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(linkObject, HostTree::linkObject(0));
    EXPECT_EQ(childBody, HostTree::body('A'));
    EXPECT_EQ(NextJnt(fixedNode, second, &child, &linkObject, &childBody), nullptr);
    EXPECT_EQ(childBody, HostTree::body('A')) << "outs untouched at the end";
}

TEST(KinematicInit, RebuildsFromTheHostsCurrentLinks) {
    HostTree host("F A B");
    Lnk& l1 = host.addLink("l1", 'F', 'A', 'F');
    host.install();
    ASSERT_EQ(KinematicInit(nullptr), 1);
    EXPECT_EQ(host.describe(), "F{l1>A}");

    l1.targetBody = HostTree::body('B');
    ASSERT_EQ(KinematicInit(nullptr), 1);
    EXPECT_EQ(host.describe(), "F{l1>B}");
}

TEST(KinematicInit, HostCallsGrowWithObjectsPlusLinks) {
    // A 200-body chain with its links on one object: the walk asks once per object and item.
    HostTree host;
    std::vector<uint64_t> bodies;
    for (int i = 0; i < 200; ++i) bodies.push_back(host.addObject(i % 2 ? bodies.back() : 0));
    for (int i = 1; i < 200; ++i) host.addLink("l", bodies[i - 1], bodies[i], bodies[0]);
    host.install();
    ASSERT_EQ(KinematicInit(nullptr), 1);
    // FirstChild of the root, FirstChild, NextSibling and FirstLink per object, NextLink and
    // LinkRecord per item.
    EXPECT_EQ(HostTree::calls(), 1u + 3u * 200u + 2u * 199u);
}

TEST(KinematicInit, LongChainClosedIntoACircle) {
    // 10,000 links deep, the last one back to the first moved body.
    constexpr int kLength = 10000;
    HostTree host;
    std::vector<uint64_t> bodies{host.addObject(0)};
    for (int i = 1; i <= kLength; ++i) {
        bodies.push_back(host.addObject(0));
        host.addLink("chain", bodies[i - 1], bodies[i], bodies[i - 1]);
    }
    host.addLink("back", bodies[kLength], bodies[1], bodies[kLength]);
    host.install();

    uint64_t offending = 0;
    BoxWatch watch;
    EXPECT_EQ(KinematicInit(&offending), 0);
    ASSERT_EQ(watch.stop().size(), 1u);
    EXPECT_EQ(offending, HostTree::linkObject(1)) << "the link out of the first body of the circle";

    void* node = nullptr;
    uint64_t body = 0;
    ASSERT_NE(NextFix(nullptr, &node, &body), nullptr);
    int depth = 0;
    while (NextJnt(node, nullptr, &node, nullptr, &body)) ++depth;
    EXPECT_EQ(depth, kLength + 1);
    EXPECT_EQ(body, bodies[1]);
}

TEST(KinematicInit, HostListsThatLoopEndTheWalk) {
    // C's next sibling is A again; B's link list returns to its first item.
    HostTree host("A B C");
    host.addLink("l1", 'A', 'B', 'B');
    host.addLink("l2", 'B', 'C', 'B');
    host.loopSiblings('C', 'A');
    host.loopLinks('B');
    host.install();
    ASSERT_EQ(KinematicInit(nullptr), 1);
    EXPECT_EQ(host.describe(), "A{l1>B{l2>C}}");
}

TEST(KinematicInit, WithoutHostCallbacksTheTreeIsEmpty) {
    OrvEndUpdateFn endUpdate = [] {};
    EXPECT_EQ(
        KinematicCallback(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, endUpdate),
        endUpdate);
    uint64_t offending = 1;
    EXPECT_EQ(KinematicInit(&offending), 1);
    EXPECT_EQ(offending, 0u);
    EXPECT_EQ(NextFix(nullptr, nullptr, nullptr), nullptr);
}

}  // namespace
