// Contents: drives and transmissions; the solve (resets, composition, loops, reference body);
// the collision test; the step.
#include "kinematics/animation.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "kinematics/checked_allocator.h"
#include "kinematics/drive.h"
#include "kinematics/follower_loop.h"
#include "kinematics/host_scene.h"
#include "kinematics/joint_tree.h"
#include "kinematics/prefetch.h"
#include "kinematics/tree_motion.h"

namespace orv {

namespace {

// ---- Drives and transmissions ----------------------------------------------------------------

// Where the wave from a link went in the previous step: the first transmissions it passed
// through, the links they drove and those links' slots. The host finds a link's transmissions
// only when the wave asks for them, so the pass asks for these lines ahead from what the last
// step met. They are hints only: asking for memory never faults, whatever the host has changed
// since, and a remembered slot is taken only once the tree confirms it.
struct WaveHint {
    const Trn* trn;
    const Lnk* driven;
    uint32_t slot;
};

struct WaveHints {
    static constexpr uint32_t kKept = 2;
    WaveHint hint[kKept];
    uint32_t count;  // at most kKept: of this step's wave so far, or of the last one's
};

// What the drive pass works with: the host, the tree's slots, the copies it makes, the links
// that the current wave has moved, and the waves' hints by the links' places in the walk.
struct DrivePass {
    const HostCallbacks& host;
    const JointTree& tree;
    LinkCopies& copies;
    CheckedVector<const Lnk*>& moved;
    CheckedVector<WaveHints>& waves;
    WaveHints* wave = nullptr;  // the hints of the link whose wave runs

    // The record's values into its slot's copy, as the record stands now.
    void copy(const Lnk& link, uint32_t slot) {
        if (slot == kNoSlot) return;
        LinkCopy& c = copies.bySlot[slot];
        c.values = axisValues(link);
        c.ridesPath = ridesPath(link);
        c.step = copies.step;
    }

    // The slot of a link that a transmission drives; kept as a hint for the next step.
    uint32_t drivenSlot(const Trn* trn, const Lnk* driven) {
        if (!wave || wave->count == WaveHints::kKept) return tree.slotOf(driven);
        WaveHint& hint = wave->hint[wave->count++];
        const uint32_t slot = tree.slotOf(driven, hint.driven == driven ? hint.slot : kNoSlot);
        hint = {trn, driven, slot};
        return slot;
    }
};

// A change passed backwards through a transmission's ratio: a ratio of 2 forwards is 1/2
// backwards.
double backwards(double change, double ratio) { return ratio != 0.0 ? change / ratio : 0.0; }

// Passes a change of one link's offsets on through the transmissions of its host object, and
// on from each driven link. A wave moves every link at most once: a transmission never drives
// a link that the wave has already moved (the link it started from included), so a circle of
// transmissions ends. A driven link that the pass has already copied is copied again.
void propagate(DrivePass& pass, Lnk* link, double dLin, double dRot) {
    const HostCallbacks& host = pass.host;
    if (!host.firstTrn || !host.nextTrn || !host.trnRecord || !host.linkRecord) return;
    for (uint64_t item = host.firstTrn(link->linkObject); item; item = host.nextTrn(item)) {
        const Trn* trn = host.trnRecord(item);
        if (!trn || !trn->active || !trn->source || !trn->target) continue;
        Lnk* source = host.linkRecord(trn->source);
        Lnk* target = host.linkRecord(trn->target);
        if (!source || !target) continue;
        double lin = 0.0, rot = 0.0;
        Lnk* driven = nullptr;
        if (source == link) {
            driven = target;
            lin = dLin * trn->linLin + dRot * trn->rotLin;
            rot = dRot * trn->rotRot + dLin * trn->linRot;
        } else if (target == link) {
            // Backwards, each pairing by its ratio's reciprocal; a ratio of 0 passes nothing.
            driven = source;
            lin = backwards(dLin, trn->linLin) + backwards(dRot, trn->linRot);
            rot = backwards(dRot, trn->rotRot) + backwards(dLin, trn->rotLin);
        } else {
            continue;
        }
        if (trn->invert) lin = -lin, rot = -rot;
        bool seen = false;
        for (const Lnk* m : pass.moved) seen = seen || m == driven;
        if (seen) continue;
        pass.moved.push_back(driven);
        driven->linOffset += lin;
        driven->rotOffset += rot;
        const uint32_t slot = pass.drivenSlot(trn, driven);
        if (pass.copies.current(slot)) pass.copy(*driven, slot);
        propagate(pass, driven, lin, rot);
    }
}

// Which lines of a record a drive step reads depends on the record: the axis flags say which
// drives count, and a drive's switch and phase count whether its phases and damping are read.
// The pass is bound by how many lines memory delivers, so it asks only for those, in three
// rounds as a record comes closer, each deciding from the lines the round before brought in:
// the axis flags, offsets, ratio and the values and axis points it copies; the drive settings of
// the axes in use; the phases and damping of each drive that runs, and the host object that
// lists the transmissions of a link that may move.
constexpr size_t kAskValues = 16, kAskDrives = 10, kAskPhases = 5;

void prefetchDriveSettings(const Lnk& link) {
    if (link.lin) prefetch(&link.linDrive.count);
    if (link.rot) prefetch(&link.rotDrive.count);
}

// The first and the third phase's lines (the processor's own prefetch takes the lines between
// and after them) and the damping; false for a drive that does not run.
bool prefetchPhases(const OrvDrive& drive) {
    if (!drive.on || drive.count <= 0) return false;
    prefetch(&drive.phases[0]);
    prefetch(reinterpret_cast<const char*>(&drive.phases[std::min(drive.count, 3)]) - 1);
    prefetch(&drive.damping);
    return true;
}

void prefetchRunningDrives(const Lnk& link) {
    const bool linRuns = link.lin && prefetchPhases(link.linDrive);
    const bool rotRuns = link.rot && prefetchPhases(link.rotDrive);
    if (linRuns || rotRuns) prefetch(&link.linkObject);
}

// The last step's wave from a link: first its transmissions, then what they drove (the
// values a wave changes and copies, the host object of the next transmissions, the copy).
void prefetchWaveTransmissions(const WaveHints& wave) {
    for (uint32_t h = 0; h < wave.count; ++h) {
        prefetchField(wave.hint[h].trn, offsetof(Trn, active));
        prefetchField(wave.hint[h].trn, offsetof(Trn, target));
    }
}

void prefetchWaveTargets(const WaveHints& wave, const LinkCopies& copies) {
    for (uint32_t h = 0; h < wave.count; ++h) {
        prefetchLinkValues(wave.hint[h].driven);
        prefetchField(wave.hint[h].driven, offsetof(Lnk, linkObject));
        copies.prefetchSlot(wave.hint[h].slot);
    }
}

// Drives, couplings and transmissions over the scene's links in walk order; each link's values
// are copied for the motion as the pass leaves it.
void runDrives(DrivePass& pass, const HostScene& scene, double time) {
    const CheckedVector<JointTree::WalkSlot>& known = pass.tree.walkSlots();
    const size_t count = scene.links.size();
    pass.waves.resize(count);
    for (size_t i = 0; i < count; ++i) {
        if (i + kAskValues < count) {
            prefetchLinkValues(scene.links[i + kAskValues].record);
            prefetchWaveTransmissions(pass.waves[i + kAskValues]);
        }
        if (i + kAskDrives < count) {
            prefetchDriveSettings(*scene.links[i + kAskDrives].record);
            prefetchWaveTargets(pass.waves[i + kAskDrives], pass.copies);
        }
        if (i + kAskPhases < count) prefetchRunningDrives(*scene.links[i + kAskPhases].record);
        pass.wave = &pass.waves[i];
        pass.wave->count = 0;
        Lnk& link = *scene.links[i].record;
        const uint32_t slot =
            i < known.size() && known[i].link == &link ? known[i].slot : pass.tree.slotOf(&link);
        if (!link.lin && !link.rot) {
            pass.copy(link, slot);
            continue;
        }
        // The record's fields are packed: work on copies.
        const double oldLin = link.linOffset, oldRot = link.rotOffset;
        double lin = oldLin, rot = oldRot;
        if (link.lin) {
            evaluateDrive(link.linDrive, time, lin);
            if (lin != oldLin && link.rot && link.coupled && link.ratio != 0.0)
                rot += (lin - oldLin) * link.ratio;
        }
        if (link.rot) {
            const double before = rot;
            evaluateDrive(link.rotDrive, time, rot);
            if (rot != before && link.lin && link.coupled && link.ratio != 0.0)
                lin += (rot - before) / link.ratio;
        }
        link.linOffset = lin;
        link.rotOffset = rot;
        pass.copy(link, slot);
        if (lin != oldLin || rot != oldRot) {
            pass.moved.assign(1, &link);
            propagate(pass, &link, lin - oldLin, rot - oldRot);
        }
    }
}

// ---- Solve -------------------------------------------------------------------------------------

// The first top-level object whose name begins with "*" holds still: every top-level object's
// matrix is re-expressed relative to it.
void applyReferenceBody(const HostCallbacks& host) {
    if (!host.firstChild || !host.nextSibling || !host.getObjectName) return;
    uint64_t reference = 0;
    for (uint64_t o = host.firstChild(0); o && !reference; o = host.nextSibling(o)) {
        char name[256] = {};
        host.getObjectName(o, name);
        if (name[0] == '*') reference = o;
    }
    if (!reference) return;
    Mat4 inverse = bodyMatrix(host, reference);
    invert(inverse);
    for (uint64_t o = host.firstChild(0); o; o = host.nextSibling(o)) {
        Mat4 m = inverse;
        preMultiply(m, bodyMatrix(host, o));
        setBodyMatrix(host, o, m);
    }
}

// What closing a follower joint's loop reads first: the three joints, their links' values and
// axis points, the nodes, and the grandparent's frames and the motion above it. Asked for in
// two rounds: the follower joint, then, once it is in, what it leads to.
constexpr size_t kAskLoopJoint = 4, kAskLoopParts = 2;

void prefetchLoopJoint(const Joint& follower) {
    prefetch(&follower);
    prefetch(&follower.link->rotOffset);
}

void prefetchLoopParts(const Joint& follower) {
    prefetch(&follower.link->axisB);
    prefetch(follower.child);
    prefetch(follower.parent);
    const Joint* parent = follower.parentJoint;
    const Joint* grandparent = parent ? parent->parentJoint : nullptr;
    if (!grandparent) return;
    for (const Joint* j : {parent, grandparent}) {
        prefetch(j);
        prefetchLinkValues(j->link);
    }
    prefetch(grandparent->child);
    prefetch(grandparent->parent);
    prefetch(&grandparent->parent->above.m[8]);
    prefetchAxisFrames(grandparent->axis);
}

bool solve(const HostCallbacks& host, const JointTree& tree, const LinkCopies& copies) {
    if (host.beginUpdate) host.beginUpdate();
    // Every tree is reset before the first is composed: a body in two trees takes both motions.
    for (const FixedCell* cell = tree.fixedList(); cell; cell = cell->next)
        identity(cell->node->above);
    resetMotion(host, tree.motionOrder());
    composeMotion(host, tree.motionOrder(), &copies);
    // Every open follower joint of kind 2, 3 or 4 is solved, in the order of the trees.
    bool closed = true;
    static MotionOrder scratch;  // the nodes that a solve composes again
    const CheckedVector<const Joint*>& loops = tree.loopJoints();
    for (size_t i = 0; i < loops.size(); ++i) {
        if (i + kAskLoopJoint < loops.size()) prefetchLoopJoint(*loops[i + kAskLoopJoint]);
        if (i + kAskLoopParts < loops.size()) prefetchLoopParts(*loops[i + kAskLoopParts]);
        if (loopOpen(host, *loops[i]) && !closeLoop(host, *loops[i], scratch)) closed = false;
    }
    applyReferenceBody(host);
    if (host.endUpdate) host.endUpdate();
    return closed;
}

// ---- Collisions ------------------------------------------------------------------------------

// The first pair of second-level objects with different world matrices that the host finds
// intersecting.
bool findCollision(const HostCallbacks& host) {
    if (!host.firstChild || !host.nextSibling || !host.checkCollision) return false;
    struct Body {
        uint64_t object;
        Mat4 world;
    };
    CheckedVector<Body> bodies;
    for (uint64_t top = host.firstChild(0); top; top = host.nextSibling(top)) {
        for (uint64_t o = host.firstChild(top); o; o = host.nextSibling(o)) {
            Mat4 world;
            identity(world);
            for (uint64_t a = o; a; a = host.parent ? host.parent(a) : 0) {
                Mat4 next = bodyMatrix(host, a);  // the child's motion first, then its owner's
                preMultiply(next, world);
                world = next;
            }
            bodies.push_back({o, world});
        }
    }
    for (size_t i = 0; i < bodies.size(); ++i)
        for (size_t j = i + 1; j < bodies.size(); ++j) {
            if (std::memcmp(bodies[i].world.m, bodies[j].world.m, sizeof(Mat4)) == 0) continue;
            if (host.checkCollision(bodies[i].object, bodies[j].object, 1)) return true;
        }
    return false;
}

}  // namespace

int32_t animation(double time, int32_t collisionCheck) {
    const HostCallbacks& host = hostCallbacks();
    const JointTree& tree = processJointTree();
    // Kept from step to step so that a step allocates nothing.
    static HostScene scene;
    static LinkCopies copies;
    static CheckedVector<const Lnk*> moved;
    static CheckedVector<WaveHints> waves;
    walkHostScene(host, false, scene);
    copies.startStep(tree.slotCount());
    DrivePass pass{host, tree, copies, moved, waves};
    runDrives(pass, scene, time);
    if (!solve(host, tree, copies)) return kAnimationLoopOpen;
    if (collisionCheck && findCollision(host)) return kAnimationCollision;
    return kAnimationDone;
}

}  // namespace orv
