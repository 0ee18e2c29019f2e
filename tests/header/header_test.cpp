// The record sizes a C host sees equal those a C++ host sees (header_c99.c checks the sizes
// and offsets themselves when it is compiled).
#include <gtest/gtest.h>

#include <cstddef>

#include "orvanta.h"

extern "C" size_t orvantaHeaderRecordSizeInC(int family);

TEST(PublicHeader, RecordSizesAgreeBetweenCAndCpp) {
    const size_t cpp[5] = {sizeof(Env), sizeof(Lgt), sizeof(Mat), sizeof(Lnk), sizeof(Trn)};
    for (int family = 0; family < 5; ++family)
        EXPECT_EQ(orvantaHeaderRecordSizeInC(family), cpp[family]) << "family " << family;
}
