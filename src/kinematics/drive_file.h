// Drive files (*.drv and *.csv): the phases of one axis's drive as text that a spreadsheet
// opens, one phase per line, "W;T;F;H" (path, duration, motion function, the kept value).
#pragma once

#include <cstddef>
#include <string>

#include "orvanta.h"

namespace orv {

constexpr int kDrivePhasesMost = 256;

// Why a file was refused; the line (from 1) says where.
enum class DriveFileFault {
    none,
    fields,     // a line that is not four fields separated by ";"
    number,     // a field that is not a number (W, T) or not a whole number (F, H)
    notFinite,  // W or T infinite or not a number
    function,   // F outside 0..4
    tooMany,    // more than 256 phases
};

struct DriveFileRead {
    DriveFileFault fault = DriveFileFault::none;
    int line = 0;   // the refused line, 0 when the file was taken
    int count = 0;  // the phases read
};

// Reads size bytes of text (no terminator needed) into phases. Lines end in LF or CR LF; a
// "," is a decimal point as well as "."; blanks around a field, a field in double quotes and
// a byte order mark at the start are allowed; empty lines are skipped. On a fault nothing of
// phases is written, so a caller reading into its own drive keeps it unchanged. On success
// phases[0..count) hold the phases with their further bytes zero; the rest is untouched.
DriveFileRead readDriveFile(const char* text, size_t size, OrvPhase (&phases)[kDrivePhasesMost]);

// The text of count phases: "%.7G;%.7G;%i;%i" and CR LF per phase, "." as decimal point
// whatever the process's locale.
std::string writeDriveFile(const OrvPhase* phases, int count);

}  // namespace orv
