// What the drive dialog does to a drive block besides typing into it: the phase list's
// edits, the generated back-and-forth motion and the samples of its plot. Portable, so that the
// dialog's arithmetic is tested natively.
#pragma once

#include "orvanta.h"

namespace orv {

// Inserts phase at index at (0..count), moving the later ones back; false when the drive
// holds 256 phases already or at is out of range.
bool insertPhase(OrvDrive& drive, int at, const OrvPhase& phase);
// Removes phase at; false when there is none.
bool deletePhase(OrvDrive& drive, int at);
// Swaps phase at with its neighbour by (-1 up, +1 down); false when that leaves the list.
bool movePhase(OrvDrive& drive, int at, int by);

// Replaces the phases with one back-and-forth motion: path over half the period with
// function, then back (-path) over the other half. False (drive unchanged) when the period is
// not a finite number above 0, path not finite, or function outside 0..4.
bool generateBackAndForth(OrvDrive& drive, double path, double period, int function);

// The time of one cycle: the sum of the durations of the phases in use (0..256 of them).
double driveCycle(const OrvDrive& drive);

// The axis offset at count evenly spaced times from 0 to until (both included; count >= 2),
// as the animation evaluates the drive, switched on: values[i] at until * i / (count - 1).
// A drive whose phases take no time gives 0 everywhere.
void sampleDrive(const OrvDrive& drive, double until, int count, double* values);

}  // namespace orv
