// KinematicInit, NextFix and NextJnt through the exports: fixed list and joint order, joint
// kinds, the consistency check with its boxes and out value; and FirstMeetings against a set.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kinematics/dense_numbering.h"
#include "kinematics/joint_tree.h"
#include "kinematics/scene_host.h"
#include "support/box_watch.h"

namespace {

// Windows-1252, as the string table holds them.
const char* const kCaption =
    "Konsistenzpr\xFC"
    "fung";
const char* const kRecursive = "Rekursive Verbindung definiert.";
const char* const kInvalidFollower = "Ung\xFCltige Definition der abh\xE4ngigen Verbindungen.";

// Links as "name=STC" (source, target and carrier body by letter), in the order of creation,
// with flags after: f follower, L purely linear, R purely rotational.
void addLinks(SceneHost& h, const char* links) {
    std::istringstream in(links);
    std::string word;
    while (in >> word) {
        const size_t eq = word.find('=');
        const std::string flags = word.substr(eq + 4);
        Lnk& l = h.link(h.body(word[eq + 1]), h.body(word[eq + 2]), {}, {}, h.body(word[eq + 3]));
        std::strncpy(l.name, word.substr(0, eq).c_str(), sizeof l.name - 1);
        l.follow = flags.find('f') != std::string::npos;
        if (flags.find('L') != std::string::npos) l.rot = 0;
        if (flags.find('R') != std::string::npos) l.lin = 0;
    }
}

std::string linkName(const SceneHost& h, uint64_t linkObject) {
    const uint64_t i = linkObject - SceneHost::kLinkObject;
    return linkObject >= SceneHost::kLinkObject && i < h.links.size() ? h.links[i].name : "?";
}

std::string objectName(const SceneHost& h, uint64_t object) {
    return object && object < h.objects.size() ? h.objects[object].name
                                               : "#" + std::to_string(object);
}

void appendJoints(const SceneHost& h, void* node, std::string& out) {
    void* child = nullptr;
    uint64_t linkObject = 0, childBody = 0;
    const char* separator = "{";
    void* joint = nullptr;
    while ((joint = NextJnt(node, joint, &child, &linkObject, &childBody))) {
        out += separator + linkName(h, linkObject);
        // The kind is the library's own; its joints have the layout of joint_tree.h.
        if (const int32_t kind = static_cast<const orv::Joint*>(joint)->kind)
            out += "#" + std::to_string(kind);
        out += ">" + objectName(h, childBody);
        appendJoints(h, child, out);
        separator = " ";
    }
    if (*separator == ' ') out += "}";
}

// The joint tree as NextFix/NextJnt show it: "A{l1>B{l2#1>C}} D{...}", "#k" for kind k > 0.
std::string describe(const SceneHost& h) {
    std::string out;
    void* node = nullptr;
    uint64_t fixed = 0;
    for (void* cell = NextFix(nullptr, &node, &fixed); cell; cell = NextFix(cell, &node, &fixed)) {
        out += (out.empty() ? "" : " ") + objectName(h, fixed);
        appendJoints(h, node, out);
    }
    return out;
}

struct Case {
    const char* title;
    const char* objects;
    const char* links;
    const char* tree;       // describe() after KinematicInit
    const char* message;    // box text, or null when the structure is sound
    const char* offending;  // name of the link reported in the out value
};

const Case kCases[] = {
    // Fixed list and joint order.
    {"no links", "A B(C)", "", "", nullptr, nullptr},
    {"chain", "A B C", "l1=ABA l2=BCB", "A{l1>B{l2>C}}", nullptr, nullptr},
    // Links are found in object order, each pushed on the front: l2 (on A) before l1 (on D).
    {"branch", "A(B C) D", "l1=ABD l2=ACA l3=BDC", "A{l1>B{l3>D} l2>C}", nullptr, nullptr},
    // Fixed bodies in reverse walk order; T, which moves nothing, leaves the list.
    {"two fixed bodies", "P(T) Q R S", "l1=PRS l2=QSP", "Q{l2>S} P{l1>R}", nullptr, nullptr},
    {"body reached twice", "F A B C", "l1=FAF l2=FBF l3=ACA l4=BCB", "F{l2>B{l4>C} l1>A{l3>C}}",
     nullptr, nullptr},

    // Kinds.
    {"follower below a fixed body", "F A", "l1=FAFf", "F{l1#1>A}", kInvalidFollower, "l1"},
    {"follower below a follower", "F A B", "l1=FAFf l2=ABAf", "F{l1>A{l2#1>B}}", kInvalidFollower,
     "l2"},
    {"follower below an ordinary link", "F A B", "l1=FAF l2=ABAf", "F{l1>A{l2#1>B}}",
     kInvalidFollower, "l2"},
    {"ordinary link below a follower", "F A B", "l1=FAFf l2=ABA", "F{l1#1>A{l2>B}}",
     kInvalidFollower, "l1"},
    {"kind 2: rotational, then linear", "F A B C", "l1=FAFfR l2=ABAfL l3=BCBf",
     "F{l1>A{l2>B{l3#2>C}}}", nullptr, nullptr},
    {"kind 3: linear, then rotational", "F A B C", "l1=FAFfL l2=ABAfR l3=BCBf",
     "F{l1>A{l2>B{l3#3>C}}}", nullptr, nullptr},
    {"kind 4: rotational, then rotational", "F A B C", "l1=FAFfR l2=ABAfR l3=BCBfL",
     "F{l1>A{l2>B{l3#4>C}}}", nullptr, nullptr},
    {"parents with both axes", "F A B C", "l1=FAFf l2=ABAfL l3=BCBf", "F{l1>A{l2>B{l3#1>C}}}",
     kInvalidFollower, "l3"},
    {"grandparent not a follower", "F A B C", "l1=FAFR l2=ABAfL l3=BCBf", "F{l1>A{l2>B{l3#1>C}}}",
     kInvalidFollower, "l3"},

    // Recursion: the circle is built once round, then reported at the joint that starts it.
    {"source is target", "F A", "l1=FAF l2=AAA", "F{l1>A{l2>A}}", kRecursive, "l2"},
    {"two-link circle", "F A B", "l1=FAF l2=ABA l3=BAB", "F{l1>A{l2>B{l3>A}}}", kRecursive, "l2"},
    {"recursion before the kind of the same joint", "F A", "l1=FAF l2=AAAf", "F{l1>A{l2#1>A}}",
     kRecursive, "l2"},
    // Depth first: the circle below the first joint comes before the follower of the second.
    {"faults in depth-first order", "F A B C", "l1=FAFf l2=FBF l3=BCB l4=CCC",
     "F{l2>B{l3>C{l4>C}} l1#1>A}", kRecursive, "l4"},
    // Every body of the circle is a target, so no fixed body leads into it.
    {"circle without a fixed body", "A B", "l1=ABA l2=BAB", "", nullptr, nullptr},
};

TEST(KinematicInit, TreeCheckAndBox) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.title);
        SceneHost h(c.objects);
        addLinks(h, c.links);
        h.connect();

        uint64_t offending = 12345;
        BoxWatch watch;
        const int32_t result = KinematicInit(&offending);
        const std::vector<ShownBox> boxes = watch.stop();

        EXPECT_EQ(describe(h), c.tree);
        EXPECT_EQ(result, c.message ? 0 : 1);
        EXPECT_EQ(linkName(h, offending), c.offending ? c.offending : "?") << offending;
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
        EXPECT_EQ(describe(h), c.tree);
    }
}

TEST(KinematicInit, WalkOutsTheirEndAndRebuilding) {
    SceneHost h("F A B");
    addLinks(h, "l1=FAF l2=FBB");
    h.install();

    void* node = nullptr;
    uint64_t fixed = 0;
    void* cell = NextFix(nullptr, &node, &fixed);
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(fixed, h.body('F'));
    void* const fixedNode = node;
    EXPECT_EQ(NextFix(cell, &node, &fixed), nullptr);
    EXPECT_EQ(node, fixedNode) << "outs untouched at the end";

    void* child = nullptr;
    uint64_t linkObject = 0, childBody = 0;
    void* first = NextJnt(fixedNode, nullptr, &child, &linkObject, &childBody);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(linkObject, SceneHost::kLinkObject + 1);
    EXPECT_EQ(childBody, h.body('B'));
    EXPECT_EQ(NextJnt(child, nullptr, &child, &linkObject, &childBody), nullptr);

    void* second = NextJnt(fixedNode, first, &child, &linkObject, &childBody);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(linkObject, SceneHost::kLinkObject);
    EXPECT_EQ(childBody, h.body('A'));
    EXPECT_EQ(NextJnt(fixedNode, second, &child, &linkObject, &childBody), nullptr);
    EXPECT_EQ(childBody, h.body('A')) << "outs untouched at the end";

    // A new KinematicInit rebuilds from the host's current links.
    h.links[0].targetBody = h.body('B');
    ASSERT_EQ(KinematicInit(nullptr), 1);
    EXPECT_EQ(describe(h), "F{l2>B l1>B}");
}

// A 200-body chain with its links on one object: the walk asks once per object and item.
TEST(KinematicInit, HostCallsGrowWithObjectsPlusLinks) {
    SceneHost h;
    for (int i = 0; i < 200; ++i) h.add(i % 2 ? h.objects.size() - 1 : 0);
    for (uint64_t i = 2; i <= 200; ++i) h.link(i - 1, i, {}, {}, 1);
    h.install();
    // FirstChild of the root, FirstChild, NextSibling and FirstLink per object, NextLink and
    // LinkRecord per item.
    EXPECT_EQ(SceneHost::calls, 1u + 3u * 200u + 2u * 199u);
}

// 10,000 links deep, the last one back to the first moved body.
TEST(KinematicInit, LongChainClosedIntoACircle) {
    constexpr uint64_t kLength = 10000;
    SceneHost h;
    h.add(0);
    for (uint64_t i = 1; i <= kLength; ++i) {
        const uint64_t next = h.add(0);
        h.link(next - 1, next);
    }
    h.link(kLength + 1, 2);
    h.connect();

    uint64_t offending = 0;
    BoxWatch watch;
    EXPECT_EQ(KinematicInit(&offending), 0);
    ASSERT_EQ(watch.stop().size(), 1u);
    EXPECT_EQ(offending, SceneHost::kLinkObject + 1) << "the link out of the first moved body";

    void* node = nullptr;
    uint64_t body = 0;
    ASSERT_NE(NextFix(nullptr, &node, &body), nullptr);
    uint64_t depth = 0;
    while (NextJnt(node, nullptr, &node, nullptr, &body)) ++depth;
    EXPECT_EQ(depth, kLength + 1);
    EXPECT_EQ(body, 2u);
}

// C's next sibling is A again; B's link list returns to its first item.
TEST(KinematicInit, HostListsThatLoopEndTheWalk) {
    SceneHost h("A B C");
    addLinks(h, "l1=ABB l2=BCB");
    const SceneHost::Object& b = h.objects[h.body('B')];
    h.objects[h.body('C')].nextSibling = h.body('A');
    h.nextLink[b.lastLink - SceneHost::kLinkItem] = b.firstLink;
    h.install();
    EXPECT_EQ(describe(h), "A{l1>B{l2>C}}");
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

// Each walk is the values met in order, checked against a fresh set.
TEST(FirstMeetings, AgreesWithASetOverSuccessiveWalks) {
    const std::vector<std::vector<uint64_t>> walks = {
        {5, 9, 2, 7},        // first walk: every value new
        {5, 9, 2, 7},        // the same again
        {5, 9, 5, 2, 7},     // a repeat where the previous walk went on
        {5, 9, 2, 7},        // back to the walk before last
        {5, 9},              // stops early
        {5, 9, 2, 7, 7, 3},  // goes beyond, with a value met twice in a row
        {3, 7, 2, 9, 5, 3},  // the other way round, ending where it began
        {3, 7, 2, 9, 5, 3},  // the same loop again
        {},
        {1, 1, 1},
    };
    orv::FirstMeetings meetings;
    for (size_t w = 0; w < walks.size(); ++w) {
        meetings.startWalk();
        std::set<uint64_t> seen;
        for (size_t i = 0; i < walks[w].size(); ++i) {
            const uint64_t v = walks[w][i];
            EXPECT_EQ(meetings.first(v), seen.insert(v).second) << "walk " << w << ", value " << i;
        }
    }
}

}  // namespace
