// Animation on a host scene of 10,000 links, and the host's own share of a step.
//
//   animation_bench              100 groups of 100 links, 200 steps
//   animation_bench --groups N   N groups (4: a scene whose records fit the caches)
//   animation_bench --quick      2 groups, 25 steps, every step checked (CI)
//
// Each group stands on a top-level frame: a chain of 50 links (turning, sliding, both, and
// both coupled; about the three axes and a slanted one) with drives of two or three phases, a
// fan of 30 links from the chain's tenth body (10 driven through transmissions from chain
// links, 5 more passed on from those, 15 by drives of their own), and 5 four-bar linkages whose
// cranks drives turn. The host's callbacks are array lookups; their share of a step is timed
// apart by replaying the calls that one step makes, with their arguments. The check composes
// every body's motion here from its links' values, link by link, and compares it with the
// host's matrices; it checks every transmission's driven offsets against its ratios and every
// loop's pin.
//
// Prints the figures and exits nonzero when a check fails.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "kinematics/scene_host.h"

namespace {

constexpr int kChain = 50, kFan = 30, kFanBase = 10, kLoops = 5;

struct PhaseSpec {
    double W, T;
    int32_t F;
};

void setDrive(OrvDrive& d, std::initializer_list<PhaseSpec> phases) {
    d.on = 1;
    d.cyclic = 1;
    d.count = 0;
    for (const PhaseSpec& p : phases) {
        d.phases[d.count].W = p.W;
        d.phases[d.count].T = p.T;
        d.phases[d.count].F = p.F;
        ++d.count;
    }
}

OrvVec3 operator+(OrvVec3 a, OrvVec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

struct Scene {
    SceneHost h;
    std::vector<const Lnk*> into{nullptr};  // per body: the link that moves it, null at a frame
    struct Driven {
        const Lnk *source, *target;
        const Trn* trn;
    };
    std::vector<Driven> driven;
    struct Pin {
        uint64_t crank, coupler;
        OrvVec3 at;
    };
    std::vector<Pin> pins;

    uint64_t body(uint64_t parent) {
        into.push_back(nullptr);
        return h.add(parent);
    }
    // moves: the link places its target (every link but the one that closes a loop).
    Lnk& link(uint64_t source, uint64_t target, OrvVec3 a, OrvVec3 b, bool moves = true) {
        Lnk& l = h.link(source, target, a, b);
        if (moves) into[target] = &l;
        return l;
    }
    void transmit(Lnk& from, Lnk& to, int k) {
        Trn& t = h.transmission(from, to, {&from});
        t.rotRot = 0.5 + 0.1 * k, t.linLin = 2, t.rotLin = 0.01, t.linRot = 3;
        t.invert = k % 3 == 0;
        driven.push_back({&from, &to, &t});
    }
    void buildGroup(int g);
};

void Scene::buildGroup(int g) {
    const double x0 = 30.0 * g;
    const uint64_t frame = body(0);

    static const OrvVec3 kDirections[4] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {0.6, 0, 0.8}};
    std::vector<Lnk*> chain;
    uint64_t at = frame, fanBase = 0;
    for (int i = 0; i < kChain; ++i) {
        const uint64_t next = body(frame);
        const OrvVec3 b{x0 + 0.3 * i, 0.2 * (i % 5), 0.1 * (i % 3)};
        Lnk& l = link(at, next, b + kDirections[i % 4], b);
        switch (i % 4) {
            case 0:  // turning: sinus out, cosinus back
                l.lin = 0;
                setDrive(l.rotDrive, {{90, 1, 1}, {-90, 1, 2}});
                break;
            case 1:  // sliding: speeding up, slowing down, resting
                l.rot = 0;
                setDrive(l.linDrive, {{0.5, 0.4, 3}, {-0.5, 0.6, 4}, {0, 0.5, 0}});
                break;
            case 2:  // both axes, the angle coupled to the slide
                l.coupled = 1, l.ratio = 30;
                setDrive(l.linDrive, {{0.2, 0.7, 0}, {-0.2, 0.7, 0}});
                break;
            default:  // both axes, set by hand
                l.rotCur = 10, l.linCur = 0.1;
        }
        chain.push_back(&l);
        if (i == kFanBase) fanBase = next;
        at = next;
    }

    std::vector<Lnk*> fan;
    for (int k = 0; k < kFan; ++k) {
        const OrvVec3 b{x0 + 3 + 0.1 * k, 1 + 0.05 * k, 0};
        Lnk& l =
            link(fanBase, body(frame), b + (k % 2 ? OrvVec3{0, 0, 1} : OrvVec3{0.8, 0.6, 0}), b);
        if (k >= 15 && k % 2) setDrive(l.rotDrive, {{45, 0.8, 0}});
        if (k >= 15 && !(k % 2)) setDrive(l.linDrive, {{0.3, 0.5, 1}, {-0.3, 0.5, 2}});
        fan.push_back(&l);
    }
    for (int k = 0; k < 10; ++k) transmit(*chain[2 * k], *fan[k], k);
    for (int k = 0; k < 5; ++k) transmit(*fan[k], *fan[k + 10], k + 10);

    for (int k = 0; k < kLoops; ++k) {
        const double x = x0 + 5 * k, y = -6;
        const uint64_t crankBody = body(frame), rocker = body(frame), coupler = body(frame);
        Lnk& crank = link(frame, crankBody, {x, y, 1}, {x, y, 0});
        crank.lin = 0;
        setDrive(crank.rotDrive, {{360, 1 + 0.25 * k, 0}});
        Lnk* followers[3] = {&link(frame, rocker, {x + 4, y, 1}, {x + 4, y, 0}),
                             &link(rocker, coupler, {x + 4, y + 3, 1}, {x + 4, y + 3, 0}),
                             &link(coupler, crankBody, {x + 1, y, 0}, {x + 1, y, -1}, false)};
        for (Lnk* f : followers) f->follow = 1, f->lin = 0;
        pins.push_back({crankBody, coupler, {x + 1, y, 0}});
    }
}

// ---- The check ---------------------------------------------------------------------------------

const double kDegree = 3.1415926535 / 180.0;  // the library's degree

// Where the link's motion takes a point: turned about the axis line (Rodrigues' formula),
// then moved along the axis.
OrvVec3 carry(const Lnk& l, OrvVec3 p) {
    OrvVec3 u{l.axisA.x - l.axisB.x, l.axisA.y - l.axisB.y, l.axisA.z - l.axisB.z};
    const double n = std::sqrt(u.x * u.x + u.y * u.y + u.z * u.z);
    u = {u.x / n, u.y / n, u.z / n};
    if (l.rot) {
        const double a = (l.rotCur + l.rotOffset) * kDegree, c = std::cos(a), s = std::sin(a);
        const OrvVec3 v{p.x - l.axisB.x, p.y - l.axisB.y, p.z - l.axisB.z};
        const OrvVec3 w{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
        const double along = (u.x * v.x + u.y * v.y + u.z * v.z) * (1 - c);
        p = {l.axisB.x + v.x * c + w.x * s + u.x * along,
             l.axisB.y + v.y * c + w.y * s + u.y * along,
             l.axisB.z + v.z * c + w.z * s + u.z * along};
    }
    if (l.lin) {
        const double s = l.linCur + l.linOffset;
        p = {p.x + s * u.x, p.y + s * u.y, p.z + s * u.z};
    }
    return p;
}

double distance(OrvVec3 a, OrvVec3 b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) +
                     (a.z - b.z) * (a.z - b.z));
}

int check(const Scene& s) {
    int faults = 0;
    static const OrvVec3 kPoints[4] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (uint64_t b = 1; b < s.into.size(); ++b)
        for (const OrvVec3& q : kPoints) {
            OrvVec3 want = q;
            for (const Lnk* l = s.into[b]; l; l = s.into[l->sourceBody]) want = carry(*l, want);
            if (distance(s.h.place(b, q), want) > 1e-9 && faults++ < 5)
                std::printf("body %llu: (%g %g %g) lands %.12g away from the links' motion\n",
                            (unsigned long long)b, q.x, q.y, q.z, distance(s.h.place(b, q), want));
        }
    for (const Scene::Driven& d : s.driven) {
        const double sign = d.trn->invert ? -1 : 1;
        const double lin =
            sign * (d.source->linOffset * d.trn->linLin + d.source->rotOffset * d.trn->rotLin);
        const double rot =
            sign * (d.source->rotOffset * d.trn->rotRot + d.source->linOffset * d.trn->linRot);
        if ((std::fabs(d.target->linOffset - lin) > 1e-9 * (1 + std::fabs(lin)) ||
             std::fabs(d.target->rotOffset - rot) > 1e-9 * (1 + std::fabs(rot))) &&
            faults++ < 5)
            std::printf("%s: offsets %.12g %.12g, the ratios give %.12g %.12g\n", d.target->name,
                        +d.target->linOffset, +d.target->rotOffset, lin, rot);
    }
    for (const Scene::Pin& p : s.pins)
        if (distance(s.h.place(p.crank, p.at), s.h.place(p.coupler, p.at)) > 1e-9 && faults++ < 5)
            std::printf("a four-bar's pin stays open\n");
    return faults;
}

// ---- The host's share: the calls of one step, recorded, then replayed ---------------------------

// Per callback, the arguments of its calls in one step, in order; for SetMatrix also the
// matrices written, so that the replay writes the same values again.
struct Recorded {
    std::vector<uint64_t> args[15];
    std::vector<std::array<double, 16>> written;
} recorded;

void installRecording() {
    const orv::HostCallbacks& c = SceneHost::callbacks;
    // clang-format off
    KinematicCallback(
        [](uint64_t o) { return recorded.args[0].push_back(o), SceneHost::callbacks.firstChild(o); },
        [](uint64_t o) { return recorded.args[1].push_back(o), SceneHost::callbacks.nextSibling(o); },
        [](uint64_t o) { return recorded.args[2].push_back(o), SceneHost::callbacks.parent(o); },
        [](uint64_t o) { return recorded.args[3].push_back(o), SceneHost::callbacks.firstLink(o); },
        [](uint64_t i) { return recorded.args[4].push_back(i), SceneHost::callbacks.nextLink(i); },
        [](uint64_t i) { return recorded.args[5].push_back(i), SceneHost::callbacks.linkRecord(i); },
        [](uint64_t o) { return recorded.args[6].push_back(o), SceneHost::callbacks.firstTrn(o); },
        [](uint64_t i) { return recorded.args[7].push_back(i), SceneHost::callbacks.nextTrn(i); },
        [](uint64_t i) { return recorded.args[8].push_back(i), SceneHost::callbacks.trnRecord(i); },
        [](uint64_t o, char n[256]) {
            recorded.args[9].push_back(o), SceneHost::callbacks.getObjectName(o, n);
        },
        [](uint64_t o, double m[16]) {
            recorded.args[10].push_back(o), SceneHost::callbacks.getMatrix(o, m);
        },
        [](uint64_t o, const double m[16]) {
            recorded.args[11].push_back(o);
            recorded.written.emplace_back();
            std::memcpy(recorded.written.back().data(), m, sizeof(double) * 16);
            SceneHost::callbacks.setMatrix(o, m);
        },
        c.checkCollision,
        [] { recorded.args[13].push_back(0), SceneHost::callbacks.beginUpdate(); },
        [] { recorded.args[14].push_back(0), SceneHost::callbacks.endUpdate(); });
    // clang-format on
}

// The recorded calls again, each callback's in their order, with the same arguments.
double replay() {
    const orv::HostCallbacks& c = SceneHost::callbacks;
    const std::vector<uint64_t>* a = recorded.args;
    uint64_t sink = 0;
    double m[16];
    char name[256];
    const auto start = std::chrono::steady_clock::now();
    for (uint64_t o : a[0]) sink += c.firstChild(o);
    for (uint64_t o : a[1]) sink += c.nextSibling(o);
    for (uint64_t o : a[2]) sink += c.parent(o);
    for (uint64_t o : a[3]) sink += c.firstLink(o);
    for (uint64_t i : a[4]) sink += c.nextLink(i);
    for (uint64_t i : a[5]) sink += c.linkRecord(i)->lin;
    for (uint64_t o : a[6]) sink += c.firstTrn(o);
    for (uint64_t i : a[7]) sink += c.nextTrn(i);
    for (uint64_t i : a[8]) sink += c.trnRecord(i)->active;
    for (uint64_t o : a[9]) c.getObjectName(o, name), sink += name[0];
    for (uint64_t o : a[10]) c.getMatrix(o, m), sink += uint64_t(m[0]);
    for (size_t i = 0; i < a[11].size(); ++i) c.setMatrix(a[11][i], recorded.written[i].data());
    for (size_t i = 0; i < a[13].size(); ++i) c.beginUpdate();
    for (size_t i = 0; i < a[14].size(); ++i) c.endUpdate();
    const double ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    return sink == 42 ? ms + 0 : ms;  // keeps the calls
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const bool sized = argc > 2 && std::strcmp(argv[1], "--groups") == 0;
    const int groups = quick ? 2 : sized ? std::max(1, std::atoi(argv[2])) : 100;
    const int steps = quick ? 25 : 200;
    static Scene s;  // a few hundred megabytes of link records
    for (int g = 0; g < groups; ++g) s.buildGroup(g);
    s.h.install();
    std::printf("animation_bench: %zu links, %zu bodies, %zu transmissions, %d four-bar loops\n",
                s.h.links.size(), s.into.size() - 1, s.h.trns.size(), groups * kLoops);

    std::vector<double> times;
    int faults = 0;
    for (int step = 0; step < steps; ++step) {
        const double t = step / 24.0;
        const auto start = std::chrono::steady_clock::now();
        const int32_t result = Animation(t, 0);
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
        if (result != 0 && faults++ < 5)
            std::printf("step %d: Animation returned %d\n", step, result);
        if (quick || step % 50 == 0) faults += check(s);
    }

    installRecording();
    Animation(steps / 24.0, 0);
    uint64_t calls = 0;
    for (const std::vector<uint64_t>& args : recorded.args) calls += args.size();
    std::vector<double> hostTimes;
    for (int run = 0; run < (quick ? 3 : 21); ++run) hostTimes.push_back(replay());

    const double step = median(times), host = median(hostTimes);
    std::printf("Animation per step, median of %d: %.3f ms (fastest %.3f ms)\n", steps, step,
                *std::min_element(times.begin(), times.end()));
    std::printf("host callbacks, the %llu calls of one step replayed: %.3f ms\n",
                (unsigned long long)calls, host);
    std::printf("the library's own share: %.3f ms\n", step - host);
    if (faults) std::printf("FAILED: %d faults\n", faults);
    return faults ? 1 : 0;
}
