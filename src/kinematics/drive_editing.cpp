#include "kinematics/drive_editing.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kinematics/drive.h"

namespace orv {

namespace {

constexpr int kPhasesMost = 256;

// The phases in use; a block from a host may hold any count.
int phasesInUse(const OrvDrive& drive) {
    return std::clamp(int(drive.count), 0, kPhasesMost);
}

}  // namespace

bool insertPhase(OrvDrive& drive, int at, const OrvPhase& phase) {
    const int count = phasesInUse(drive);
    if (count == kPhasesMost || at < 0 || at > count) return false;
    // phase may be one of the drive's own, which the move below overwrites.
    const OrvPhase inserted = phase;
    std::memmove(&drive.phases[at + 1], &drive.phases[at], size_t(count - at) * sizeof(OrvPhase));
    drive.phases[at] = inserted;
    drive.count = count + 1;
    return true;
}

bool deletePhase(OrvDrive& drive, int at) {
    const int count = phasesInUse(drive);
    if (at < 0 || at >= count) return false;
    std::memmove(&drive.phases[at], &drive.phases[at + 1],
                 size_t(count - at - 1) * sizeof(OrvPhase));
    std::memset(&drive.phases[count - 1], 0, sizeof(OrvPhase));
    drive.count = count - 1;
    return true;
}

bool movePhase(OrvDrive& drive, int at, int by) {
    const int count = phasesInUse(drive);
    if ((by != -1 && by != 1) || at < 0 || at >= count || at + by < 0 || at + by >= count)
        return false;
    std::swap(drive.phases[at], drive.phases[at + by]);
    return true;
}

bool generateBackAndForth(OrvDrive& drive, double path, double period, int function) {
    if (!std::isfinite(period) || !(period > 0.0) || !std::isfinite(path) || function < 0 ||
        function > 4)
        return false;
    for (int i = 0; i < 2; ++i) {
        OrvPhase& p = drive.phases[i];
        std::memset(&p, 0, sizeof p);
        p.W = i == 0 ? path : -path;
        p.T = period / 2;
        p.F = function;
    }
    drive.count = 2;
    return true;
}

double driveCycle(const OrvDrive& drive) {
    double total = 0.0;
    for (int i = 0, count = phasesInUse(drive); i < count; ++i) total += drive.phases[i].T;
    return total;
}

void sampleDrive(const OrvDrive& drive, double until, int count, double* values) {
    if (count < 1 || !values) return;
    // The plot shows the motion also while the drive is switched off.
    OrvDrive on = drive;
    on.on = 1;
    for (int i = 0; i < count; ++i) {
        const double t = count == 1 ? 0.0 : until * i / (count - 1);
        double offset = 0.0;  // what a drive whose phases take no time leaves
        evaluateDrive(on, t, offset);
        values[i] = offset;
    }
}

}  // namespace orv
