// The transmission info text through the exports: the fields in their order, absent fields
// read as 0, the result, and the rest of the record left alone.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "core/literal_info_reader.h"

namespace {

std::string infoOf(Trn& trn) {
    char text[2048];
    GetTrnInfo(&trn, text);
    return text;
}

Trn patternTrn() {
    Trn trn;
    std::memset(&trn, 0x5A, sizeof trn);
    return trn;
}

TEST(TransmissionInfo, FreshTransmissionText) {
    Trn* trn = CreateTrn("Getriebe");
    EXPECT_EQ(infoOf(*trn), "Active=1;LinLin=1.000;LinRot=1.000;RotRot=1.000;RotLin=1.000;");
    DisposeTrn(trn);
}

TEST(TransmissionInfo, WritesNonzeroFieldsInOrder) {
    Trn trn = patternTrn();
    trn.active = 0, trn.invert = -1;
    trn.rotRot = 4.0, trn.rotLin = -0.0625, trn.linLin = 0.0, trn.linRot = 2.5;
    EXPECT_EQ(infoOf(trn), "Invert=-1;LinRot=2.500;RotRot=4.000;RotLin=-0.062;");
}

TEST(TransmissionInfo, ReadsEveryFieldAndNothingElse) {
    struct Case {
        const char* text;
        int32_t result, active, invert;
        double linLin, linRot, rotRot, rotLin;
    };
    const Case cases[] = {
        {"", 0, 0, 0, 0, 0, 0, 0},
        {"Invert=1;", 0, 0, 1, 0, 0, 0, 0},
        {"RotLin=0;", 1, 0, 0, 0, 0, 0, 0},
        {"RotRot=1.5;RotLin=-2;LinRot=0.5;LinLin=3;Active=1;Invert=0", 1, 1, 0, 3, 0.5, 1.5, -2},
        {"Active=2;Active=1;LinLin=1d1;LinRot=0x10;RotRot= 7;", 0, 2, 0, 10, 0, 7, 0},
        {"active=1;LinLinX=4;RotLin", 0, 0, 0, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        Trn trn = patternTrn();
        Trn expected = trn;
        expected.active = c.active, expected.invert = c.invert;
        expected.linLin = c.linLin, expected.linRot = c.linRot;
        expected.rotRot = c.rotRot, expected.rotLin = c.rotLin;
        EXPECT_EQ(PutTrnInfo(&trn, c.text), c.result) << c.text;
        EXPECT_EQ(std::memcmp(&trn, &expected, sizeof trn), 0) << c.text;
    }
}

TEST(TransmissionInfo, RoundTripsThreeDecimals) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> thousandths(-100000, 100000);
    for (int i = 0; i < 100; ++i) {
        Trn trn = patternTrn();
        trn.active = i % 3, trn.invert = i % 2;
        trn.linLin = thousandths(random) / 1000.0, trn.linRot = thousandths(random) / 1000.0;
        trn.rotRot = thousandths(random) / 1000.0, trn.rotLin = i % 4 ? 0.0 : 1.0;
        const std::string text = infoOf(trn);
        Trn back = patternTrn();
        EXPECT_EQ(PutTrnInfo(&back, text.c_str()), trn.rotLin != 0.0 ? 1 : 0);
        EXPECT_EQ(std::memcmp(&back, &trn, sizeof trn), 0) << text;
    }
}

TEST(TransmissionInfo, OnePassReadsAsTheLiteralReader) {
    const char* const texts[] = {
        "RotLin=1;RotLin=2;", ";;;", "Active=1;;Invert=2;LinLin=-0.5e1;LinRot=1e400;",
        "RotRot=4294967297;Active=4294967297;", "Active=;RotLin=", "LinLin=1;Active=1;X=1",
    };
    for (const char* text : texts) {
        Trn fast = patternTrn(), literal = patternTrn();
        EXPECT_EQ(PutTrnInfo(&fast, text), literalPutTrnInfo(literal, text, libraryNumbers()));
        EXPECT_EQ(std::memcmp(&fast, &literal, sizeof fast), 0) << text;
#ifdef _WIN32
        Trn runtime = patternTrn();
        literalPutTrnInfo(runtime, text, runtimeNumbers());
        EXPECT_EQ(std::memcmp(&fast, &runtime, sizeof fast), 0) << "runtime: " << text;
#endif
    }
}

}  // namespace
