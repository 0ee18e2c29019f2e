// The record sizes a C host sees equal those a C++ host sees.
#include <gtest/gtest.h>

#include <cstddef>

#include "orvanta.h"

extern "C" size_t orvantaHeaderRecordSizeInC(int family);

TEST(PublicHeader, RecordSizesAgreeBetweenCAndCpp) {
    const size_t cpp[5] = {sizeof(Env), sizeof(Lgt), sizeof(Mat), sizeof(Lnk), sizeof(Trn)};
    const size_t fixed[5] = {324, 248, 6300, 19080, 200};
    for (int family = 0; family < 5; ++family) {
        EXPECT_EQ(orvantaHeaderRecordSizeInC(family), fixed[family]) << "family " << family;
        EXPECT_EQ(cpp[family], fixed[family]) << "family " << family;
    }
}
