// Record lifecycle through the exports: names, stored defaults over their byte ranges, blocks,
// setters and material comparison. Natively the exports are linked in; under Wine they are the
// DLL's, with stored defaults in the registry.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "orvanta.h"
#include "support/stored_defaults.h"

#if !defined(_WIN32)
#include "core/checked_alloc.h"
#endif

namespace {

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

TEST_F(RecordTest, NamesAreCopiedWithA64CharacterBound) {
    Env* env = CreateEnv("Halle 3");
    EXPECT_STREQ(env->name, "Halle 3");
    DisposeEnv(env);

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
    const std::string longName(70, 'x');
    Trn* trn = CreateTrn(longName.c_str());
    EXPECT_EQ(std::string(trn->name, 64), std::string(64, 'x'));
    EXPECT_EQ(trn->active, 1);
    char out[129];
    std::memset(out, '#', sizeof out);
    GetHandleName(trn, out);
    EXPECT_EQ(std::string(out), std::string(64, 'x') + "\x01");
    DisposeTrn(trn);
}

// Longer names overwrite the fields behind the name and read back whole, up to 127 characters.
TEST_F(RecordTest, SetHandleNameOverwritesTheFieldsBehindTheName) {
    Trn* trn = CreateTrn("a");
    char out[129];
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

void* create(const char* valueName) {
    if (!std::strcmp(valueName, "DefaultEnvironment")) return CreateEnv("n");
    if (!std::strcmp(valueName, "DefaultLight")) return CreateLgt("n");
    return CreateMat("n");
}

void dispose(const char* valueName, void* record) {
    if (!std::strcmp(valueName, "DefaultEnvironment")) DisposeEnv(static_cast<Env*>(record));
    else if (!std::strcmp(valueName, "DefaultLight")) DisposeLgt(static_cast<Lgt*>(record));
    else DisposeMat(static_cast<Mat*>(record));
}

TEST_F(RecordTest, StoredDefaultsLendOnlyTheirRanges) {
    const StoredCase cases[] = {
        {"DefaultEnvironment", sizeof(Env), {{112, 224}}},
        {"DefaultLight", sizeof(Lgt), {{64, 88}, {136, 176}}},
        {"DefaultMaterial", sizeof(Mat), {{64, 200}}},
    };
    for (const StoredCase& c : cases) {
        SCOPED_TRACE(c.valueName);
        void* builtIn = create(c.valueName);
        const std::vector<uint8_t> plain(static_cast<uint8_t*>(builtIn),
                                         static_cast<uint8_t*>(builtIn) + c.size);
        std::vector<uint8_t> stored(c.size);
        for (size_t i = 0; i < c.size; ++i) stored[i] = uint8_t(0x41 + i % 23);
        storeDefault(c.valueName, stored.data(), uint32_t(c.size));
        void* record = create(c.valueName);
        const uint8_t* got = static_cast<uint8_t*>(record);
        for (size_t i = 0; i < c.size; ++i) {
            bool taken = false;
            for (auto [begin, end] : c.taken) taken |= i >= begin && i < end;
            ASSERT_EQ(got[i], taken ? stored[i] : plain[i]) << "byte " << i;
        }
        dispose(c.valueName, record);

        // A value of any other size counts as missing.
        for (size_t wrong : {c.size - 1, c.size + 1}) {
            std::vector<uint8_t> other(wrong, 0x55);
            storeDefault(c.valueName, other.data(), uint32_t(wrong));
            void* r = create(c.valueName);
            EXPECT_EQ(0, std::memcmp(r, plain.data(), c.size)) << "size " << wrong;
            dispose(c.valueName, r);
        }
        dispose(c.valueName, builtIn);
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

TEST_F(RecordTest, SettersConvertColoursByteTimesOne255th) {
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

std::vector<uint8_t> matBlock(Mat* mat) {
    uint32_t size = 0;
    GetMat(mat, nullptr, &size);
    std::vector<uint8_t> block(size);
    GetMat(mat, block.data(), &size);
    return block;
}

TEST_F(RecordTest, MaterialBlockAppendsImagesInSlotOrder) {
    Mat* mat = texturedMaterial(7);
    const std::vector<uint8_t> block = matBlock(mat);
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
    DisposeMat(mat), DisposeMat(copy);
}

TEST_F(RecordTest, MaterialBlockWithAnImageSizeThatDisagreesShowsNoImage) {
    Mat* mat = texturedMaterial(1);
    std::vector<uint8_t> block = matBlock(mat);
    OrvTextureSlot slot0;
    std::memcpy(&slot0, block.data() + 200, sizeof slot0);
    slot0.side = 64;  // claims 64 x 64 pixels over a 16-byte image
    std::memcpy(block.data() + 200, &slot0, sizeof slot0);
    Mat* copy = CreateMat("x");
    PutMat(copy, block.data());
    EXPECT_EQ(+copy->slots[0].pixels, nullptr);
    ASSERT_NE(+copy->slots[2].pixels, nullptr);  // the appended data is still read in step
    EXPECT_EQ(0, std::memcmp(copy->slots[2].pixels, mat->slots[2].pixels, 256));
    DisposeMat(mat), DisposeMat(copy);
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

TEST_F(RecordTest, ExpertModeAnswersOne) {
    EXPECT_EQ(SetExpertMode(1), 1);
    EXPECT_EQ(SetExpertMode(0), 1);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
TEST(CheckedAllocDeathTest, RunningOutOfMemoryEndsTheProcessWithCodeZero) {
    // The message goes to stderr natively: caption "Speicherüberlauf" (Windows-1252), text 156.
    EXPECT_EXIT(orv::checkedAlloc(size_t(1) << 62), ::testing::ExitedWithCode(0),
                "berlauf: Es konnte kein freier Arbeitsspeicher zugeordnet werden");
}
#endif

}  // namespace
