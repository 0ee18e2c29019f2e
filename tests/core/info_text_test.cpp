// The link and transmission info texts through the exports: what GetLnkInfo and GetTrnInfo
// write, what PutLnkInfo and PutTrnInfo read (and leave alone), numbers as the Windows C runtime
// reads them, and the one-pass reader against the literal per-key reader.
#include "core/info_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/literal_info_reader.h"
#include "core/records.h"

namespace {

std::string infoOf(Lnk& lnk) {
    std::vector<char> text(GetLnkInfoSize(&lnk));
    GetLnkInfo(&lnk, text.data());
    return text.data();
}

// A record with every byte set to the given value.
template <typename Record>
Record filled(int byte) {
    Record r;
    std::memset(&r, byte, sizeof r);
    return r;
}

// A point's values, W T F H, as the record holds them.
struct Point {
    double W, T;
    int32_t F, H;
};
static_assert(sizeof(Point) == offsetof(OrvPhase, reserved));

// Sets a drive's count and the values of its first points, "W T F H" each, commas between;
// their reserved bytes stay.
void points(OrvDrive& d, int32_t count, const char* values) {
    d.count = count;
    std::istringstream in(values);
    Point v;
    for (int i = 0; in >> v.W >> v.T >> v.F >> v.H; in.ignore(1))
        std::memcpy(&d.phases[i++], &v, sizeof v);
}

// Every byte set, so that a field the reader should leave alone shows when it is touched; the
// points' values are 0, as a reader without a count clears the first missing point's.
Lnk patternLink() {
    Lnk lnk = filled<Lnk>(0x5A);
    for (OrvDrive* d : {&lnk.linDrive, &lnk.rotDrive})
        for (OrvPhase& p : d->phases) p.W = p.T = 0, p.F = p.H = 0;
    return lnk;
}

// What PutLnkInfo of an empty text makes of a record: every carried field 0.
void clearCarriedFields(Lnk& lnk) {
    lnk.lin = lnk.rot = lnk.coupled = lnk.follow = lnk.collCheck = 0;
    lnk.linMin = lnk.linMax = lnk.linCur = lnk.linStep = 0.0;
    lnk.rotMin = lnk.rotMax = lnk.rotCur = lnk.rotStep = lnk.ratio = 0.0;
    for (OrvDrive* d : {&lnk.linDrive, &lnk.rotDrive}) {
        d->count = d->on = d->inverse = d->cyclic = d->stretch = 0;
        d->damping = 0.0;
    }
}

// The offset of the first byte where two records differ (their size when none does).
template <typename Record>
size_t firstDifference(const Record& a, const Record& b) {
    const auto* x = reinterpret_cast<const uint8_t*>(&a);
    return size_t(std::mismatch(x, x + sizeof a, reinterpret_cast<const uint8_t*>(&b)).first - x);
}

uint64_t bitsOf(double v) {
    uint64_t b;
    std::memcpy(&b, &v, 8);
    return b;
}

// ---- Writing -------------------------------------------------------------------------------

TEST(LinkInfo, WritesNonzeroFieldsInTableOrder) {
    struct Case {
        const char* what;
        std::function<void(Lnk&)> set;
        const char* text;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"nothing", [](Lnk&) {}, ""},
        {"a fresh link",
         [](Lnk& l) {
             Lnk* fresh = CreateLnk("Kurbel");
             l = *fresh;
             DisposeLnk(fresh);
         },
         "Lin=1;Rot=1;LinMax=1.000;LinStep=1.000;RotMin=-180.000;RotMax=180.000;RotStep=1.000;"
         "LinDrive=1;RotDrive=1;LDC=1;RDC=1;"},
        {"every scalar, in table order",
         [](Lnk& l) {
             l.lin = 1, l.rot = 2, l.coupled = 3, l.follow = 4, l.collCheck = 5;
             l.linMin = 6, l.linMax = 7, l.linCur = 8, l.linStep = 9;
             l.rotMin = 10, l.rotMax = 11, l.rotCur = 12, l.rotStep = 13, l.ratio = 14;
             l.linDrive.on = 15, l.rotDrive.on = 16, l.linDrive.inverse = 17;
             l.rotDrive.inverse = 18, l.linDrive.cyclic = 19, l.rotDrive.cyclic = 20;
             l.linDrive.damping = 21, l.rotDrive.damping = 22, l.linDrive.stretch = 23;
             l.rotDrive.stretch = 24;
         },
         "Lin=1;Rot=2;Coupled=3;Follow=4;CollCheck=5;LinMin=6.000;LinMax=7.000;LinCur=8.000;"
         "LinStep=9.000;RotMin=10.000;RotMax=11.000;RotCur=12.000;RotStep=13.000;Ratio=14.000;"
         "LinDrive=15;RotDrive=16;LDI=17;RDI=18;LDC=19;RDC=20;LDD=21.000;RDD=22.000;LDF=23;"
         "RDF=24;"},
        // 0.0625 lies exactly between two results: the exact binary value rounds to even.
        {"three decimals", [](Lnk& l) { l.ratio = 0.0625, l.linCur = 2.0 / 3.0; },
         "LinCur=0.667;Ratio=0.062;"},
        {"tiny values are written as zero", [](Lnk& l) { l.linMin = -0.0004, l.linMax = 0.0004; },
         "LinMin=-0.000;LinMax=0.000;"},
        {"negative zero and NaN are left out", [nan](Lnk& l) { l.linMin = -0.0, l.ratio = nan; },
         ""},
        {"infinity", [inf](Lnk& l) { l.rotMax = inf, l.rotMin = -inf; }, "RotMin=-inf;RotMax=inf;"},
        {"large values in full", [](Lnk& l) { l.linMax = 1e22; },
         "LinMax=10000000000000000000000.000;"},
        {"integer extremes", [](Lnk& l) { l.lin = INT32_MIN, l.rot = INT32_MAX; },
         "Lin=-2147483648;Rot=2147483647;"},
        // The third point lies beyond the count.
        {"points: only nonzero values, T W F H",
         [](Lnk& l) {
             points(l.linDrive, 2, "1.5 0 0 0, 0 2 3 -1, 9 9 9 9");
             points(l.rotDrive, 1, "-0.25 0.5 4 5");
         },
         "LDP=2;RDP=1;LW1=1.500;LT2=2.000;LF2=3;LH2=-1;RT1=0.500;RW1=-0.250;RF1=4;RH1=5;"},
        {"a point of zeros is written as nothing", [](Lnk& l) { l.rotDrive.count = 1; }, "RDP=1;"},
        // What lies behind the table (the damping) is no point.
        {"counts above the table write the table's points",
         [](Lnk& l) {
             l.linDrive.count = 300;
             l.linDrive.phases[255].W = 7;
             l.linDrive.damping = 0.5;
         },
         "LDD=0.500;LDP=300;LW256=7.000;"},
        {"negative counts write no points", [](Lnk& l) { points(l.linDrive, -3, "1 0 0 0"); },
         "LDP=-3;"},
    };
    for (const Case& c : cases) {
        Lnk lnk = filled<Lnk>(0);
        c.set(lnk);
        EXPECT_EQ(infoOf(lnk), c.text) << c.what;
    }
}

// 256 points a side with long values: far beyond what the reader's buffer took. The text is
// read back whole.
TEST(LinkInfo, LongTextsSizedExactlyAndReadBack) {
    Lnk lnk = filled<Lnk>(0);
    lnk.linDrive.count = lnk.rotDrive.count = 256;
    for (int i = 0; i < 256; ++i) {
        lnk.linDrive.phases[i] = {-1e20 - i, 1e21, -2000000000, i + 1, {}};
        lnk.rotDrive.phases[i] = {123456.789, -0.5, 7, INT32_MIN, {}};
    }
    const uint32_t size = GetLnkInfoSize(&lnk);
    std::vector<char> text(size + 64, '\x7F');
    GetLnkInfo(&lnk, text.data());
    EXPECT_EQ(std::strlen(text.data()) + 1, size);
    EXPECT_GT(size, 32768u);
    for (size_t i = size; i < text.size(); ++i) ASSERT_EQ(text[i], '\x7F') << i;
    Lnk back = patternLink();
    EXPECT_EQ(PutLnkInfo(&back, text.data()), 1);
    EXPECT_EQ(infoOf(back), text.data());

    Lnk fresh = filled<Lnk>(0);
    EXPECT_EQ(GetLnkInfoSize(&fresh), 1u);
}

// ---- Reading -------------------------------------------------------------------------------

TEST(LinkInfo, ReadsFieldsAndLeavesTheRestAlone) {
    struct Case {
        const char* text;
        int32_t result;
        std::function<void(Lnk&)> expect;  // applied to the cleared pattern record
        int ninesFrom = 0, ninesTo = 0;    // linear points set to 9s before reading
    };
    const Point kNines = {9, 9, 9, 9};
    const Case cases[] = {
        {"", 0, [](Lnk&) {}},
        {"Lin=1;LinMin=-5;", 0, [](Lnk& l) { l.lin = 1, l.linMin = -5; }},
        {"LinDrive=1;RotDrive=-1;LDI=2;RDI=3;LDC=4;RDC=5;LDD=0.25;RDD=-0.5;LDF=6;RDF=7;", 0,
         [](Lnk& l) {
             l.linDrive.on = 1, l.rotDrive.on = -1, l.linDrive.inverse = 2;
             l.rotDrive.inverse = 3, l.linDrive.cyclic = 4, l.rotDrive.cyclic = 5;
             l.linDrive.damping = 0.25, l.rotDrive.damping = -0.5;
             l.linDrive.stretch = 6, l.rotDrive.stretch = 7;
         }},
        {"Rot=1;Coupled=1;Follow=1;CollCheck=1;LinMax=2;LinCur=3;LinStep=4;RotMin=5;RotMax=6;"
         "RotCur=7;RotStep=8;Ratio=9;",
         0,
         [](Lnk& l) {
             l.rot = l.coupled = l.follow = l.collCheck = 1;
             l.linMax = 2, l.linCur = 3, l.linStep = 4, l.rotMin = 5, l.rotMax = 6;
             l.rotCur = 7, l.rotStep = 8, l.ratio = 9;
         }},
        // Without "LDP=" point 3 is missing: two points, and point 3's T, W, F are cleared.
        {"LT1=1;LT2=2;LT4=4;", 0,
         [](Lnk& l) { points(l.linDrive, 2, "0 1 0 0, 0 2 0 0, 0 0 0 9"); }, 2, 4},
        {"LH1=4;", 0, [](Lnk&) {}},
        {"LDP=3;LT1=1.5;", 0, [](Lnk& l) { points(l.linDrive, 3, "0 1.5 0 0"); }},
        {"LDP=2;LH2=9;LW1=-1;LF1=3;", 0,
         [](Lnk& l) { points(l.linDrive, 2, "-1 0 3 0, 0 0 0 9"); }},
        {"Lin=1;Lin=0;", 0, [](Lnk& l) { l.lin = 1; }},
        {" Lin=1;lin=1;", 0, [](Lnk&) {}},
        {"RDP=0;", 1, [](Lnk&) {}},
        {"RT1=5;RW1=1;RF1=2;RH1=3;RT2=6;", 0,
         [](Lnk& l) { points(l.rotDrive, 2, "1 5 2 3, 0 6 0 0"); }},
        // Empty fields vanish; the last field needs no ";".
        {";;Rot=2;;;LinMax=3.5", 0, [](Lnk& l) { l.rot = 2, l.linMax = 3.5; }},
        {"Lin= 7;Rot=1=2;Coupled=;Follow=-;", 0, [](Lnk& l) { l.lin = 7, l.rot = 1; }},
        {"Ratio=1d2;LinCur=0x10;RotCur=inf;LinMin=1e400;LinMax=-1e-400;Coupled=2147483648;"
         "Follow=4294967297;",
         0,
         [](Lnk& l) {
             l.ratio = 100, l.linMin = HUGE_VAL, l.linMax = -0.0;
             l.coupled = INT32_MIN, l.follow = 1;
         }},
        // "LT01=" and "LT0=" are no keys of the format.
        {"LT01=3;LT0=4;LT1=2;", 0, [](Lnk& l) { points(l.linDrive, 1, "0 2 0 0"); }},
        {"LDP=1;LT1=1;LT1=2;", 0, [](Lnk& l) { points(l.linDrive, 1, "0 1 0 0"); }, 1, 2},
        // Counts outside the table: stored as given, only the table's points are read.
        {"LDP=300;LT256=1;LT257=2;", 0,
         [](Lnk& l) {
             l.linDrive.count = 300;
             for (OrvPhase& p : l.linDrive.phases) p.W = p.T = 0, p.F = p.H = 0;
             l.linDrive.phases[255].T = 1;
         },
         0, 256},
        {"LDP=-1;LT1=1;", 0, [](Lnk& l) { l.linDrive.count = -1; }, 0, 1},
    };
    for (const Case& c : cases) {
        Lnk lnk = patternLink();
        for (int i = c.ninesFrom; i < c.ninesTo; ++i)
            std::memcpy(&lnk.linDrive.phases[i], &kNines, sizeof kNines);
        Lnk expected = lnk;
        clearCarriedFields(expected);
        c.expect(expected);
        SCOPED_TRACE(c.text);
        EXPECT_EQ(PutLnkInfo(&lnk, c.text), c.result);
        EXPECT_EQ(firstDifference(lnk, expected), sizeof lnk);
    }
}

// ---- Numbers ---------------------------------------------------------------------------------

// The Windows runtime's results, bit for bit (glibc's differ for hexadecimal, infinity, NaN and
// the "d" exponent); texts grouped by the value they read as.
TEST(InfoNumbers, RealsReadAsTheWindowsRuntimeReadsThem) {
    // Halfway between 1 and the next double: a tie rounds to even, anything above rounds up.
    const std::string half = "1.00000000000000011102230246251565404236316680908203125";
    const std::string zeros(900, '0');
    const struct {
        uint64_t bits;
        std::vector<std::string> texts;
    } cases[] = {
        {0,
         {"", ".", ".e3", "-", "- 5", "--5", "e5", "0x10", "0X1p3", "inf", "INF", "-infinity",
          "nan", "0e99999999999999999999", "2.4703282292062327e-324"}},
        {0x3FF0000000000000,
         {"1,5", "1e", "1e+", "1e 2", "0.000000000000000000000000000000000000000000001e45", half,
          half + zeros, "0." + std::string(2000, '0') + "1e2001"}},
        {0x3FF0000000000001, {half + "0000001", half + zeros + "1"}},
        {0x8000000000000000, {"-0", "-1e-400"}},
        {0x7FF0000000000000, {"1.5e400", "1e99999999999999999999", "1.7976931348623159e308"}},
        {0x3FF8000000000000, {"1.5"}},
        {0xC00C000000000000, {" \t\n\v\f\r-3.5"}},
        {0x3FE0000000000000, {"+.5"}},
        {0x4008000000000000, {"3."}},
        {0x4028000000000000, {"12abc"}},
        {0x40F86A0000000000, {"1E5x"}},
        {0x4059000000000000, {"1d2"}},
        {0x3F847AE147AE147B, {"1D-2"}},
        {0x3FB999999999999A, {"0.1"}},
        {0x0000000000000001, {"4.9e-324"}},
        {0x000FFFFFFFFFFFFF, {"2.2250738585072011e-308"}},
        {0x7FEFFFFFFFFFFFFF, {"1.7976931348623158e308"}},
        {0x45F8EE90FF6C373E, {"123456789012345678901234567890"}},
        {0x4340000000000000, {"9007199254740993"}},
        {0x4340000000000001, {"9007199254740993.0000000001"}},
    };
    for (const auto& c : cases) {
        for (const std::string& text : c.texts) {
            SCOPED_TRACE(text);
            EXPECT_EQ(bitsOf(orv::infoAtof(text.c_str())), c.bits);
#ifdef _WIN32
            EXPECT_EQ(bitsOf(std::atof(text.c_str())), c.bits) << "runtime";
#endif
        }
    }
}

TEST(InfoNumbers, IntegersReadAsTheWindowsRuntimeReadsThem) {
    // Texts grouped by the value they read as; "\2405" is a no-break space (octal 240), then 5.
    const struct {
        int32_t value;
        std::vector<const char*> texts;
    } cases[] = {
        {0, {"", "4294967296", "0x10", "+-5", "-0", "+", "\2405"}},
        {INT32_MIN, {"2147483648", "-2147483648"}},
        {INT32_MAX, {"2147483647", "-2147483649"}},
        {1, {"4294967297", "1e3"}},
        {1215752191, {"99999999999"}},
        {5, {" +5"}},
        {9, {"\r\n\f 9"}},
        {12, {"12.9", "00012"}},
        {7, {"7;8"}},
    };
    for (const auto& c : cases) {
        for (const char* text : c.texts) {
            SCOPED_TRACE(text);
            EXPECT_EQ(orv::infoAtoi(text), c.value);
#ifdef _WIN32
            EXPECT_EQ(std::atoi(text), c.value) << "runtime";
#endif
        }
    }
}

// ---- The one-pass reader against the literal one ---------------------------------------------

// Texts made of the format's keys (and near misses) with number spellings of every kind.
std::string randomText(std::mt19937& random) {
    static const char* const keys[] = {
        "Lin=",      "Rot=",      "Coupled=", "Follow=", "CollCheck=", "LinMin=",  "LinMax=",
        "LinCur=",   "LinStep=",  "RotMin=",  "RotMax=", "RotCur=",    "RotStep=", "Ratio=",
        "LinDrive=", "RotDrive=", "LDI=",     "RDI=",    "LDC=",       "RDC=",     "LDD=",
        "RDD=",      "LDF=",      "RDF=",     "LDP=",    "RDP=",       "Li=",      "Lin",
        "LinM",      " Rot=",     "X=",       "=",
    };
    static const char* const values[] = {
        "0",    "1",   "-1",  "2.5", "-0.125", " 3",         "1d1",   "1e2",
        "0x10", "inf", "nan", "",    "12",     "4294967297", "1e400", ".5",
        "-",    "7=8", "3",   "10",  "256",    "257",        "300",   "-2",
    };
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    std::string text;
    const int fields = pick(40);
    for (int i = 0; i < fields; ++i) {
        if (pick(4) == 0) {
            static const char letters[] = "LRTWFHX";
            text += letters[pick(2)];
            text += letters[2 + pick(5)];
            const int point = pick(8) == 0 ? 250 + pick(10) : 1 + pick(12);
            text += (pick(10) == 0 ? "0" : "") + std::to_string(point) + "=";
        } else {
            text += keys[pick(sizeof keys / sizeof keys[0])];
        }
        text += values[pick(sizeof values / sizeof values[0])];
        text += pick(5) == 0 ? ";;" : ";";
    }
    if (pick(2) == 0 && !text.empty()) text.pop_back();
    return text;
}

// Under Windows also against the literal reader with the runtime's atoi and atof, the reference.
TEST(LinkInfo, OnePassReadsAsTheLiteralReader) {
    std::vector<NumberReaders> readers = {libraryNumbers()};
#ifdef _WIN32
    readers.push_back(runtimeNumbers());
#endif
    std::mt19937 random(2024);
    for (int i = 0; i < 3000; ++i) {
        const std::string text = randomText(random);
        SCOPED_TRACE(text);
        for (const NumberReaders& numbers : readers) {
            Lnk fast = patternLink(), literal = patternLink();
            EXPECT_EQ(PutLnkInfo(&fast, text.c_str()),
                      literalPutLnkInfo(literal, text.c_str(), numbers));
            EXPECT_EQ(firstDifference(fast, literal), sizeof fast);
        }
    }
}

// ---- Transmissions --------------------------------------------------------------------------

std::string infoOf(Trn& trn) {
    char text[2048];
    GetTrnInfo(&trn, text);
    return text;
}

// Thousandths that binary holds a little below their decimal value are written rounded, not cut.
TEST(TransmissionInfo, WritesNonzeroFieldsInOrderAndReadsThemBack) {
    Trn* fresh = CreateTrn("Getriebe");
    EXPECT_EQ(infoOf(*fresh), "Active=1;LinLin=1.000;LinRot=1.000;RotRot=1.000;RotLin=1.000;");
    DisposeTrn(fresh);

    Trn trn = filled<Trn>(0x5A);
    trn.active = 0, trn.invert = -1;
    trn.linLin = 0.0, trn.linRot = -7.007, trn.rotRot = 2.675, trn.rotLin = 99.999;
    const std::string text = infoOf(trn);
    EXPECT_EQ(text, "Invert=-1;LinRot=-7.007;RotRot=2.675;RotLin=99.999;");
    Trn back = filled<Trn>(0x5A);
    EXPECT_EQ(PutTrnInfo(&back, text.c_str()), 1);
    EXPECT_EQ(std::memcmp(&back, &trn, sizeof trn), 0);
}

// The fields in their order, absent fields read as 0, the result, the rest of the record alone.
TEST(TransmissionInfo, ReadsEveryFieldAndNothingElse) {
    const double inf = std::numeric_limits<double>::infinity();
    struct Case {
        const char* text;
        int32_t result, active, invert;
        double linLin, linRot, rotRot, rotLin;
    };
    const Case cases[] = {
        {"", 0, 0, 0, 0, 0, 0, 0},
        {"Invert=1;", 0, 0, 1, 0, 0, 0, 0},
        {"Active=;RotLin=", 1, 0, 0, 0, 0, 0, 0},
        {"RotLin=1;RotLin=2;", 1, 0, 0, 0, 0, 0, 1},
        {"RotRot=1.5;RotLin=-2;LinRot=0.5;LinLin=3;Active=1;Invert=0", 1, 1, 0, 3, 0.5, 1.5, -2},
        {"Active=2;Active=1;LinLin=1d1;LinRot=0x10;RotRot= 7;", 0, 2, 0, 10, 0, 7, 0},
        {"Active=1;;Invert=2;LinLin=-0.5e1;LinRot=1e400;", 0, 1, 2, -5, inf, 0, 0},
        {"RotRot=4294967297;Active=4294967297;", 0, 1, 0, 0, 0, 4294967297.0, 0},
        {"LinLin=1;Active=1;X=1", 0, 1, 0, 1, 0, 0, 0},
        {"active=1;LinLinX=4;RotLin", 0, 0, 0, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Trn trn = filled<Trn>(0x5A);
        Trn expected = trn;
        expected.active = c.active, expected.invert = c.invert;
        expected.linLin = c.linLin, expected.linRot = c.linRot;
        expected.rotRot = c.rotRot, expected.rotLin = c.rotLin;
        EXPECT_EQ(PutTrnInfo(&trn, c.text), c.result);
        EXPECT_EQ(firstDifference(trn, expected), sizeof trn);
    }
}

}  // namespace
