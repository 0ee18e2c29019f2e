// Numbers 64-bit host values (objects, bodies, link items) 0, 1, 2, ... in the order they are
// first met, through an open-addressing hash table: the scene's passes look values up in
// constant time without allocating per value.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kinematics/checked_allocator.h"

namespace orv {

class DenseNumbering {
public:
    static constexpr size_t kNone = SIZE_MAX;

    explicit DenseNumbering(size_t expected = 0);

    // The value's number, a new one when the value was not met before (then *added is set).
    size_t insert(uint64_t value, bool* added = nullptr);
    // The value's number, or kNone.
    size_t find(uint64_t value) const;
    // Forgets every value and keeps the table's size, so that numbering as many values again
    // allocates nothing.
    void clear();

    size_t size() const { return values_.size(); }
    uint64_t value(size_t number) const { return values_[number]; }

private:
    size_t slotOf(uint64_t value) const;  // the value's slot, or the empty slot it would take
    void grow();

    CheckedVector<uint64_t> values_;  // by number
    CheckedVector<uint32_t> slots_;   // number + 1; 0 = empty; a power of two long
};

// A set of nonzero 64-bit host values, kept in an open-addressing table of the values
// themselves: the scene walk asks of every object and link item whether it met it before.
class ValueSet {
public:
    // Adds a nonzero value; whether it was not in the set before.
    bool insert(uint64_t value);
    // Empties the set and keeps the table's size, so that as many values again allocate
    // nothing.
    void clear();

private:
    void grow();

    CheckedVector<uint64_t> slots_;  // 0 = empty; a power of two long, at most half full
    size_t count_ = 0;
};

// Which nonzero values a walk meets for the first time, for walks that mostly repeat the walk
// before them: while a walk meets the same values in the same order as the previous one, each
// is new (that walk's values were distinct) and no set is needed; at the first difference the
// values met so far go into a ValueSet, which decides from there on.
class FirstMeetings {
public:
    // Begins a walk; the walk before it becomes the one to compare with.
    void startWalk();
    // The values this walk has met for the first time, in order.
    const CheckedVector<uint64_t>& met() const { return met_; }
    // Whether the walk meets value for the first time.
    bool first(uint64_t value) {
        // The same values so far as the previous walk, whose values were distinct.
        const size_t i = met_.size();
        if (!checked_ && i < previous_.size() && previous_[i] == value) {
            met_.push_back(value);
            return true;
        }
        return firstChecked(value);
    }

private:
    bool firstChecked(uint64_t value);

    CheckedVector<uint64_t> previous_, met_;  // the values each walk met first, in order
    bool checked_ = false;                    // seen_ decides for the rest of this walk
    ValueSet seen_;
};

}  // namespace orv
