// FirstMeetings against a plain set, over walks that repeat, diverge, stop early and loop.
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "kinematics/dense_numbering.h"

namespace {

TEST(FirstMeetings, AgreesWithASetOverSuccessiveWalks) {
    // Each walk is the values met in order; a walk is checked against a fresh set.
    const std::vector<std::vector<uint64_t>> walks = {
        {5, 9, 2, 7},        // first walk: every value new
        {5, 9, 2, 7},        // the same again
        {5, 9, 5, 2, 7},     // a repeat where the previous walk went on
        {5, 9, 2, 7},        // back to the walk before last
        {5, 9},              // stops early
        {5, 9, 2, 7, 7, 3},  // goes beyond, with a value met twice in a row
        {3, 7, 2, 9, 5, 3},  // the other way round, ending where it began
        {3, 7, 2, 9, 5, 3},  // the same loop again
        {},
        {1, 1, 1},
    };
    orv::FirstMeetings meetings;
    for (size_t w = 0; w < walks.size(); ++w) {
        meetings.startWalk();
        std::set<uint64_t> seen;
        for (size_t i = 0; i < walks[w].size(); ++i) {
            const uint64_t v = walks[w][i];
            EXPECT_EQ(meetings.first(v), seen.insert(v).second) << "walk " << w << ", value " << i;
        }
    }
}

}  // namespace
