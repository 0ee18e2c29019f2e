#include "matlib/material_list.h"

#include <vector>

#include "core/record_lifecycle.h"

namespace orv {

int MaterialList::insert(Mat* mat) {
    for (size_t i = 0; i < used_; ++i) {
        if (slots_[i]) continue;
        slots_[i] = mat;
        return int(i);
    }
    if (used_ == kMost) return -1;
    slots_[used_] = mat;
    return int(used_++);
}

Mat* MaterialList::take(int slot) {
    Mat* mat = at(slot);
    if (mat) slots_[slot] = nullptr;
    return mat;
}

size_t MaterialList::count() const {
    size_t n = 0;
    for (size_t i = 0; i < used_; ++i) n += slots_[i] != nullptr;
    return n;
}

bool MaterialList::holdsEqual(const Mat& mat) const {
    for (size_t i = 0; i < used_; ++i)
        if (slots_[i] && matEqual(slots_[i], false, &mat, false)) return true;
    return false;
}

void MaterialList::clear(bool dispose) {
    for (size_t i = 0; i < used_; ++i) {
        if (dispose && slots_[i]) disposeMat(slots_[i]);
        slots_[i] = nullptr;
    }
    used_ = 0;
}

Mat* copyMaterial(const Mat& mat) {
    std::vector<unsigned char> block(getMat(mat, nullptr));
    getMat(mat, block.data());
    Mat* copy = createMat("");
    putMat(*copy, block.data());
    return copy;
}

}  // namespace orv
