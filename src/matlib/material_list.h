// One list of the material library: up to 1,024 materials in slots. A slot freed by a deletion
// is taken by the next insertion before the list grows.
#pragma once

#include <cstddef>

#include "orvanta.h"

namespace orv {

class MaterialList {
public:
    static constexpr size_t kMost = 1024;

    // The slot mat went to, or -1 when the list is full (mat is not taken).
    int insert(Mat* mat);
    // Empties a slot and returns what it held.
    Mat* take(int slot);
    Mat* at(int slot) const { return slot >= 0 && size_t(slot) < used_ ? slots_[slot] : nullptr; }
    // Slots in use or freed, up to the highest ever used.
    size_t used() const { return used_; }
    size_t count() const;
    // True when one of the materials equals mat (MatEqual).
    bool holdsEqual(const Mat& mat) const;
    // Removes every material, disposing of them when owned.
    void clear(bool dispose);

private:
    Mat* slots_[kMost] = {};
    size_t used_ = 0;
};

// A material of its own with mat's fields and images, through its block (as GetMat and
// PutMat copy it).
Mat* copyMaterial(const Mat& mat);

}  // namespace orv
