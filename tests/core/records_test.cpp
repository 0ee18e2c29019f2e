// Records: built-in defaults byte by byte (every other byte zero, over garbage), and their
// lifecycle through the exports: names, stored defaults over their byte ranges, blocks, setters,
// material comparison, and a link's path geometry and block.
#include "core/records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "support/stored_defaults.h"

#if !defined(_WIN32)
#include "core/checked_alloc.h"
#endif

namespace {

// A field's expected bytes at an offset; everything not listed must be zero.
struct Expect {
    size_t offset;
    std::vector<uint8_t> bytes;
};

template <typename T>
Expect field(size_t offset, T value) {
    std::vector<uint8_t> b(sizeof value);
    std::memcpy(b.data(), &value, sizeof value);
    return {offset, b};
}

Expect triple(size_t offset, double x, double y, double z) {
    return field(offset, OrvVec3{x, y, z});
}

template <typename Record>
void expectRecordBytes(const std::vector<Expect>& expects) {
    std::vector<uint8_t> storage(sizeof(Record), 0xAB);  // garbage first
    Record* record = reinterpret_cast<Record*>(storage.data());
    orv::setBuiltInDefaults(*record);

    std::vector<uint8_t> want(sizeof(Record), 0);
    for (const Expect& e : expects) {
        ASSERT_LE(e.offset + e.bytes.size(), want.size());
        std::memcpy(want.data() + e.offset, e.bytes.data(), e.bytes.size());
    }
    for (size_t i = 0; i < want.size(); ++i)
        ASSERT_EQ(storage[i], want[i])
            << "byte " << i << " of a " << sizeof(Record) << "-byte record";
}

TEST(RecordDefaults, EnvironmentLightLinkAndTransmission) {
    expectRecordBytes<Env>({triple(64, 0, 0, 0), triple(88, 1, 1, 1), field<uint32_t>(112, 129),
                            field(116, 0.8), triple(124, 0.18, 0.18, 0.18), triple(148, 1, 1, 1),
                            field(212, 10.0)});
    expectRecordBytes<Lgt>({triple(64, 1, 1, 1), triple(88, 1, 1, 1), field<int32_t>(136, 0),
                            field(140, 0.5), field(148, 30.0), field<uint32_t>(172, 1)});
    // Both drives on and cyclic: 9588 and 9596, 18896 and 18904.
    expectRecordBytes<Lnk>({field<int32_t>(64, 1), field<int32_t>(68, 1), field(92, 1.0),
                            field(116, -180.0), field(124, 180.0), field(156, 1.0), field(164, 1.0),
                            triple(176, 0, 1, 0), field<int32_t>(9588, 1), field<int32_t>(9596, 1),
                            field<int32_t>(18896, 1), field<int32_t>(18904, 1)});
    expectRecordBytes<Trn>(
        {field<int32_t>(64, 1), field(72, 1.0), field(80, 1.0), field(88, 1.0), field(96, 1.0)});
}

TEST(RecordDefaults, MaterialWithItsFourSlots) {
    std::vector<Expect> e = {
        triple(64, 1, 1, 1),     triple(88, 0.8, 0.8, 0.8), triple(112, 0.6, 0.6, 0.6),
        field(160, 10.0),        field(168, 1.0),           field(184, 1.0),
        field<uint32_t>(192, 1), field<uint32_t>(196, 1),
    };
    for (size_t k = 0; k < 4; ++k) {
        const size_t slot = 200 + 1496 * k;
        e.push_back(field<uint32_t>(slot + 0, 1));                  // box projection
        e.push_back(field<uint32_t>(slot + 1292, 0xFFFFFF));        // white text background
        e.push_back(field<uint32_t>(slot + 1356, 256));             // text image edge
        e.push_back(field<uint32_t>(slot + 1376, k == 0 ? 0 : 1));  // grey except surface
        e.push_back(field<uint32_t>(slot + 1384, 1));               // tile x
        e.push_back(field<uint32_t>(slot + 1388, 1));               // tile y
        e.push_back(field(slot + 1404, 1.0));                       // intensity
        e.push_back(field(slot + 1412, 1.0));                       // size
    }
    expectRecordBytes<Mat>(e);
}

class RecordTest : public ::testing::Test {
protected:
    void SetUp() override { isolateSettings(); }
    void TearDown() override {
        for (const char* name : {"DefaultEnvironment", "DefaultLight", "DefaultMaterial"})
            removeDefault(name);
    }
};

template <typename Record>
std::vector<uint8_t> bytesOf(const Record* r) {
    const uint8_t* p = reinterpret_cast<const uint8_t*>(r);
    return std::vector<uint8_t>(p, p + sizeof(Record));
}

// Names are copied with a 64-character bound; SetHandleName writes longer names over the
// fields behind the name, and they read back whole up to 127 characters.
TEST_F(RecordTest, NamesAreCopiedWithA64CharacterBound) {
    // Without a name the default name stays: the German string-table texts.
    Env* e = CreateEnv(nullptr);
    Lgt* l = CreateLgt(nullptr);
    Mat* m = CreateMat(nullptr);
    Lnk* k = CreateLnk(nullptr);
    EXPECT_STREQ(e->name, "Szene");
    EXPECT_STREQ(l->name, "Lichtquelle");
    EXPECT_STREQ(m->name, "Material");
    EXPECT_STREQ(k->name, "");  // links and transmissions have no default name
    DisposeEnv(e), DisposeLgt(l), DisposeMat(m), DisposeLnk(k);

    // 70 characters: the first 64 fill the field without a terminator, so the name reads on
    // into the record: `active` (1) and then the zero bytes of its high part.
    Trn* trn = CreateTrn(std::string(70, 'x').c_str());
    EXPECT_EQ(std::string(trn->name, 64), std::string(64, 'x'));
    EXPECT_EQ(trn->active, 1);
    char out[129];
    std::memset(out, '#', sizeof out);
    GetHandleName(trn, out);
    EXPECT_EQ(std::string(out), std::string(64, 'x') + "\x01");

    for (size_t length : {70u, 127u, 200u}) {
        SetHandleName(trn, std::string(length, 'y').c_str());
        std::memset(out, '#', sizeof out);
        GetHandleName(trn, out);
        EXPECT_EQ(std::string(out), std::string(length < 127 ? length : 127, 'y'));
        EXPECT_EQ(trn->tool, nullptr);
    }
    EXPECT_NE(trn->active, 1);
    SetHandleName(trn, "Stahl");
    GetHandleName(trn, out);
    EXPECT_STREQ(out, "Stahl");
    DisposeTrn(trn);
}

// A stored record image lends exactly its documented byte ranges to a new record.
struct StoredCase {
    const char* valueName;
    size_t size;
    std::vector<std::pair<size_t, size_t>> taken;
};

// A new record of the family whose defaults are stored under valueName, disposed when let go.
std::shared_ptr<void> create(const char* valueName) {
    if (!std::strcmp(valueName, "DefaultEnvironment")) return {CreateEnv("n"), DisposeEnv};
    if (!std::strcmp(valueName, "DefaultLight")) return {CreateLgt("n"), DisposeLgt};
    return {CreateMat("n"), DisposeMat};
}

TEST_F(RecordTest, StoredDefaultsLendOnlyTheirRanges) {
    const StoredCase cases[] = {
        {"DefaultEnvironment", sizeof(Env), {{112, 224}}},
        {"DefaultLight", sizeof(Lgt), {{64, 88}, {136, 176}}},
        {"DefaultMaterial", sizeof(Mat), {{64, 200}}},
    };
    for (const StoredCase& c : cases) {
        SCOPED_TRACE(c.valueName);
        const std::shared_ptr<void> builtIn = create(c.valueName);
        const auto* plain = static_cast<const uint8_t*>(builtIn.get());
        std::vector<uint8_t> stored(c.size);
        for (size_t i = 0; i < c.size; ++i) stored[i] = uint8_t(0x41 + i % 23);
        storeDefault(c.valueName, stored.data(), uint32_t(c.size));
        const std::shared_ptr<void> record = create(c.valueName);
        const auto* got = static_cast<const uint8_t*>(record.get());
        for (size_t i = 0; i < c.size; ++i) {
            bool taken = false;
            for (auto [begin, end] : c.taken) taken |= i >= begin && i < end;
            ASSERT_EQ(got[i], taken ? stored[i] : plain[i]) << "byte " << i;
        }

        // A value of any other size counts as missing.
        for (size_t wrong : {c.size - 1, c.size + 1}) {
            std::vector<uint8_t> other(wrong, 0x55);
            storeDefault(c.valueName, other.data(), uint32_t(wrong));
            EXPECT_EQ(0, std::memcmp(create(c.valueName).get(), plain, c.size)) << "size " << wrong;
        }
    }
}

TEST_F(RecordTest, PlainBlocksAreTheRecordAndNeverClaimAnEditor) {
    Env* env = CreateEnv("e");
    Lgt* lgt = CreateLgt("l");
    Trn* trn = CreateTrn("t");
    uint32_t size = 0;
    EXPECT_EQ(GetEnv(env, nullptr, &size), 1);
    EXPECT_EQ(size, 324u);
    GetLgt(lgt, nullptr, &size);
    EXPECT_EQ(size, 248u);
    GetTrn(trn, nullptr, &size);
    EXPECT_EQ(size, 200u);

    SetEnv(env, 0x00336699);
    std::vector<uint8_t> block(324);
    GetEnv(env, block.data(), &size);
    EXPECT_EQ(block, bytesOf(env));
    env->tool = &size;  // as if an editor were open when the block was taken
    GetEnv(env, block.data(), &size);
    env->tool = nullptr;
    Env* copy = CreateEnv("c");
    PutEnv(copy, block.data());
    EXPECT_EQ(+copy->tool, nullptr);
    EXPECT_EQ(bytesOf(copy), bytesOf(env));
    DisposeEnv(env), DisposeLgt(lgt), DisposeTrn(trn), DisposeEnv(copy);
}

TEST_F(RecordTest, SettersConvertColoursAndExpertModeAnswersOne) {
    const double k = 0.00392156862745098;
    Env* env = CreateEnv("e");
    SetEnv(env, 0x00FF8001);
    EXPECT_EQ(+env->background.x, 0x01 * k);
    EXPECT_EQ(+env->background.y, 0x80 * k);
    EXPECT_EQ(+env->background.z, 0xFF * k);

    Lgt* lgt = CreateLgt("l");
    const double position[3] = {1, 2, 3}, aim[3] = {4, 5, 6};
    SetLgt(lgt, position, aim, 1, 0x000000FF, 0.5, 42.0);
    EXPECT_EQ(+lgt->color.x, 0xFF * k * 0.5);
    EXPECT_EQ(+lgt->color.y, 0.0);
    EXPECT_EQ(+lgt->position.z, 3.0);
    EXPECT_EQ(+lgt->target.x, 4.0);
    EXPECT_EQ(lgt->type, 1);
    EXPECT_EQ(+lgt->angle, 42.0);

    Trn* trn = CreateTrn("t");
    SetTrn(trn, 11, 22, 33);
    EXPECT_EQ(trn->source, 11u);
    EXPECT_EQ(TrnTarget(trn), 22u);
    EXPECT_EQ(ObjOfTrn(trn), 33u);
    DisposeEnv(env), DisposeLgt(lgt), DisposeTrn(trn);
    EXPECT_EQ(SetExpertMode(1), 1);
    EXPECT_EQ(SetExpertMode(0), 1);
}

// A material with images in slots 0 and 2, as the texture loader leaves them.
Mat* texturedMaterial(uint8_t seed) {
    Mat* mat = CreateMat("Holz");
    for (int k : {0, 2}) {
        OrvTextureSlot& slot = mat->slots[k];
        slot.source = 1;
        slot.side = uint32_t(2 << k);
        slot.pixelBytes = 4 * slot.side * slot.side;
        slot.pixels = static_cast<uint8_t*>(std::malloc(slot.pixelBytes));
        for (uint32_t i = 0; i < slot.pixelBytes; ++i) slot.pixels[i] = uint8_t(seed + i * (k + 1));
        std::strcpy(slot.imagePath, "C:\\Texturen\\holz.bmp");
    }
    return mat;
}

TEST_F(RecordTest, MaterialBlockAppendsImagesInSlotOrder) {
    Mat* mat = texturedMaterial(7);
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    std::vector<uint8_t> block(size);
    GetMat(mat, block.data(), &size);
    ASSERT_EQ(block.size(), 6300u + 16 + 256);
    EXPECT_EQ(0, std::memcmp(block.data() + 6300, mat->slots[0].pixels, 16));
    EXPECT_EQ(0, std::memcmp(block.data() + 6316, mat->slots[2].pixels, 256));

    Mat* copy = CreateMat("x");
    PutMat(copy, block.data());
    EXPECT_EQ(+copy->tool, nullptr);
    EXPECT_NE(+copy->slots[0].pixels, +mat->slots[0].pixels);  // rebuilt, not shared
    EXPECT_EQ(+copy->slots[1].pixels, nullptr);
    EXPECT_EQ(0, std::memcmp(copy->slots[2].pixels, mat->slots[2].pixels, 256));
    EXPECT_EQ(MatEqual(mat, 0, copy, 0), 1);
    EXPECT_EQ(MatEqual(block.data(), 1, copy, 0), 1);

    // An image size that disagrees with the data shows no image.
    OrvTextureSlot slot0;
    std::memcpy(&slot0, block.data() + 200, sizeof slot0);
    slot0.side = 64;  // claims 64 x 64 pixels over a 16-byte image
    std::memcpy(block.data() + 200, &slot0, sizeof slot0);
    Mat* wrong = CreateMat("x");
    PutMat(wrong, block.data());
    EXPECT_EQ(+wrong->slots[0].pixels, nullptr);
    ASSERT_NE(+wrong->slots[2].pixels, nullptr);  // the appended data is still read in step
    EXPECT_EQ(0, std::memcmp(wrong->slots[2].pixels, mat->slots[2].pixels, 256));
    DisposeMat(mat), DisposeMat(copy), DisposeMat(wrong);
}

TEST_F(RecordTest, MatEqualComparesMeaningNotBookkeeping) {
    struct Case {
        const char* what;
        void (*change)(Mat&);
        int equal;
    };
    const Case cases[] = {
        {"bytes behind the name's terminator", [](Mat& m) { m.name[40] = 'z'; }, 1},
        {"bytes behind the image path", [](Mat& m) { m.slots[0].imagePath[200] = 'z'; }, 1},
        {"an image-less slot's fields", [](Mat& m) { m.slots[3].tileX = 0; }, 1},
        {"the tool pointer", [](Mat& m) { m.tool = &m; }, 1},
        {"the name", [](Mat& m) { m.name[0] = 'h'; }, 0},
        {"a colour", [](Mat& m) { m.diffuse.y = 0.5; }, 0},
        {"a textured slot's field", [](Mat& m) { m.slots[2].mode = 1; }, 0},
        {"a pixel", [](Mat& m) { m.slots[2].pixels[255] ^= 1; }, 0},
    };
    for (const Case& c : cases) {
        Mat* a = texturedMaterial(3);
        Mat* b = texturedMaterial(3);
        c.change(*b);
        EXPECT_EQ(MatEqual(a, 0, b, 0), c.equal) << c.what;
        b->tool = nullptr;
        DisposeMat(a), DisposeMat(b);
    }
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
// Disposing of a material frees its images: a hundred materials with a 1 MiB image each leave
// the heap as it was.
TEST_F(RecordTest, DisposingOfAMaterialFreesItsImages) {
    const auto inUse = [] {
        const struct mallinfo2 m = mallinfo2();
        return m.uordblks + m.hblkhd;
    };
    const size_t before = inUse();
    for (int i = 0; i < 100; ++i) {
        Mat* mat = CreateMat("");
        OrvTextureSlot& slot = mat->slots[i % 4];
        slot.side = 512;
        slot.pixelBytes = 4 * 512 * 512;
        slot.pixels = static_cast<uint8_t*>(orv::checkedAlloc(slot.pixelBytes));
        DisposeMat(mat);
    }
    EXPECT_LT(inUse(), before + (8u << 20));
}
#endif

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
TEST(CheckedAllocDeathTest, RunningOutOfMemoryEndsTheProcessWithCodeZero) {
    // The message goes to stderr natively: caption "Speicherüberlauf" (Windows-1252), text 156.
    EXPECT_EXIT(orv::checkedAlloc(size_t(1) << 62), ::testing::ExitedWithCode(0),
                "berlauf: Es konnte kein freier Arbeitsspeicher zugeordnet werden");
}
#endif

// ---- A link's path geometry and its block ----------------------------------------------------

constexpr double kPi = 3.14159265358979323846;

struct Path {
    std::vector<OrvVec3> points;
    std::vector<double> bulges;
    double frame[16] = {};
};

Path zigzag(int n) {
    Path p;
    for (int i = 0; i < n; ++i) {
        p.points.push_back({double(i), double(i % 2), 0.5 * i});
        p.bulges.push_back(i % 3 == 0 ? 0.0 : 0.25 * i);
    }
    for (int i = 0; i < 16; ++i) p.frame[i] = i + 0.5;
    return p;
}

Lnk* linkWithPath(const Path& p) {
    Lnk* lnk = CreateLnk("Kurbel");
    SetLnk(lnk, p.points.data(), p.bulges.data(), p.frame, int32_t(p.points.size()), 1, 2, 3);
    return lnk;
}

std::vector<uint8_t> blockOf(Lnk* lnk) {
    uint32_t size = 0;
    GetLnk(lnk, nullptr, &size);
    std::vector<uint8_t> block(size, 0xEE);
    GetLnk(lnk, block.data(), &size);
    return block;
}

TEST(LinkGeometry, PathLengthAddsChordsAndArcs) {
    struct Case {
        const char* what;
        std::vector<OrvVec3> points;
        std::vector<double> bulges;
        double length;
    };
    const Case cases[] = {
        {"straight", {{0, 0, 0}, {3, 4, 0}, {3, 4, 2}}, {0, 0, 0}, 7.0},
        // A bulge of half the chord is a half circle; the sign only says which side.
        {"half circle", {{0, 0, 0}, {2, 0, 0}}, {0, -1}, kPi},
        {"first bulge unused", {{0, 0, 0}, {2, 0, 0}}, {5, 0}, 2.0},
        // h = 1, chord 4: r = (4 + 16) / 8 = 2.5, arc = 5 asin(0.8).
        {"shallow arc", {{0, 0, 0}, {0, 4, 0}}, {0, 1}, 5 * std::asin(0.8)},
        {"one point", {{1, 1, 1}}, {9}, 0.0},
    };
    for (const Case& c : cases) {
        Lnk* lnk = CreateLnk("l");
        const double frame[16] = {};
        SetLnk(lnk, c.points.data(), c.bulges.data(), frame, int32_t(c.points.size()), 4, 5, 6);
        SCOPED_TRACE(c.what);
        EXPECT_NEAR(+lnk->linMax, c.length, 1e-12);
        EXPECT_EQ(lnk->pathCount, int32_t(c.points.size()));
        EXPECT_EQ(LnkTarget(lnk), 5u);
        EXPECT_EQ(ObjOfLnk(lnk), 6u);
        DisposeLnk(lnk);
    }
}

TEST(LinkGeometry, WithoutPathTheAxisPointsGiveTheLength) {
    Lnk* lnk = linkWithPath(zigzag(3));
    const double a[3] = {1, 1, 1}, b[3] = {4, 5, 1};
    SetLnk(lnk, a, b, nullptr, 0, 7, 8, 9);
    EXPECT_EQ(lnk->pathCount, 0);
    EXPECT_EQ(+lnk->pathPoints, nullptr);
    EXPECT_EQ(+lnk->linMax, 5.0);
    EXPECT_EQ(+lnk->axisB.y, 5.0);
    EXPECT_EQ(+lnk->pathFrame[3], 3.5);  // the frame of the earlier path stays
    DisposeLnk(lnk);
}

TEST(LinkGeometry, ResetClearsOnlyEnabledAxes) {
    for (int axes = 0; axes < 4; ++axes) {
        const int lin = axes & 1, rot = axes >> 1;
        Lnk* lnk = CreateLnk("l");
        lnk->lin = lin, lnk->rot = rot, lnk->linCur = 2.5, lnk->rotCur = 30;
        EXPECT_EQ(ResetLnk(lnk), 0);
        EXPECT_EQ(+lnk->linCur, lin ? 0.0 : 2.5);
        EXPECT_EQ(+lnk->rotCur, rot ? 0.0 : 30.0);
        DisposeLnk(lnk);
    }
}

// Paths of up to 5 points overlay the record part of the block; longer ones come back through
// the count copy.
TEST(LinkBlock, PathsRoundTripByteForByte) {
    for (int n : {5, 6, 40, 594}) {
        SCOPED_TRACE(n);
        const Path p = zigzag(n);
        Lnk* lnk = linkWithPath(p);
        const std::vector<uint8_t> block = blockOf(lnk);
        Lnk* copy = CreateLnk("other");
        PutLnk(copy, block.data());
        ASSERT_EQ(copy->pathCount, n);
        EXPECT_EQ(0, std::memcmp(copy->pathPoints, p.points.data(), 24 * n));
        EXPECT_EQ(0, std::memcmp(copy->pathBulges, p.bulges.data(), 8 * n));
        EXPECT_NE(+copy->pathPoints, +lnk->pathPoints);
        EXPECT_EQ(copy->reserved[0], 0);  // the record itself keeps its reserved bytes zero
        if (n == 5) {
            ASSERT_EQ(block.size(), 19240u);
            EXPECT_EQ(0, std::memcmp(block.data() + 8, p.points.data(), 120));
            EXPECT_EQ(0, std::memcmp(block.data() + 128, p.bulges.data(), 40));
            EXPECT_EQ(0, std::memcmp(block.data(), "Kurbel\0\0", 8));
            EXPECT_EQ(block[19240 - 1], 0xEE);  // the last 32 x count bytes stay unwritten
            EXPECT_EQ(std::memcmp(copy->name, "Kurbel", 6), 0);  // bytes 0 to 7 survive
            EXPECT_EQ(+copy->targetBody, 2u);
            // Byte for byte, but for the two array pointers, which are the copy's own.
            std::vector<uint8_t> again = blockOf(copy);
            EXPECT_EQ(0, std::memcmp(again.data(), block.data(), offsetof(Lnk, pathPoints)));
            EXPECT_EQ(0, std::memcmp(again.data() + offsetof(Lnk, pathFrame),
                                     block.data() + offsetof(Lnk, pathFrame),
                                     block.size() - offsetof(Lnk, pathFrame)));
        }
        DisposeLnk(lnk), DisposeLnk(copy);
    }
}

// Counts outside 0 to 596 load no path; a plausible count reads its arrays from inside the
// record part of the block only.
TEST(LinkBlock, CountsThatCannotBeRightLoadNoPath) {
    Lnk* source = CreateLnk("s");
    std::vector<uint8_t> block = blockOf(source);
    for (int32_t count : {-1, -2147483647 - 1, 597, 100000, 2147483647, 596}) {
        std::memcpy(block.data() + 172, &count, 4);
        Lnk* lnk = CreateLnk("l");
        PutLnk(lnk, block.data());
        EXPECT_EQ(lnk->pathCount, count == 596 ? 596 : 0) << count;
        EXPECT_EQ(lnk->pathPoints == nullptr, count != 596) << count;
        DisposeLnk(lnk);
    }
    DisposeLnk(source);
}

}  // namespace
