// Drive evaluation: a list of motion phases that turns a time into an offset along an axis.
#pragma once

#include "orvanta.h"

namespace orv {

// A rounded quarter turn in radians, as the motion functions are defined with it: results
// match to the last digit only with exactly this value.
constexpr double kQuarterTurn = 1.57079632675;

// The drive's offset at time t written into offset; left untouched when the drive is off or
// its phases take no time. Only the first min(count, 256) phases take part. (offset is a
// plain double: the records' offset fields are packed and cannot be bound to a reference.)
void evaluateDrive(const OrvDrive& drive, double t, double& offset);

}  // namespace orv
