// Sections: the structure, bounding what the triangle test accepts, the build, the searches.
#include "raytrace/scene_accel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "core/checked_alloc.h"
#include "raytrace/box_test.h"
#include "raytrace/build_threads.h"
#include "raytrace/primary_tiles.h"
#include "raytrace/triangle_hit.h"

namespace orv {

namespace {

// ---- The structure ----

// What the test of one triangle reads, copied from the octree's record.
// Two cache lines: the plane test reads only the first.
struct alignas(64) HotTriangle {
    Vec3 n;
    double dist;
    uint32_t seq;    // place in the walk order
    uint32_t flags;  // kTwoSided, kEndsLeaf
    Vec3 p0, a, b;
    ScreenRect rect;
};
static_assert(sizeof(HotTriangle) == 128, "two cache lines");
constexpr uint32_t kTwoSided = 1;  // of a two-sided body
constexpr uint32_t kEndsLeaf = 2;  // the last of its hierarchy leaf

// What only a candidate needs.
struct TriangleSource {
    const Triangle* triangle;
    const Body* body;
    int32_t octreeNode;  // index into SceneAccel::octree
    uint32_t seq;        // place in the walk order
};

struct OctreeRef {
    Vec3 boxMin, boxMax;
    int32_t parent;  // -1 for a body's root
};

// Four children a node, their boxes side by side so that one pass tests all four: per side
// (minimum, maximum corner), per axis, per child; single precision, rounded outwards. A child
// is an inner node at index `child` (not negative) or a leaf whose triangles start at
// -1 - child and run to the one marked kEndsLeaf; an unused slot has an empty box and no walk
// places. Children are stored in the order of their first walk place. The root is node 0.
struct alignas(64) WideNode {
    FourBoxes boxes;
    int32_t child[4];
    uint32_t minSeq[4];  // the earliest walk place under each child
};
static_assert(sizeof(WideNode) == 128, "two cache lines");

// The latest walk place under each child, needed only once a shadow search has passed an
// occluder.
struct LatestPlaces {
    uint32_t maxSeq[4];
};

// The walk places a subtree's triangles span.
struct SeqRange {
    uint32_t minSeq, maxSeq;
};

// Zero-filled and starting on a cache line; freed with freeArray.
template <typename T>
T* allocArray(size_t n) {
    constexpr size_t kLine = 64;
    char* raw = static_cast<char*>(checkedAlloc(sizeof(T) * (n > 0 ? n : 1) + kLine + sizeof(void*)));
    char* start = raw + sizeof(void*);
    start += (kLine - reinterpret_cast<uintptr_t>(start) % kLine) % kLine;
    std::memcpy(start - sizeof(void*), &raw, sizeof raw);
    return reinterpret_cast<T*>(start);
}

void freeArray(void* p) {
    if (!p) return;
    void* raw;
    std::memcpy(&raw, static_cast<char*>(p) - sizeof(void*), sizeof raw);
    checkedFree(raw);
}

}  // namespace

struct SceneAccel {
    HotTriangle* triangles = nullptr;  // in leaf order
    TriangleSource* sources = nullptr;
    int32_t triangleCount = 0;
    // Triangles whose accepted points cannot be bounded (a plane normal nearly in the
    // triangle's plane, huge or non-finite corners): tested by every search.
    HotTriangle* unbounded = nullptr;
    TriangleSource* unboundedSources = nullptr;
    int32_t unboundedCount = 0;
    WideNode* nodes = nullptr;
    LatestPlaces* latest = nullptr;  // per node
    int32_t nodeCount = 0;
    OctreeRef* octree = nullptr;
    // Primary rays' candidates: index i < triangleCount is triangles[i], the others
    // unbounded[i - triangleCount].
    PrimaryTiles tiles;
};

namespace {

// ---- Bounding what the triangle test accepts ----
//
// The test takes the ray's point on the plane (n, dist) and accepts it when its barycentric
// weights, measured in the triangle's own plane, are within tolerance. Where the host's normal
// is not the corners' normal those planes differ: the accepted points form the triangle's
// shadow along its own normal on the plane (n, dist). Its corners are bounded, widened for the
// tolerance and for rounding; a point the test accepts lies inside.

bool finiteBox(const double lo[3], const double hi[3]) {
    for (int k = 0; k < 3; ++k) {
        if (!(std::fabs(lo[k]) < 1e100 && std::fabs(hi[k]) < 1e100)) return false;
    }
    return true;
}

// False when the triangle's accepted points cannot be bounded.
bool acceptedBounds(const Triangle& tri, double lo[3], double hi[3]) {
    Vec3 m = cross(tri.p1 - tri.p0, tri.p2 - tri.p0);
    const double len = length(m);
    if (!(len > 0.0)) return false;
    m = m * (1.0 / len);
    const double c = dot(tri.n, m);
    if (!(std::fabs(c) >= 1e-3)) return false;
    for (int k = 0; k < 3; ++k) {
        lo[k] = std::numeric_limits<double>::infinity();
        hi[k] = -std::numeric_limits<double>::infinity();
    }
    for (const Vec3* p : {&tri.p0, &tri.p1, &tri.p2}) {
        const Vec3 q = *p - m * ((dot(tri.n, *p) + tri.dist) / c);
        const double qk[3] = {q.x, q.y, q.z};
        for (int k = 0; k < 3; ++k) {
            lo[k] = std::min(lo[k], qk[k]);
            hi[k] = std::max(hi[k], qk[k]);
        }
    }
    if (!finiteBox(lo, hi)) return false;
    double extent = 0.0, magnitude = 0.0;
    for (int k = 0; k < 3; ++k) {
        extent = std::max(extent, hi[k] - lo[k]);
        magnitude = std::max({magnitude, std::fabs(lo[k]), std::fabs(hi[k])});
    }
    const double margin = (2e-5 * extent + 1e-9 * magnitude) / std::fabs(c) + 1e-300;
    for (int k = 0; k < 3; ++k) {
        lo[k] -= margin;
        hi[k] += margin;
    }
    return finiteBox(lo, hi);
}

// No ray can ever pass this triangle's test (collinear corners, or a zero or NaN normal).
bool neverHit(const Triangle& tri) {
    const double w[7] = {tri.a.x, tri.a.y, tri.a.z, tri.b.x, tri.b.y, tri.b.z, tri.dist};
    for (double x : w) {
        if (std::isnan(x)) return true;
    }
    return tri.n.x == 0.0 && tri.n.y == 0.0 && tri.n.z == 0.0;
}

// ---- The build ----

struct BuildItem {
    double box[2][3];
    double centre[3];
};

struct Bin {
    double box[2][3];
    int32_t count;
};

void emptyBox(double box[2][3]) {
    for (int k = 0; k < 3; ++k) {
        box[0][k] = std::numeric_limits<double>::infinity();
        box[1][k] = -std::numeric_limits<double>::infinity();
    }
}

void growBox(double box[2][3], const double add[2][3]) {
    for (int k = 0; k < 3; ++k) {
        box[0][k] = std::min(box[0][k], add[0][k]);
        box[1][k] = std::max(box[1][k], add[1][k]);
    }
}

double halfArea(const double box[2][3]) {
    const double x = box[1][0] - box[0][0], y = box[1][1] - box[0][1], z = box[1][2] - box[0][2];
    return x * y + y * z + z * x;
}

constexpr int kBins = 16;
constexpr int32_t kMaxLeaf = 4;
constexpr int kMaxSahDepth = 48;  // deeper nodes split in the middle, keeping the depth bounded

// A node while the hierarchy is built; boxes in double precision until the end.
struct BuildNode {
    double box[2][3];
    int32_t first;
    int32_t count;
};

class BvhBuilder {
public:
    BvhBuilder(const BuildItem* items, int32_t* ids, BuildNode* nodes)
        : items_(items), ids_(ids), nodes_(nodes) {}

    // Builds over ids_[0, count) with up to `threads` threads; returns the node count.
    int32_t build(int32_t count, int threads) {
        nodeCount_ = 1;  // the root
        // The top of the tree on this thread until there is a run for every thread to take.
        std::vector<Task> shared;
        Task stack[kStackDepth];
        int top = 0;
        stack[top++] = Task{0, 0, count, 0};
        while (top > 0) {
            const Task task = stack[--top];
            if (threads > 1 && task.end - task.begin >= kParallelRun &&
                static_cast<int>(shared.size()) + top < 4 * threads) {
                Task left, right;
                if (splitNode(task, left, right, true)) {
                    stack[top++] = right;
                    stack[top++] = left;
                }
                continue;
            }
            shared.push_back(task);
        }
        std::sort(shared.begin(), shared.end(),
                  [](const Task& a, const Task& b) { return a.end - a.begin > b.end - b.begin; });
        std::atomic<size_t> next{0};
        onThreads(shared.size() > 1 ? threads : 1, [&](int) {
            for (size_t i; (i = next.fetch_add(1)) < shared.size();) buildSubtree(shared[i]);
        });
        return nodeCount_;
    }

private:
    struct Task {
        int32_t node, begin, end, depth;
    };
    // Each level pushes two tasks and takes one, so the stack never holds more than the
    // depth, which the middle cuts below kMaxSahDepth keep under 32 more levels.
    static constexpr int kStackDepth = kMaxSahDepth + 40;
    static constexpr int32_t kParallelRun = 1 << 15;  // shorter runs stay on one thread

    void buildSubtree(const Task& root) {
        Task stack[kStackDepth];
        int top = 0;
        stack[top++] = root;
        while (top > 0) {
            Task left, right;
            if (splitNode(stack[--top], left, right)) {
                stack[top++] = right;
                stack[top++] = left;
            }
        }
    }

    // Runs part(begin, end, result) over [begin, end), on two threads (halves, merged) when
    // asked to and the run is long: the top of the tree, before the threads take subtrees.
    // Boxes and counts merge exactly, so the results do not depend on the split.
    template <typename Result, typename Part, typename Merge>
    static void overItems(bool parallel, int32_t begin, int32_t end, Result& result, Part part,
                          Merge merge) {
        if (!parallel || end - begin < kParallelRun * 8) {
            part(begin, end, result);
            return;
        }
        const int32_t middle = begin + (end - begin) / 2;
        Result upper = result;
        onThreads(2, [&](int half) {
            if (half == 0) part(begin, middle, result);
            else part(middle, end, upper);
        });
        merge(result, upper);
    }

    struct NodeBounds {
        double box[2][3], centres[2][3];
    };

    // Sets the node's box and either leaves it a leaf (false) or splits it in two.
    bool splitNode(const Task& task, Task& left, Task& right, bool parallel = false) {
        BuildNode& node = nodes_[task.node];
        NodeBounds bounds;
        emptyBox(bounds.box);
        emptyBox(bounds.centres);
        overItems(
            parallel, task.begin, task.end, bounds,
            [this](int32_t begin, int32_t end, NodeBounds& b) {
                for (int32_t i = begin; i < end; ++i) {
                    const BuildItem& item = items_[ids_[i]];
                    growBox(b.box, item.box);
                    for (int k = 0; k < 3; ++k) {
                        b.centres[0][k] = std::min(b.centres[0][k], item.centre[k]);
                        b.centres[1][k] = std::max(b.centres[1][k], item.centre[k]);
                    }
                }
            },
            [](NodeBounds& into, const NodeBounds& from) {
                growBox(into.box, from.box);
                growBox(into.centres, from.centres);
            });
        std::memcpy(node.box, bounds.box, sizeof node.box);
        const int32_t count = task.end - task.begin;
        const int32_t middle =
            count <= kMaxLeaf ? task.begin : chooseSplit(task, node, bounds.centres, parallel);
        if (middle == task.begin) {
            node.first = task.begin;
            node.count = count;
            return false;
        }
        const int32_t first = nodeCount_.fetch_add(2);
        node.first = first;
        node.count = 0;
        left = Task{first, task.begin, middle, task.depth + 1};
        right = Task{first + 1, middle, task.end, task.depth + 1};
        return true;
    }

    // Where to cut ids_[begin, end): the surface area heuristic over binned centres, or the
    // middle when it finds no cut; begin when the node should stay a leaf.
    int32_t chooseSplit(const Task& task, const BuildNode& node, const double centres[2][3],
                        bool parallel) {
        const int32_t count = task.end - task.begin;
        const int32_t middle = task.begin + count / 2;
        if (task.depth >= kMaxSahDepth) return middle;

        struct Bins {
            Bin of[3][kBins];
        } bins;
        double scale[3];
        for (int k = 0; k < 3; ++k) {
            const double extent = centres[1][k] - centres[0][k];
            scale[k] = extent > 0.0 ? kBins * (1.0 - 1e-9) / extent : 0.0;
            for (Bin& bin : bins.of[k]) {
                emptyBox(bin.box);
                bin.count = 0;
            }
        }
        overItems(
            parallel, task.begin, task.end, bins,
            [&](int32_t begin, int32_t end, Bins& b) {
                for (int32_t i = begin; i < end; ++i) {
                    const BuildItem& item = items_[ids_[i]];
                    for (int k = 0; k < 3; ++k) {
                        Bin& bin = b.of[k][binOf(item.centre[k], centres[0][k], scale[k])];
                        growBox(bin.box, item.box);
                        ++bin.count;
                    }
                }
            },
            [](Bins& into, const Bins& from) {
                for (int k = 0; k < 3; ++k) {
                    for (int b = 0; b < kBins; ++b) {
                        growBox(into.of[k][b].box, from.of[k][b].box);
                        into.of[k][b].count += from.of[k][b].count;
                    }
                }
            });

        double bestCost = std::numeric_limits<double>::infinity();
        int bestAxis = -1, bestBin = 0;
        for (int k = 0; k < 3; ++k) {
            if (scale[k] == 0.0) continue;
            double rightArea[kBins];
            int32_t rightCount[kBins];
            double box[2][3];
            emptyBox(box);
            int32_t n = 0;
            for (int b = kBins - 1; b > 0; --b) {
                growBox(box, bins.of[k][b].box);
                n += bins.of[k][b].count;
                rightArea[b] = halfArea(box);
                rightCount[b] = n;
            }
            emptyBox(box);
            n = 0;
            for (int b = 1; b < kBins; ++b) {
                growBox(box, bins.of[k][b - 1].box);
                n += bins.of[k][b - 1].count;
                if (n == 0 || rightCount[b] == 0) continue;
                const double cost = n * halfArea(box) + rightCount[b] * rightArea[b];
                if (cost < bestCost) {
                    bestCost = cost;
                    bestAxis = k;
                    bestBin = b;
                }
            }
        }
        if (bestAxis < 0) return count > 2 * kMaxLeaf ? middle : task.begin;

        // A split costs one more box test on the way down.
        const double leafCost = count * halfArea(node.box);
        if (count <= 2 * kMaxLeaf && leafCost <= halfArea(node.box) + bestCost) return task.begin;

        const int k = bestAxis;
        const double low = centres[0][k], s = scale[k];
        int32_t* cut = std::partition(ids_ + task.begin, ids_ + task.end, [&](int32_t id) {
            return binOf(items_[id].centre[k], low, s) < bestBin;
        });
        const int32_t at = static_cast<int32_t>(cut - ids_);
        return at == task.begin || at == task.end ? middle : at;
    }

    static int binOf(double centre, double low, double scale) {
        const int b = static_cast<int>((centre - low) * scale);
        return b < 0 ? 0 : (b >= kBins ? kBins - 1 : b);
    }

    const BuildItem* items_;
    int32_t* ids_;
    BuildNode* nodes_;
    std::atomic<int32_t> nodeCount_{0};
};

HotTriangle hotCopy(const Triangle& tri, bool twoSided, uint32_t seq) {
    HotTriangle hot;
    hot.p0 = tri.p0;
    hot.a = tri.a;
    hot.b = tri.b;
    hot.n = tri.n;
    hot.dist = tri.dist;
    hot.rect = tri.rect;
    hot.seq = seq;
    hot.flags = twoSided ? kTwoSided : 0u;
    return hot;
}

int32_t countOctreeNodes(const OctreeNode& node) {
    int32_t n = 1;
    for (int32_t k = 0; k < node.childCount; ++k) n += countOctreeNodes(*node.children[k]);
    return n;
}

// Walks the octree in the search's order, numbering triangles and recording node boxes.
class WalkOrder {
public:
    WalkOrder(SceneAccel& accel, BuildItem* items, TriangleSource* sources)
        : accel_(accel), items_(items), sources_(sources) {}

    void walk(const OctreeNode& node, const Body& body, int32_t parent) {
        const int32_t index = octreeCount_++;
        accel_.octree[index] = OctreeRef{node.boxMin, node.boxMax, parent};
        for (int32_t k = 0; k < node.triangleCount; ++k) {
            const Triangle& tri = node.triangles[k];
            const uint32_t seq = seq_++;
            if (neverHit(tri)) continue;
            const TriangleSource source{&tri, &body, index, seq};
            BuildItem item;
            if (acceptedBounds(tri, item.box[0], item.box[1])) {
                for (int i = 0; i < 3; ++i) item.centre[i] = 0.5 * (item.box[0][i] + item.box[1][i]);
                items_[bounded_] = item;
                sources_[bounded_] = source;
                ++bounded_;
            } else {
                accel_.unbounded[accel_.unboundedCount] = hotCopy(tri, body.twoSided != 0, seq);
                accel_.unboundedSources[accel_.unboundedCount] = source;
                ++accel_.unboundedCount;
            }
        }
        for (int32_t k = 0; k < node.childCount; ++k) walk(*node.children[k], body, index);
    }

    int32_t bounded() const { return bounded_; }

private:
    SceneAccel& accel_;
    BuildItem* items_;
    TriangleSource* sources_;
    int32_t octreeCount_ = 0;
    int32_t bounded_ = 0;
    uint32_t seq_ = 0;
};

// The triangles' copies in the hierarchy's leaf order, made from the octree's records by up
// to `threads` threads.
void copyInLeafOrder(SceneAccel& accel, const TriangleSource* sources, const int32_t* ids,
                     int32_t count, int threads) {
    const int parts = count >= (1 << 16) ? std::max(threads, 1) : 1;
    onThreads(parts, [&](int part) {
        const int32_t end = int32_t(int64_t(count) * (part + 1) / parts);
        for (int32_t i = int32_t(int64_t(count) * part / parts); i < end; ++i) {
            const TriangleSource& source = sources[ids[i]];
            accel.sources[i] = source;
            accel.triangles[i] = hotCopy(*source.triangle, source.body->twoSided != 0, source.seq);
        }
    });
}

int32_t countTriangles(const OctreeNode& node) {
    int32_t n = node.triangleCount;
    for (int32_t k = 0; k < node.childCount; ++k) n += countTriangles(*node.children[k]);
    return n;
}

// Rounds a double box outwards to single precision.
void roundOutwards(const double box[2][3], float lo[3], float hi[3]) {
    for (int k = 0; k < 3; ++k) {
        lo[k] = roundTowards(box[0][k], false);
        hi[k] = roundTowards(box[1][k], true);
    }
}

// The walk places under each binary node; children always come after their parent, so one
// backward pass sees them first.
std::vector<SeqRange> binaryRanges(const TriangleSource* sources, const BuildNode* built,
                                   int32_t count) {
    std::vector<SeqRange> ranges(count, SeqRange{UINT32_MAX, 0});
    for (int32_t i = count - 1; i >= 0; --i) {
        const BuildNode& node = built[i];
        SeqRange& range = ranges[i];
        if (node.count > 0) {
            for (int32_t k = node.first; k < node.first + node.count; ++k) {
                range.minSeq = std::min(range.minSeq, sources[k].seq);
                range.maxSeq = std::max(range.maxSeq, sources[k].seq);
            }
        } else {
            const SeqRange& l = ranges[node.first];
            const SeqRange& r = ranges[node.first + 1];
            range = SeqRange{std::min(l.minSeq, r.minSeq), std::max(l.maxSeq, r.maxSeq)};
        }
    }
    return ranges;
}

// The final nodes: each takes the children of up to three binary nodes, opening the largest
// box first.
void collapseHierarchy(SceneAccel& accel, const BuildNode* built, int32_t builtCount) {
    const std::vector<SeqRange> ranges = binaryRanges(accel.sources, built, builtCount);
    // At most one node for each inner binary node, and the root.
    accel.nodes = allocArray<WideNode>(static_cast<size_t>(builtCount) / 2 + 1);
    accel.latest = allocArray<LatestPlaces>(static_cast<size_t>(builtCount) / 2 + 1);
    int32_t count = 1;
    std::vector<std::pair<int32_t, int32_t>> work{{0, 0}};  // (wide node, binary node)
    while (!work.empty()) {
        const auto [at, from] = work.back();
        work.pop_back();
        int32_t kids[4] = {from, -1, -1, -1};
        int n = 1;
        if (built[from].count == 0) {
            kids[0] = built[from].first;
            kids[1] = built[from].first + 1;
            n = 2;
        }
        while (n < 4) {
            int open = -1;
            double largest = -1.0;
            for (int c = 0; c < n; ++c) {
                const double area = halfArea(built[kids[c]].box);
                if (built[kids[c]].count == 0 && area > largest) {
                    largest = area;
                    open = c;
                }
            }
            if (open < 0) break;
            const int32_t inner = kids[open];
            kids[open] = built[inner].first;
            kids[n++] = built[inner].first + 1;
        }
        for (int c = 1; c < n; ++c) {  // by earliest walk place
            const int32_t kid = kids[c];
            int to = c;
            for (; to > 0 && ranges[kids[to - 1]].minSeq > ranges[kid].minSeq; --to) kids[to] = kids[to - 1];
            kids[to] = kid;
        }
        WideNode node{};
        for (int c = 0; c < 4; ++c) {
            if (c >= n) {
                for (int k = 0; k < 3; ++k) {
                    node.boxes.box[0][k][c] = std::numeric_limits<float>::infinity();
                    node.boxes.box[1][k][c] = -std::numeric_limits<float>::infinity();
                }
                node.child[c] = 0;
                node.minSeq[c] = UINT32_MAX;
                continue;
            }
            const BuildNode& kid = built[kids[c]];
            float lo[3], hi[3];
            roundOutwards(kid.box, lo, hi);
            for (int k = 0; k < 3; ++k) {
                node.boxes.box[0][k][c] = lo[k];
                node.boxes.box[1][k][c] = hi[k];
            }
            node.minSeq[c] = ranges[kids[c]].minSeq;
            accel.latest[at].maxSeq[c] = ranges[kids[c]].maxSeq;
            if (kid.count > 0) {
                node.child[c] = -1 - kid.first;
                accel.triangles[kid.first + kid.count - 1].flags |= kEndsLeaf;
            } else {
                node.child[c] = count++;
                work.emplace_back(node.child[c], kids[c]);
            }
        }
        accel.nodes[at] = node;
    }
    accel.nodeCount = count;
}

// No hit from `eye` on a triangle whose accepted points lie in the box has a smaller
// parameter (unit directions; the hit point is computed from the parameter, and the margins
// cover its rounding); rounded down to single precision.
float nearestParameter(const double box[2][3], const Vec3& eye) {
    const double e[3] = {eye.x, eye.y, eye.z};
    double squared = 0.0, magnitude = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double gap = std::max({box[0][k] - e[k], e[k] - box[1][k], 0.0});
        squared += gap * gap;
        magnitude = std::max(magnitude, std::fabs(e[k]));
    }
    const double bound = std::sqrt(squared) * (1.0 - 1e-9) - 1e-9 * (1.0 + magnitude);
    return bound > 0.0 ? roundTowards(bound, false) : 0.0f;
}

// A one-sided triangle meets a ray from the eye only from its front: the plane test's
// t = -(dot(n, eye) + dist) / denom, with denom < 0, is positive only where
// dot(n, eye) + dist > 0, computed exactly so. Others are left out of the tiles.
bool facesEye(const HotTriangle& tri, const Vec3& eye) {
    return (tri.flags & kTwoSided) != 0 || dot(tri.n, eye) + tri.dist > 0.0;
}

void buildTiles(SceneAccel& accel, const BuildItem* items, const int32_t* ids,
                const PrimaryView& view) {
    const int32_t count = accel.triangleCount + accel.unboundedCount;
    ScreenRect* rects = allocArray<ScreenRect>(count);
    float* nearest = allocArray<float>(count);
    constexpr ScreenRect kNowhere{0, 0, -1, -1};
    for (int32_t i = 0; i < accel.triangleCount; ++i) {
        const HotTriangle& tri = accel.triangles[i];
        rects[i] = facesEye(tri, view.eye) ? tri.rect : kNowhere;
        nearest[i] = nearestParameter(items[ids[i]].box, view.eye);
    }
    for (int32_t i = 0; i < accel.unboundedCount; ++i) {
        const HotTriangle& tri = accel.unbounded[i];
        rects[accel.triangleCount + i] = facesEye(tri, view.eye) ? tri.rect : kNowhere;
        nearest[accel.triangleCount + i] = 0.0f;
    }
    buildPrimaryTiles(accel.tiles, view.image, rects, nearest, count);
    accel.tiles.eye = view.eye;
    freeArray(rects);
    freeArray(nearest);
}

// ---- The searches ----

// Whether the octree walk reaches a node for this ray: its box and every box above it met.
class WalkReach {
public:
    WalkReach(const SceneAccel& accel, const Ray& ray) : accel_(accel), ray_(ray) {}

    bool reaches(int32_t node) {
        if (!cleared_) {  // primary rays never ask, so they never pay for the clearing
            std::memset(keys_, 0xff, sizeof keys_);
            cleared_ = true;
        }
        for (; node >= 0; node = accel_.octree[node].parent) {
            const int slot = node & (kSlots - 1);
            if (keys_[slot] != node) {
                const OctreeRef& ref = accel_.octree[node];
                keys_[slot] = node;
                met_[slot] = rayMeetsBox(ray_.origin, ray_.dir, ref.boxMin, ref.boxMax);
            }
            if (!met_[slot]) return false;
        }
        return true;
    }

private:
    static constexpr int kSlots = 16;
    const SceneAccel& accel_;
    const Ray& ray_;
    bool cleared_ = false;
    int32_t keys_[kSlots];
    bool met_[kSlots];
};

// Three children waiting a level, for at most 80 levels.
constexpr int kStackSize = 256;

// denom where the triangle faces the ray, else 1 (no division by zero), without a branch.
inline double denominatorOrOne(bool faces, double denom) {
    uint64_t bits, one;
    const double kOne = 1.0;
    std::memcpy(&bits, &denom, sizeof bits);
    std::memcpy(&one, &kOne, sizeof one);
    const uint64_t keep = uint64_t{0} - uint64_t{faces};
    bits = (bits & keep) | (one & ~keep);
    double result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

// The triangle test on the copied record: true with the parameter when 1e-6 < t < bound.
// The same arithmetic as rayHitsTriangle, with every condition evaluated and combined at the
// end: each one is a coin toss for the triangles a search meets, and one branch on all of them
// costs less than a misprediction on each.
bool hotTriangleHit(const HotTriangle& tri, const Ray& ray, double bound, double& t) {
    const double denom = dot(tri.n, ray.dir);
    const bool faces = facesRay(denom, (tri.flags & kTwoSided) != 0, ray.kind);
    t = -(dot(tri.n, ray.origin) + tri.dist) / denominatorOrOne(faces, denom);
    const Vec3 rel = (ray.origin + t * ray.dir) - tri.p0;
    const double u = dot(rel, tri.a), v = dot(rel, tri.b);
    return faces & (t > kHitEps) & (t < bound) & (u > -kHitEps) & (v > -kHitEps) & (u + v < 1.000001);
}

struct Candidate {
    double t;
    uint32_t seq;
    const TriangleSource* source = nullptr;  // null: nothing found
};

// Depth first over the hierarchy. search.children(node, keys) gives the children that can
// still matter and their keys; they are taken smallest key first, and a deferred child is
// taken only if search.stillMatters(key) when its turn comes. Leaves hand each triangle's
// index to search.visit. Search::kSlotOrder says that a node's children come in key order.
template <typename Search>
void walkHierarchy(const SceneAccel& accel, Search& search) {
    struct Pending {
        double key;
        int32_t child;
    };
    auto visitLeaf = [&](int32_t child) {
        for (int32_t i = -1 - child;; ++i) {
            search.visit(i);
            if (accel.triangles[i].flags & kEndsLeaf) return;
        }
    };
    Pending stack[kStackSize];
    int top = 0;
    if (accel.nodeCount == 0) return;
    int32_t current = 0;
    for (;;) {
        const WideNode& node = accel.nodes[current];
        double keys[4];
        unsigned in = search.children(node, current, keys);
        // The children in the order to take them; all but the first wait on the stack.
        int order[4], n = 0;
        if (Search::kSlotOrder) {
            n = in != 0;
            if (n) order[0] = __builtin_ctz(in);
            for (unsigned rest = in & (in - 1); rest != 0;) {
                const int c = 31 - __builtin_clz(rest);
                rest &= ~(1u << c);
                stack[top++] = Pending{keys[c], node.child[c]};
            }
        } else {
            for (; in != 0; in &= in - 1) {
                const int c = __builtin_ctz(in);
                int at = n++;
                for (; at > 0 && keys[order[at - 1]] > keys[c]; --at) order[at] = order[at - 1];
                order[at] = c;
            }
            for (int k = n - 1; k > 0; --k) {
                const int c = order[k];
                stack[top++] = Pending{keys[c], node.child[c]};
            }
        }
        if (n > 0) {
            const int32_t child = node.child[order[0]];
            if (child >= 0) {
                current = child;
                continue;
            }
            visitLeaf(child);
        }
        for (;;) {
            if (top == 0) return;
            const Pending next = stack[--top];
            if (!search.stillMatters(next.key)) continue;
            if (next.child >= 0) {
                current = next.child;
                break;
            }
            visitLeaf(next.child);
        }
    }
}

class NearestSearch {
public:
    NearestSearch(const SceneAccel& accel, const Ray& ray, double bound)
        : accel_(accel), ray_(ray), bound_(bound), boxes_(ray), reach_(accel, ray), bestBound_(bound) {
        best_.t = bound;
        best_.seq = UINT32_MAX;
    }

    const Candidate& run() {
        for (int32_t i = 0; i < accel_.unboundedCount; ++i) {
            test(accel_.unbounded[i], accel_.unboundedSources[i]);
        }
        walkHierarchy(accel_, *this);
        return best_;
    }

    // Nearest box first; a box is worth entering while it can hold something as near.
    static constexpr bool kSlotOrder = false;
    unsigned children(const WideNode& node, int32_t, double entry[4]) const {
        return boxes_.entersFour(node.boxes, bestBound_, entry);
    }
    bool stillMatters(double entry) const { return entry <= best_.t; }
    void visit(int32_t i) { test(accel_.triangles[i], accel_.sources[i]); }

private:
    void test(const HotTriangle& tri, const TriangleSource& source) {
        const bool primary = ray_.kind == RayKind::Primary;
        if (primary && !rectContains(tri.rect, ray_.column, ray_.row)) return;
        double t;
        if (!hotTriangleHit(tri, ray_, bound_, t)) return;
        if (!(t < best_.t || (t == best_.t && tri.seq < best_.seq))) return;
        if (!primary && !reach_.reaches(source.octreeNode)) return;
        best_ = Candidate{t, tri.seq, &source};
        bestBound_ = RayBoxes::Bound(t);
    }

    const SceneAccel& accel_;
    const Ray& ray_;
    const double bound_;
    const RayBoxes boxes_;
    WalkReach reach_;
    Candidate best_;
    RayBoxes::Bound bestBound_;
};

// A primary ray's nearest hit among the triangles listed for its tile, nearest first.
Candidate searchTile(const SceneAccel& accel, const Ray& ray, double bound, const TileEntry* e,
                     const TileEntry* end) {
    const int32_t x = (ray.column - accel.tiles.image.x0) & ((1 << kTileShift) - 1);
    const int32_t y = (ray.row - accel.tiles.image.y0) & ((1 << kTileShift) - 1);
    Candidate best;
    best.t = bound;
    best.seq = UINT32_MAX;
    for (; e != end && !(double{e->nearest} > best.t); ++e) {
        if (!entryHolds(*e, x, y)) continue;
        const bool inHierarchy = e->triangle < accel.triangleCount;
        const int32_t i = inHierarchy ? e->triangle : e->triangle - accel.triangleCount;
        const HotTriangle& tri = inHierarchy ? accel.triangles[i] : accel.unbounded[i];
        double t;
        if (!hotTriangleHit(tri, ray, bound, t)) continue;
        if (!(t < best.t || (t == best.t && tri.seq < best.seq))) continue;
        best = Candidate{t, tri.seq, inHierarchy ? &accel.sources[i] : &accel.unboundedSources[i]};
    }
    return best;
}

// The first occluder in walk order after `after` (or from the start) that lies before the
// segment's end.
class ShadowSearch {
public:
    ShadowSearch(const SceneAccel& accel, const Ray& ray)
        : accel_(accel), ray_(ray), boxes_(ray), reach_(accel, ray) {}

    bool next(double end, bool started, uint32_t after, Candidate& found) {
        end_ = RayBoxes::Bound(end);
        started_ = started;
        after_ = after;
        best_ = Candidate{};
        best_.seq = UINT32_MAX;
        for (int32_t i = 0; i < accel_.unboundedCount; ++i) {
            test(accel_.unbounded[i], accel_.unboundedSources[i]);
        }
        walkHierarchy(accel_, *this);
        found = best_;
        return best_.source != nullptr;
    }

    // A subtree matters while it holds walk places after `after` and before the best so far;
    // the one with the earlier walk places goes first.
    static constexpr bool kSlotOrder = true;
    unsigned children(const WideNode& node, int32_t index, double firstPlace[4]) const {
        double entry[4];
        unsigned in = boxes_.entersFour(node.boxes, end_, entry);
        for (unsigned bits = in; bits != 0; bits &= bits - 1) {
            const int c = __builtin_ctz(bits);
            if (node.minSeq[c] >= best_.seq ||
                (started_ && accel_.latest[index].maxSeq[c] <= after_)) {
                in &= ~(1u << c);
            }
            firstPlace[c] = node.minSeq[c];
        }
        return in;
    }
    bool stillMatters(double firstPlace) const { return firstPlace < best_.seq; }
    void visit(int32_t i) { test(accel_.triangles[i], accel_.sources[i]); }

private:
    void test(const HotTriangle& tri, const TriangleSource& source) {
        if (started_ && tri.seq <= after_) return;
        if (tri.seq >= best_.seq) return;
        double t;
        if (!hotTriangleHit(tri, ray_, end_.exact, t)) return;
        if (!source.body->material->castShadow) return;
        if (!reach_.reaches(source.octreeNode)) return;
        best_ = Candidate{t, tri.seq, &source};
    }

    const SceneAccel& accel_;
    const Ray& ray_;
    const RayBoxes boxes_;
    WalkReach reach_;
    RayBoxes::Bound end_{0.0};  // the segment's end
    bool started_ = false;
    uint32_t after_ = 0;
    Candidate best_;
};

// Any occluder before the segment's end where the walk reaches it, for scenes in which every
// occluder blocks completely. The hint, the triangle that answered last time, is tried first.
// When nothing is found the search has tried every triangle that could accept the segment, and
// tells whether one did where the walk does not reach it.
class BlockerSearch {
public:
    BlockerSearch(const SceneAccel& accel, const Ray& ray, double end)
        : accel_(accel), ray_(ray), boxes_(ray), reach_(accel, ray), end_(end) {}

    bool run(int32_t& hint, bool& unreached) {
        if (hint >= 0 && hint < accel_.triangleCount + accel_.unboundedCount) {
            const int32_t i = hint;
            const bool bounded = i < accel_.triangleCount;
            test(bounded ? accel_.triangles[i] : accel_.unbounded[i - accel_.triangleCount],
                 bounded ? accel_.sources[i] : accel_.unboundedSources[i - accel_.triangleCount],
                 i);
            if (found_.source) {
                hint = i;
                unreached = false;
                return true;
            }
        }
        for (int32_t i = 0; i < accel_.unboundedCount && !found_.source; ++i) {
            test(accel_.unbounded[i], accel_.unboundedSources[i], accel_.triangleCount + i);
        }
        if (!found_.source) walkHierarchy(accel_, *this);
        if (found_.source) hint = foundIndex_;
        unreached = unreached_;
        return found_.source != nullptr;
    }
    const Candidate& found() const { return found_; }

    // Children in walk order, as they are stored: no sorting, and the octrees' upper levels,
    // whose triangles are the larger, come first.
    static constexpr bool kSlotOrder = true;
    unsigned children(const WideNode& node, int32_t, double entry[4]) const {
        return found_.source ? 0u : boxes_.entersFour(node.boxes, end_, entry);
    }
    bool stillMatters(double) const { return !found_.source; }
    void visit(int32_t i) {
        if (!found_.source) test(accel_.triangles[i], accel_.sources[i], i);
    }

private:
    void test(const HotTriangle& tri, const TriangleSource& source, int32_t index) {
        double t;
        if (!hotTriangleHit(tri, ray_, end_.exact, t)) return;
        if (!source.body->material->castShadow) return;
        if (!reach_.reaches(source.octreeNode)) {
            unreached_ = true;
            return;
        }
        found_ = Candidate{t, tri.seq, &source};
        foundIndex_ = index;
    }

    const SceneAccel& accel_;
    const Ray& ray_;
    const RayBoxes boxes_;
    WalkReach reach_;
    const RayBoxes::Bound end_;
    bool unreached_ = false;
    Candidate found_;
    int32_t foundIndex_ = -1;
};

}  // namespace

SceneAccel* buildAccel(const Scene& scene, int threads, const PrimaryView* view) {
    SceneAccel* accel = static_cast<SceneAccel*>(checkedAlloc(sizeof(SceneAccel)));
    int32_t triangles = 0, octreeNodes = 0;
    for (const Body* body = scene.bodies; body; body = body->next) {
        triangles += countTriangles(*body->root);
        octreeNodes += countOctreeNodes(*body->root);
    }
    accel->octree = allocArray<OctreeRef>(octreeNodes);
    accel->unbounded = allocArray<HotTriangle>(triangles);
    accel->unboundedSources = allocArray<TriangleSource>(triangles);
    BuildItem* items = allocArray<BuildItem>(triangles);
    TriangleSource* sources = allocArray<TriangleSource>(triangles);

    WalkOrder order(*accel, items, sources);
    for (const Body* body = scene.bodies; body; body = body->next) order.walk(*body->root, *body, -1);
    const int32_t bounded = order.bounded();

    int32_t* ids = allocArray<int32_t>(bounded);
    if (bounded > 0) {
        for (int32_t i = 0; i < bounded; ++i) ids[i] = i;
        BuildNode* built = allocArray<BuildNode>(2 * static_cast<size_t>(bounded));
        const int32_t builtCount = BvhBuilder(items, ids, built).build(bounded, threads);
        accel->triangles = allocArray<HotTriangle>(bounded);
        accel->sources = allocArray<TriangleSource>(bounded);
        copyInLeafOrder(*accel, sources, ids, bounded, threads);
        accel->triangleCount = bounded;
        collapseHierarchy(*accel, built, builtCount);
        freeArray(built);
    }
    if (view) buildTiles(*accel, items, ids, *view);
    freeArray(ids);
    freeArray(items);
    freeArray(sources);
    return accel;
}

void freeAccel(SceneAccel* accel) {
    if (!accel) return;
    freeArray(accel->triangles);
    freeArray(accel->sources);
    freeArray(accel->unbounded);
    freeArray(accel->unboundedSources);
    freeArray(accel->nodes);
    freeArray(accel->latest);
    freeArray(accel->octree);
    freePrimaryTiles(accel->tiles);
    checkedFree(accel);
}

void accelFindNearest(const SceneAccel& accel, const Ray& ray, Hit& hit) {
    const TileEntry *first, *last;
    const bool tiled = ray.kind == RayKind::Primary && sameVec(ray.origin, accel.tiles.eye) &&
                       tileOf(accel.tiles, ray.column, ray.row, first, last);
    const Candidate best = tiled ? searchTile(accel, ray, hit.t, first, last)
                                 : NearestSearch(accel, ray, hit.t).run();
    if (!best.source) return;
    // The winner's numbers once more, from the octree's own record.
    const Triangle& tri = *best.source->triangle;
    const Body& body = *best.source->body;
    double denom = 0, t = 0, u = 0, v = 0;
    Vec3 x{};
    rayHitsTriangle(tri, body.twoSided != 0, ray, hit.t, denom, t, x, u, v);
    recordSurfaceHit(hit, body, tri, denom, t, x, u, v);
}

bool accelTraceShadow(const SceneAccel& accel, const Ray& ray, Hit& hit) {
    ShadowSearch search(accel, ray);
    bool started = false;
    uint32_t after = 0;
    Candidate found;
    while (search.next(hit.t, started, after, found)) {
        const Body& body = *found.source->body;
        hit.t = found.t;
        hit.body = &body;
        hit.triangle = found.source->triangle;
        hit.visibility *= 1.0 - body.material->opacity;
        if (hit.visibility < kHitEps) return true;
        started = true;
        after = found.seq;
    }
    return false;
}

bool accelFindAnyBlocker(const SceneAccel& accel, const Ray& ray, Hit& hit, int32_t& hint,
                         bool& unreached) {
    BlockerSearch search(accel, ray, hit.t);
    if (!search.run(hint, unreached)) return false;
    const Candidate& found = search.found();
    const Body& body = *found.source->body;
    hit.t = found.t;
    hit.body = &body;
    hit.triangle = found.source->triangle;
    hit.visibility *= 1.0 - body.material->opacity;
    return true;
}

int32_t accelTriangleCount(const SceneAccel& accel) { return accel.triangleCount; }
int32_t accelUnboundedCount(const SceneAccel& accel) { return accel.unboundedCount; }

}  // namespace orv
