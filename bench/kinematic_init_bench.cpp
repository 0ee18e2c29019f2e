// KinematicInit's tree build against the literal search it replaces.
//
// The literal search asks the host for the whole scene once per object (is it a link's
// target?) and once per tree node (which links start here?), so its host calls grow with
// objects times links. The library walks the scene once. Both must build the same tree in
// the same order, and the check must find the same fault.
//
//   kinematic_init_bench            10,000 bodies, 10,000 links: 100 fixed bodies, each with a
//                                   chain, side branches and followers
//   kinematic_init_bench --quick    a small scene with faults (circles of links, followers that
//                                   cannot be closed), for CI
//
// Prints host calls and times and exits nonzero when the trees or the check results differ.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "core/records.h"
#include "kinematics/host_callbacks.h"
#include "kinematics/joint_tree.h"
#include "kinematics/kinematic_init.h"

namespace {

// ---- The host: an object tree with link items, every call counted ----------------------------

struct HostObject {
    uint64_t parent, firstChild, lastChild, nextSibling, firstItem, lastItem;
};
struct HostItem {
    Lnk* record;
    uint64_t next;
};

// Object n is index n (0 is the scene root); item n is index n - 1 of items.
std::vector<HostObject> objects(1);
std::vector<HostItem> items;
std::deque<Lnk> records;
uint64_t calls = 0;

// clang-format off
uint64_t firstChild(uint64_t o) { return ++calls, objects[o].firstChild; }
uint64_t nextSibling(uint64_t o) { return ++calls, objects[o].nextSibling; }
uint64_t parentOf(uint64_t o) { return ++calls, objects[o].parent; }
uint64_t firstLink(uint64_t o) { return ++calls, objects[o].firstItem; }
uint64_t nextLink(uint64_t i) { return ++calls, items[i - 1].next; }
Lnk* linkRecord(uint64_t i) { return ++calls, items[i - 1].record; }
// clang-format on

uint64_t addObject(uint64_t parent) {
    const uint64_t id = objects.size();
    objects.push_back({parent, 0, 0, 0, 0, 0});
    HostObject& p = objects[parent];
    (p.lastChild ? objects[p.lastChild].nextSibling : p.firstChild) = id;
    p.lastChild = id;
    return id;
}

Lnk& addLink(uint64_t carrier, uint64_t source, uint64_t target, const char* flags = "") {
    Lnk& link = records.emplace_back();
    orv::setBuiltInDefaults(link);
    link.follow = std::strchr(flags, 'f') != nullptr;
    if (std::strchr(flags, 'L')) link.rot = 0;
    if (std::strchr(flags, 'R')) link.lin = 0;
    link.sourceBody = source;
    link.targetBody = target;
    link.linkObject = 1000000 + records.size();
    items.push_back({&link, 0});
    const uint64_t item = items.size();
    HostObject& c = objects[carrier];
    (c.lastItem ? items[c.lastItem - 1].next : c.firstItem) = item;
    c.lastItem = item;
    return link;
}

// A fixed pseudo-random sequence, so that every run builds the same scene.
uint64_t randomState = 12345;
uint64_t random(uint64_t n) {
    randomState = randomState * 6364136223846793005u + 1442695040888963407u;
    return (randomState >> 33) % n;
}

// groups x size bodies. In each group body 0 is fixed; bodies 1 .. size/2 - 1 form a chain
// from it, every body k < size - size/2 carries a side branch to body size/2 + k, and one more
// link reaches the chain's end a second time. Links 10-12 of each chain are followers whose
// axes give the follower kinds 2, 3 and 4 in turn. The host tree holds the bodies shuffled,
// partly nested, and each link item hangs on a random object. With faults, every fourth group's
// followers cannot be closed, and each group gets a link from a body to itself and one back up
// the chain.
void buildScene(int groups, int size, bool faults) {
    const int half = size / 2;
    std::vector<uint64_t> order(size_t(groups) * size);
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    for (size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[random(i)]);
    std::vector<uint64_t> body(order.size());
    for (size_t i = 0; i < order.size(); ++i) {
        const uint64_t parent =
            i > 0 && random(3) == 0 ? body[order[i - 1 - random(std::min<size_t>(i, 5))]] : 0;
        body[order[i]] = addObject(parent);
    }
    auto carrier = [&] { return body[random(body.size())]; };
    const char* const followerAxes[4][3] = {
        {"fR", "fL", "f"}, {"fL", "fR", "f"}, {"fR", "fR", "f"}, {"f", "f", "f"}};
    for (int g = 0; g < groups; ++g) {
        const uint64_t* b = &body[size_t(g) * size];
        for (int k = 1; k < half; ++k)
            addLink(carrier(), b[k - 1], b[k],
                    k >= 10 && k <= 12 ? followerAxes[g % (faults ? 4 : 3)][k - 10] : "");
        for (int k = 0; k < size - half; ++k) addLink(carrier(), b[k], b[half + k]);
        addLink(carrier(), b[size - 2], b[half - 1]);
        if (faults) {
            addLink(carrier(), b[5], b[5]);
            addLink(carrier(), b[8], b[6]);
        }
    }
}

orv::HostCallbacks benchCallbacks() {
    orv::HostCallbacks c{};
    c.firstChild = firstChild;
    c.nextSibling = nextSibling;
    c.parent = parentOf;
    c.firstLink = firstLink;
    c.nextLink = nextLink;
    c.linkRecord = linkRecord;
    return c;
}

// ---- The literal search, step by step as KinematicInit is described ---------------------------

namespace literal {

struct Joint;
struct Node {
    uint64_t body;
    Joint* firstJoint;
};
struct Joint {
    Lnk* link;
    Node* child;
    Node* parent;
    Joint* next;
    Joint* parentJoint;
    int32_t kind;
};
struct Cell {
    Node* node;
    Cell* next;
};

struct Tree {
    Cell* fixed = nullptr;
    std::deque<Node> nodes;
    std::deque<Joint> joints;
    std::deque<Cell> cells;
};

// Is body some link's target? Searches all objects depth first, link items in list order.
bool isLinkTarget(uint64_t first, uint64_t body) {
    for (uint64_t o = first; o; o = nextSibling(o)) {
        for (uint64_t item = firstLink(o); item; item = nextLink(item))
            if (linkRecord(item)->targetBody == body) return true;
        if (isLinkTarget(firstChild(o), body)) return true;
    }
    return false;
}

// Every link that starts at body, in the order found.
void findLinksFrom(uint64_t first, uint64_t body, std::vector<Lnk*>& found) {
    for (uint64_t o = first; o; o = nextSibling(o)) {
        for (uint64_t item = firstLink(o); item; item = nextLink(item)) {
            Lnk* link = linkRecord(item);
            if (link->sourceBody == body) found.push_back(link);
        }
        findLinksFrom(firstChild(o), body, found);
    }
}

// Step 2: every object that is no link's target is pushed on the front of the fixed list.
void collectFixed(Tree& tree, uint64_t first) {
    for (uint64_t o = first; o; o = nextSibling(o)) {
        if (!isLinkTarget(firstChild(0), o)) {
            Node* node = &tree.nodes.emplace_back(Node{o, nullptr});
            tree.fixed = &tree.cells.emplace_back(Cell{node, tree.fixed});
        }
        collectFixed(tree, firstChild(o));
    }
}

bool purelyLinear(const Lnk& l) {
    return l.lin && !l.rot;
}
bool purelyRotational(const Lnk& l) {
    return l.rot && !l.lin;
}

// Step 3. A target already on the path gets its joint and node but no subtree: the search
// would otherwise run round the circle for ever.
void buildSubtree(Tree& tree, Node* node, Joint* parentJoint, std::vector<uint64_t>& path) {
    std::vector<Lnk*> found;
    findLinksFrom(firstChild(0), node->body, found);
    for (Lnk* link : found) {
        Node* child = &tree.nodes.emplace_back(Node{link->targetBody, nullptr});
        Joint* joint =
            &tree.joints.emplace_back(Joint{link, child, node, node->firstJoint, parentJoint, 0});
        node->firstJoint = joint;
        if (link->follow) {
            joint->kind = 1;
            if (parentJoint) {
                parentJoint->kind = 0;
                Joint* grandparentJoint = parentJoint->parentJoint;
                if (grandparentJoint && parentJoint->link->follow &&
                    grandparentJoint->link->follow) {
                    const Lnk& p = *parentJoint->link;
                    const Lnk& gp = *grandparentJoint->link;
                    if (purelyLinear(gp) && purelyRotational(p))
                        joint->kind = 3;
                    else if (purelyRotational(gp) && purelyLinear(p))
                        joint->kind = 2;
                    else if (purelyRotational(gp) && purelyRotational(p))
                        joint->kind = 4;
                }
            }
        }
        if (std::find(path.begin(), path.end(), child->body) != path.end()) continue;
        path.push_back(child->body);
        buildSubtree(tree, child, joint, path);
        path.pop_back();
    }
}

void build(Tree& tree) {
    collectFixed(tree, firstChild(0));
    for (Cell* cell = tree.fixed; cell; cell = cell->next) {
        std::vector<uint64_t> path{cell->node->body};
        buildSubtree(tree, cell->node, nullptr, path);
    }
    // Step 4: fixed bodies without joints leave the list.
    Cell** c = &tree.fixed;
    while (*c) {
        if ((*c)->node->firstJoint)
            c = &(*c)->next;
        else
            *c = (*c)->next;
    }
}

bool inSubtree(const Node* node, uint64_t body) {
    for (const Joint* j = node->firstJoint; j; j = j->next)
        if (j->child->body == body || inSubtree(j->child, body)) return true;
    return false;
}

orv::ConsistencyFault checkNode(const Node* node) {
    for (const Joint* j = node->firstJoint; j; j = j->next) {
        if (j->child->body == node->body || inSubtree(j->child, node->body)) return {265, j->link};
        if (j->kind == 1) return {267, j->link};
        const orv::ConsistencyFault below = checkNode(j->child);
        if (below.textId) return below;
    }
    return {0, nullptr};
}

orv::ConsistencyFault check(const Tree& tree) {
    for (const Cell* cell = tree.fixed; cell; cell = cell->next) {
        const orv::ConsistencyFault fault = checkNode(cell->node);
        if (fault.textId) return fault;
    }
    return {0, nullptr};
}

}  // namespace literal

// ---- Comparison -------------------------------------------------------------------------------

std::string firstDifference;

bool sameNode(const orv::TreeNode* mine, const literal::Node* theirs) {
    if (mine->body != theirs->body) return firstDifference = "node body", false;
    const orv::Joint* j = mine->firstJoint;
    const literal::Joint* k = theirs->firstJoint;
    for (; j && k; j = j->next, k = k->next) {
        if (j->link != k->link) return firstDifference = "joint order", false;
        if (j->kind != k->kind) return firstDifference = "joint kind", false;
        if (j->parent != mine) return firstDifference = "parent node", false;
        const bool parentJointsMatch =
            !j->parentJoint == !k->parentJoint &&
            (!k->parentJoint || j->parentJoint->link == k->parentJoint->link);
        if (!parentJointsMatch) return firstDifference = "parent joint", false;
        if (!sameNode(j->child, k->child)) return false;
    }
    if (j || k) return firstDifference = "joint count", false;
    return true;
}

bool sameTree(const orv::JointTree& mine, const literal::Tree& theirs) {
    const orv::FixedCell* c = mine.fixedList();
    const literal::Cell* d = theirs.fixed;
    for (; c && d; c = c->next, d = d->next)
        if (!sameNode(c->node, d->node)) return false;
    if (c || d) return firstDifference = "fixed list length", false;
    return true;
}

size_t countJoints(const orv::JointTree& tree) {
    size_t n = 0;
    std::vector<const orv::Joint*> pending;
    for (const orv::FixedCell* c = tree.fixedList(); c; c = c->next)
        pending.push_back(c->node->firstJoint);
    while (!pending.empty()) {
        const orv::Joint* j = pending.back();
        pending.pop_back();
        if (!j) continue;
        ++n;
        pending.push_back(j->next);
        pending.push_back(j->child->firstJoint);
    }
    return n;
}

std::string describeFault(const orv::ConsistencyFault& f) {
    if (!f.textId) return "sound";
    return "string " + std::to_string(f.textId) + " at link " + std::to_string(f.link->linkObject);
}

double msSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const int groups = quick ? 8 : 100, size = quick ? 40 : 100;
    buildScene(groups, size, quick);
    orv::setHostCallbacks(benchCallbacks());
    std::printf("scene: %zu bodies, %zu links in %d groups%s\n", objects.size() - 1, records.size(),
                groups, quick ? ", with faults" : "");

    // Literal search: once; it is slow.
    literal::Tree theirs;
    calls = 0;
    auto start = std::chrono::steady_clock::now();
    literal::build(theirs);
    const double literalMs = msSince(start);
    const uint64_t literalCalls = calls;
    start = std::chrono::steady_clock::now();
    const orv::ConsistencyFault literalFault = literal::check(theirs);
    const double literalCheckMs = msSince(start);

    // Library: the median of several runs; each run's host calls are the same.
    orv::JointTree mine;
    std::vector<double> runMs;
    uint64_t libraryCalls = 0;
    for (int run = 0; run < 7; ++run) {
        calls = 0;
        start = std::chrono::steady_clock::now();
        mine.build(orv::hostCallbacks());
        runMs.push_back(msSince(start));
        libraryCalls = calls;
    }
    std::sort(runMs.begin(), runMs.end());
    const double libraryMs = runMs[runMs.size() / 2];
    start = std::chrono::steady_clock::now();
    const orv::ConsistencyFault libraryFault = orv::checkConsistency(mine);
    const double libraryCheckMs = msSince(start);

    const bool treesSame = sameTree(mine, theirs);
    const bool checksSame =
        literalFault.textId == libraryFault.textId && literalFault.link == libraryFault.link;

    std::printf("tree: %zu joints\n\n", countJoints(mine));
    std::printf("%-16s %15s %12s %12s\n", "build", "host calls", "build ms", "check ms");
    std::printf("%-16s %15llu %12.3f %12.3f\n", "literal search", (unsigned long long)literalCalls,
                literalMs, literalCheckMs);
    std::printf("%-16s %15llu %12.3f %12.3f\n", "library", (unsigned long long)libraryCalls,
                libraryMs, libraryCheckMs);
    const double callRatio = double(literalCalls) / double(libraryCalls);
    const double timeRatio = literalMs / libraryMs;
    std::printf("%-16s %14.0fx %11.0fx\n\n", "ratio", callRatio, timeRatio);
    std::printf("trees identical: %s%s\n", treesSame ? "yes" : "no, ",
                treesSame ? "" : firstDifference.c_str());
    std::printf("check identical: %s (library: %s, literal: %s)\n", checksSame ? "yes" : "no",
                describeFault(libraryFault).c_str(), describeFault(literalFault).c_str());
    if (!quick)
        std::printf("target of 100x fewer calls and 100x less time: %s\n",
                    callRatio >= 100 && timeRatio >= 100 ? "met" : "not met");
    return treesSame && checksSame ? 0 : 1;
}
