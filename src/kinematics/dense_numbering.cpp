#include "kinematics/dense_numbering.h"

#include <algorithm>

namespace orv {

DenseNumbering::DenseNumbering(size_t expected) {
    size_t capacity = 16;
    while (capacity < 2 * expected) capacity *= 2;
    slots_.assign(capacity, 0);
    values_.reserve(expected);
}

namespace {

// Fibonacci hashing: host values are often addresses or counters, so spread the high bits.
size_t hashSlot(uint64_t value, size_t mask) {
    return size_t((value * 0x9E3779B97F4A7C15u) >> 32) & mask;
}

}  // namespace

size_t DenseNumbering::slotOf(uint64_t value) const {
    const size_t mask = slots_.size() - 1;
    size_t slot = hashSlot(value, mask);
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

bool ValueSet::insert(uint64_t value) {
    if (2 * (count_ + 1) > slots_.size()) grow();
    const size_t mask = slots_.size() - 1;
    size_t slot = hashSlot(value, mask);
    for (; slots_[slot]; slot = (slot + 1) & mask)
        if (slots_[slot] == value) return false;
    slots_[slot] = value;
    ++count_;
    return true;
}

void ValueSet::clear() {
    std::fill(slots_.begin(), slots_.end(), uint64_t(0));
    count_ = 0;
}

void ValueSet::grow() {
    CheckedVector<uint64_t> old(slots_.empty() ? 16 : 2 * slots_.size(), 0);
    old.swap(slots_);
    const size_t mask = slots_.size() - 1;
    for (uint64_t value : old) {
        if (!value) continue;
        size_t slot = hashSlot(value, mask);
        while (slots_[slot]) slot = (slot + 1) & mask;
        slots_[slot] = value;
    }
}

void FirstMeetings::startWalk() {
    previous_.swap(met_);
    met_.clear();
    checked_ = false;
}

bool FirstMeetings::firstChecked(uint64_t value) {
    if (!checked_) {  // the first difference from the previous walk
        seen_.clear();
        for (uint64_t v : met_) seen_.insert(v);
        checked_ = true;
    }
    if (!seen_.insert(value)) return false;
    met_.push_back(value);
    return true;
}

}  // namespace orv
