#include "kinematics/dense_numbering.h"

#include <algorithm>

namespace orv {

DenseNumbering::DenseNumbering(size_t expected) {
    size_t capacity = 16;
    while (capacity < 2 * expected) capacity *= 2;
    slots_.assign(capacity, 0);
    values_.reserve(expected);
}

size_t DenseNumbering::slotOf(uint64_t value) const {
    const size_t mask = slots_.size() - 1;
    // Fibonacci hashing: host values are often addresses or counters, so spread the high bits.
    size_t slot = size_t((value * 0x9E3779B97F4A7C15u) >> 32) & mask;
    while (slots_[slot] && values_[slots_[slot] - 1] != value) slot = (slot + 1) & mask;
    return slot;
}

size_t DenseNumbering::insert(uint64_t value, bool* added) {
    if (2 * (values_.size() + 1) > slots_.size()) grow();
    const size_t slot = slotOf(value);
    if (added) *added = slots_[slot] == 0;
    if (slots_[slot]) return slots_[slot] - 1;
    values_.push_back(value);
    slots_[slot] = uint32_t(values_.size());
    return values_.size() - 1;
}

size_t DenseNumbering::find(uint64_t value) const {
    const size_t slot = slotOf(value);
    return slots_[slot] ? slots_[slot] - 1 : kNone;
}

void DenseNumbering::clear() {
    std::fill(slots_.begin(), slots_.end(), 0u);
    values_.clear();
}

void DenseNumbering::grow() {
    slots_.assign(slots_.size() * 2, 0);
    for (size_t number = 0; number < values_.size(); ++number)
        slots_[slotOf(values_[number])] = uint32_t(number + 1);
}

}  // namespace orv
