// The fuzz targets' assertion: a broken promise stops the run, whatever the build's NDEBUG.
#pragma once

inline void check(bool condition) {
    if (!condition) __builtin_trap();
}
