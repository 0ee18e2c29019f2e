// The link info text through the exports: what GetLnkInfo writes, what PutLnkInfo reads (and
// leaves alone), numbers as the Windows C runtime reads them, and the one-pass reader against
// the literal per-key reader on random texts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "core/info_text.h"
#include "core/literal_info_reader.h"
#include "core/records.h"

namespace {

std::string infoOf(Lnk& lnk) {
    std::vector<char> text(GetLnkInfoSize(&lnk));
    GetLnkInfo(&lnk, text.data());
    return text.data();
}

Lnk zeroLink() {
    Lnk lnk;
    std::memset(&lnk, 0, sizeof lnk);
    return lnk;
}

// Every byte set, so that a field the reader should leave alone shows when it is touched; the
// points' values are 0, as a reader without a count clears the first missing point's.
Lnk patternLink() {
    Lnk lnk;
    std::memset(&lnk, 0x5A, sizeof lnk);
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

void setPoint(OrvPhase& p, double w, double t, int32_t f, int32_t h) {
    p.W = w;
    p.T = t;
    p.F = f;
    p.H = h;
}

// The first byte where two records differ, for a readable failure.
std::string firstDifference(const Lnk& a, const Lnk& b) {
    const auto* x = reinterpret_cast<const unsigned char*>(&a);
    const auto* y = reinterpret_cast<const unsigned char*>(&b);
    for (size_t i = 0; i < sizeof(Lnk); ++i)
        if (x[i] != y[i])
            return "offset " + std::to_string(i) + ": " + std::to_string(x[i]) + " vs " +
                   std::to_string(y[i]);
    return "";
}

uint64_t bitsOf(double v) {
    uint64_t b;
    std::memcpy(&b, &v, 8);
    return b;
}

// ---- Writing -------------------------------------------------------------------------------

TEST(LinkInfo, FreshLinkText) {
    Lnk* lnk = CreateLnk("Kurbel");
    EXPECT_EQ(infoOf(*lnk),
              "Lin=1;Rot=1;LinMax=1.000;LinStep=1.000;RotMin=-180.000;RotMax=180.000;"
              "RotStep=1.000;LinDrive=1;RotDrive=1;LDC=1;RDC=1;");
    DisposeLnk(lnk);
}

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
        {"tiny values are written as zero",
         [](Lnk& l) { l.linMin = -0.0004, l.linMax = 0.0004; },
         "LinMin=-0.000;LinMax=0.000;"},
        {"negative zero and NaN are left out", [nan](Lnk& l) { l.linMin = -0.0, l.ratio = nan; },
         ""},
        {"infinity", [inf](Lnk& l) { l.rotMax = inf, l.rotMin = -inf; },
         "RotMin=-inf;RotMax=inf;"},
        {"large values in full", [](Lnk& l) { l.linMax = 1e22; },
         "LinMax=10000000000000000000000.000;"},
        {"integer extremes", [](Lnk& l) { l.lin = INT32_MIN, l.rot = INT32_MAX; },
         "Lin=-2147483648;Rot=2147483647;"},
        {"points: only nonzero values, T W F H",
         [](Lnk& l) {
             l.linDrive.count = 2;
             setPoint(l.linDrive.phases[0], 1.5, 0, 0, 0);
             setPoint(l.linDrive.phases[1], 0, 2, 3, -1);
             setPoint(l.linDrive.phases[2], 9, 9, 9, 9);  // beyond the count
             l.rotDrive.count = 1;
             setPoint(l.rotDrive.phases[0], -0.25, 0.5, 4, 5);
         },
         "LDP=2;RDP=1;LW1=1.500;LT2=2.000;LF2=3;LH2=-1;RT1=0.500;RW1=-0.250;RF1=4;RH1=5;"},
        {"a point of zeros is written as nothing", [](Lnk& l) { l.rotDrive.count = 1; },
         "RDP=1;"},
        {"counts above the table write the table's points",
         [](Lnk& l) {
             l.linDrive.count = 300;
             l.linDrive.phases[255].W = 7;
             // what lies behind the table is no point
             l.linDrive.damping = 0.5;
         },
         "LDD=0.500;LDP=300;LW256=7.000;"},
        {"negative counts write no points",
         [](Lnk& l) {
             l.linDrive.count = -3;
             l.linDrive.phases[0].W = 1;
         },
         "LDP=-3;"},
    };
    for (const Case& c : cases) {
        Lnk lnk = zeroLink();
        c.set(lnk);
        EXPECT_EQ(infoOf(lnk), c.text) << c.what;
    }
}

TEST(LinkInfo, SizeCoversTheTextAndNothingMore) {
    // 256 points a side with long values: far beyond what the reader's buffer took.
    Lnk lnk = zeroLink();
    lnk.linDrive.count = lnk.rotDrive.count = 256;
    for (int i = 0; i < 256; ++i) {
        setPoint(lnk.linDrive.phases[i], -1e20 - i, 1e21, -2000000000, i + 1);
        setPoint(lnk.rotDrive.phases[i], 123456.789, -0.5, 7, INT32_MIN);
    }
    const uint32_t size = GetLnkInfoSize(&lnk);
    std::vector<char> text(size + 64, '\x7F');
    GetLnkInfo(&lnk, text.data());
    EXPECT_EQ(std::strlen(text.data()) + 1, size);
    EXPECT_GT(size, 32768u);
    for (size_t i = size; i < text.size(); ++i) ASSERT_EQ(text[i], '\x7F') << i;

    Lnk fresh = zeroLink();
    EXPECT_EQ(GetLnkInfoSize(&fresh), 1u);
}

// ---- Reading -------------------------------------------------------------------------------

TEST(LinkInfo, ReadsFieldsAndLeavesTheRestAlone) {
    struct Case {
        const char* text;
        int32_t result;
        std::function<void(Lnk&)> expect;  // applied to the cleared pattern record
        std::function<void(Lnk&)> before = [](Lnk&) {};  // the record before reading
    };
    const auto nines = [](OrvPhase& p) { setPoint(p, 9, 9, 9, 9); };
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
         [](Lnk& l) {
             l.linDrive.count = 2;
             setPoint(l.linDrive.phases[0], 0, 1, 0, 0);
             setPoint(l.linDrive.phases[1], 0, 2, 0, 0);
             setPoint(l.linDrive.phases[2], 0, 0, 0, 9);
         },
         [&](Lnk& l) { nines(l.linDrive.phases[2]), nines(l.linDrive.phases[3]); }},
        {"LH1=4;", 0, [](Lnk&) {}},
        {"LDP=3;LT1=1.5;", 0,
         [](Lnk& l) {
             l.linDrive.count = 3;
             setPoint(l.linDrive.phases[0], 0, 1.5, 0, 0);
             setPoint(l.linDrive.phases[1], 0, 0, 0, 0);
             setPoint(l.linDrive.phases[2], 0, 0, 0, 0);
         }},
        {"LDP=2;LH2=9;LW1=-1;LF1=3;", 0,
         [](Lnk& l) {
             l.linDrive.count = 2;
             setPoint(l.linDrive.phases[0], -1, 0, 3, 0);
             setPoint(l.linDrive.phases[1], 0, 0, 0, 9);
         }},
        {"Lin=1;Lin=0;", 0, [](Lnk& l) { l.lin = 1; }},
        {"LinMin=1;", 0, [](Lnk& l) { l.linMin = 1; }},
        {" Lin=1", 0, [](Lnk&) {}},
        {"lin=1;", 0, [](Lnk&) {}},
        {"RDP=0;", 1, [](Lnk&) {}},
        {"RT1=5;RW1=1;RF1=2;RH1=3;RT2=6;", 0,
         [](Lnk& l) {
             l.rotDrive.count = 2;
             setPoint(l.rotDrive.phases[0], 1, 5, 2, 3);
             setPoint(l.rotDrive.phases[1], 0, 6, 0, 0);
         }},
        // Empty fields vanish; the last field needs no ";".
        {";;Rot=2;;;LinMax=3.5", 0, [](Lnk& l) { l.rot = 2, l.linMax = 3.5; }},
        {"Lin= 7;Rot=1=2;Coupled=;Follow=-;", 0, [](Lnk& l) { l.lin = 7, l.rot = 1; }},
        {"Ratio=1d2;LinCur=0x10;RotCur=inf;LinMin=1e400;LinMax=-1e-400;", 0,
         [](Lnk& l) { l.ratio = 100, l.linMin = HUGE_VAL, l.linMax = -0.0; }},
        {"Coupled=2147483648;Follow=4294967297;", 0,
         [](Lnk& l) { l.coupled = INT32_MIN, l.follow = 1; }},
        {"RotCur=12.3456789;", 0, [](Lnk& l) { l.rotCur = 12.3456789; }},
        // "LT01=" and "LT0=" are no keys of the format.
        {"LT01=3;LT0=4;LT1=2;", 0,
         [](Lnk& l) {
             l.linDrive.count = 1;
             setPoint(l.linDrive.phases[0], 0, 2, 0, 0);
         }},
        {"LDP=1;LT1=1;LT1=2;", 0,
         [](Lnk& l) {
             l.linDrive.count = 1;
             setPoint(l.linDrive.phases[0], 0, 1, 0, 0);
         },
         [&](Lnk& l) { nines(l.linDrive.phases[1]); }},
        // Counts outside the table: stored as given, only the table's points are read.
        {"LDP=300;LT256=1;LT257=2;", 0,
         [](Lnk& l) {
             l.linDrive.count = 300;
             for (OrvPhase& p : l.linDrive.phases) setPoint(p, 0, 0, 0, 0);
             l.linDrive.phases[255].T = 1;
         },
         [&](Lnk& l) {
             for (OrvPhase& p : l.linDrive.phases) nines(p);
         }},
        {"LDP=-1;", 0, [](Lnk& l) { l.linDrive.count = -1; },
         [&](Lnk& l) { nines(l.linDrive.phases[0]); }},
        {"RDP=-4;RT1=1;", 1, [](Lnk& l) { l.rotDrive.count = -4; }},
    };
    for (const Case& c : cases) {
        Lnk lnk = patternLink();
        c.before(lnk);
        Lnk expected = lnk;
        clearCarriedFields(expected);
        c.expect(expected);
        EXPECT_EQ(PutLnkInfo(&lnk, c.text), c.result) << c.text;
        EXPECT_EQ(firstDifference(lnk, expected), "") << c.text;
    }
}

TEST(LinkInfo, TextsRoundTrip) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> small(-3, 3);
    std::uniform_int_distribution<int> thousandths(-2000000, 2000000);
    for (int round = 0; round < 50; ++round) {
        Lnk lnk = zeroLink();
        const auto value = [&] { return thousandths(random) / 1000.0; };
        lnk.lin = small(random), lnk.rot = small(random), lnk.follow = small(random);
        lnk.linMin = value(), lnk.rotCur = value(), lnk.ratio = value();
        lnk.rotDrive.damping = value(), lnk.linDrive.stretch = small(random);
        lnk.linDrive.count = round % 12;
        lnk.rotDrive.count = 256 - round;
        for (OrvDrive* d : {&lnk.linDrive, &lnk.rotDrive})
            for (int i = 0; i < d->count; ++i)
                setPoint(d->phases[i], value(), value(), small(random), small(random));
        const std::string text = infoOf(lnk);
        Lnk back = patternLink();
        EXPECT_EQ(PutLnkInfo(&back, text.c_str()), lnk.rotDrive.count ? 1 : 0);
        EXPECT_EQ(infoOf(back), text);
        EXPECT_EQ(+back.ratio, +lnk.ratio);
        EXPECT_EQ(+back.linDrive.count, +lnk.linDrive.count);
        EXPECT_EQ(+back.rotDrive.count, +lnk.rotDrive.count);
    }
}

// ---- Numbers ---------------------------------------------------------------------------------

// The Windows runtime's results, bit for bit (glibc's differ for hexadecimal, infinity, NaN and
// the "d" exponent).
struct RealCase {
    const char* text;
    uint64_t bits;
};
const RealCase kReals[] = {
    {"", 0},
    {"1.5", 0x3FF8000000000000},
    {" \t\n\v\f\r-3.5", 0xC00C000000000000},
    {"+.5", 0x3FE0000000000000},
    {"3.", 0x4008000000000000},
    {".", 0},
    {".e3", 0},
    {"-", 0},
    {"- 5", 0},
    {"--5", 0},
    {"-0", 0x8000000000000000},
    {"e5", 0},
    {"12abc", 0x4028000000000000},
    {"1,5", 0x3FF0000000000000},
    {"1e", 0x3FF0000000000000},
    {"1e+", 0x3FF0000000000000},
    {"1e 2", 0x3FF0000000000000},
    {"1E5x", 0x40F86A0000000000},
    {"1d2", 0x4059000000000000},
    {"1D-2", 0x3F847AE147AE147B},
    {"0x10", 0},
    {"0X1p3", 0},
    {"inf", 0},
    {"INF", 0},
    {"-infinity", 0},
    {"nan", 0},
    {"0.1", 0x3FB999999999999A},
    {"1.5e400", 0x7FF0000000000000},
    {"-1e-400", 0x8000000000000000},
    {"1e99999999999999999999", 0x7FF0000000000000},
    {"0e99999999999999999999", 0},
    {"4.9e-324", 0x0000000000000001},
    {"2.4703282292062327e-324", 0},
    {"2.2250738585072011e-308", 0x000FFFFFFFFFFFFF},
    {"1.7976931348623158e308", 0x7FEFFFFFFFFFFFFF},
    {"1.7976931348623159e308", 0x7FF0000000000000},
    {"123456789012345678901234567890", 0x45F8EE90FF6C373E},
    {"0.000000000000000000000000000000000000000000001e45", 0x3FF0000000000000},
    {"9007199254740993", 0x4340000000000000},
    {"9007199254740993.0000000001", 0x4340000000000001},
    // Halfway between 1 and the next double, and just above it.
    {"1.00000000000000011102230246251565404236316680908203125", 0x3FF0000000000000},
    {"1.000000000000000111022302462515654042363166809082031250000001", 0x3FF0000000000001},
};

TEST(InfoNumbers, RealsReadAsTheWindowsRuntimeReadsThem) {
    for (const RealCase& c : kReals) {
        EXPECT_EQ(bitsOf(orv::infoAtof(c.text)), c.bits) << c.text;
#ifdef _WIN32
        EXPECT_EQ(bitsOf(std::atof(c.text)), c.bits) << "runtime: " << c.text;
#endif
    }
}

TEST(InfoNumbers, ManyDigitsRoundCorrectly) {
    // Halfway between 1 and the next double, followed by 900 zeros and then a 1: above the
    // halfway point, so it rounds up; without the final 1 it is a tie and rounds to even.
    std::string halfway = "1.00000000000000011102230246251565404236316680908203125";
    std::string above = halfway + std::string(900, '0') + "1";
    EXPECT_EQ(bitsOf(orv::infoAtof((halfway + std::string(900, '0')).c_str())),
              0x3FF0000000000000u);
    EXPECT_EQ(bitsOf(orv::infoAtof(above.c_str())), 0x3FF0000000000001u);
    // 0.000...01 with 2000 zeros and an exponent bringing it back to 1.
    EXPECT_EQ(orv::infoAtof(("0." + std::string(2000, '0') + "1e2001").c_str()), 1.0);
#ifdef _WIN32
    EXPECT_EQ(bitsOf(std::atof(above.c_str())), 0x3FF0000000000001u);
#endif
}

TEST(InfoNumbers, IntegersReadAsTheWindowsRuntimeReadsThem) {
    struct Case {
        const char* text;
        int32_t value;
    };
    const Case cases[] = {
        {"", 0},           {"2147483647", 2147483647},  {"2147483648", INT32_MIN},
        {"-2147483648", INT32_MIN},                     {"-2147483649", INT32_MAX},
        {"4294967296", 0}, {"4294967297", 1},           {"99999999999", 1215752191},
        {"0x10", 0},       {" +5", 5},                  {"+-5", 0},
        {"\r\n\f 9", 9},   {"12.9", 12},                {"-0", 0},
        {"1e3", 1},        {"00012", 12},               {"+", 0},
        {"\xA0" "5", 0},   {"7;8", 7},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(orv::infoAtoi(c.text), c.value) << c.text;
#ifdef _WIN32
        EXPECT_EQ(std::atoi(c.text), c.value) << "runtime: " << c.text;
#endif
    }
}

// ---- The one-pass reader against the literal one ---------------------------------------------

// Texts made of the format's keys (and near misses) with number spellings of every kind.
std::string randomText(std::mt19937& random) {
    static const char* const keys[] = {
        "Lin=", "Rot=", "Coupled=", "Follow=", "CollCheck=", "LinMin=", "LinMax=", "LinCur=",
        "LinStep=", "RotMin=", "RotMax=", "RotCur=", "RotStep=", "Ratio=", "LinDrive=",
        "RotDrive=", "LDI=", "RDI=", "LDC=", "RDC=", "LDD=", "RDD=", "LDF=", "RDF=", "LDP=",
        "RDP=", "Li=", "Lin", "LinM", " Rot=", "X=", "=",
    };
    static const char* const values[] = {
        "0", "1", "-1", "2.5", "-0.125", " 3", "1d1", "1e2", "0x10", "inf", "nan", "", "12",
        "4294967297", "1e400", ".5", "-", "7=8", "3", "10", "256", "257", "300", "-2",
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

void expectSameAsLiteral(const std::string& text, NumberReaders numbers) {
    Lnk fast = patternLink(), literal = patternLink();
    const int32_t a = PutLnkInfo(&fast, text.c_str());
    const int32_t b = literalPutLnkInfo(literal, text.c_str(), numbers);
    EXPECT_EQ(a, b) << text;
    EXPECT_EQ(firstDifference(fast, literal), "") << text;
}

TEST(LinkInfo, OnePassReadsAsTheLiteralReader) {
    std::mt19937 random(2024);
    for (int i = 0; i < 3000; ++i) expectSameAsLiteral(randomText(random), libraryNumbers());
}

#ifdef _WIN32
// The reference itself: the literal reader with the Windows runtime's atoi and atof.
TEST(LinkInfo, OnePassReadsAsTheWindowsRuntimesReader) {
    std::mt19937 random(99);
    for (int i = 0; i < 3000; ++i) expectSameAsLiteral(randomText(random), runtimeNumbers());
}
#endif

}  // namespace
