// The BMP Suite (g/ good, q/ questionable, b/ bad files) with what the reader makes of each
// file: decoded, or refused and why; and the reference picture a good file must match.
#pragma once

#include <string>
#include <vector>

#include "appearance/bitmap_decode.h"

struct SuiteFile {
    const char* name;          // relative to the suite's folder
    orv::BitmapStatus status;  // what decoding gives
    const char* reference;     // html/ picture with exactly the decoded pixels, or null
};

const std::vector<SuiteFile>& bitmapSuite();

// The suite's folder (tests/data/bmpsuite, or bmpsuite/ under ORVANTA_TESTDATA_DIR).
std::string bitmapSuiteDir();

// The whole file, or an empty vector when it cannot be read.
std::vector<unsigned char> readWholeFile(const std::string& path);
