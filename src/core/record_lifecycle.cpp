// Record lifecycle.
//
//   creation   - built-in defaults, default name, stored defaults over fixed byte ranges
//   disposal   - close the editor, free what the record owns
//   blocks     - Env, Lgt, Trn as they are; Mat with its images appended (links: link_path.cpp)
//   setters, names, material comparison, expert mode
#include "core/record_lifecycle.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <initializer_list>

#include "core/checked_alloc.h"
#include "core/colour.h"
#include "core/process_lock.h"
#include "core/records.h"
#include "i18n/localise.h"
#include "settings/settings.h"
#include "tools/tool_close.h"

namespace orv {

namespace {

// ---- Creation ------------------------------------------------------------------------------

// A stored record image lends only some byte ranges to a new record.
struct ByteRange {
    size_t begin, end;
};

template <typename Record>
void applyStoredDefault(Record& record, const char* valueName,
                        std::initializer_list<ByteRange> ranges) {
    Record stored;
    if (!settings::readBinary(settings::kUserHive, settings::kLibrarySubkey, valueName, &stored,
                              sizeof stored))
        return;  // missing, unreadable or of another size: the built-in values stay
    for (const ByteRange& r : ranges)
        std::memcpy(reinterpret_cast<char*>(&record) + r.begin,
                    reinterpret_cast<const char*>(&stored) + r.begin, r.end - r.begin);
}

void loadDefaultName(char* name, int32_t stringId) {
    char text[kLocalisedMax];
    loadLocalisedString(stringId, text);
    std::strncpy(name, text, 63);
    name[63] = '\0';
}

// At most 64 characters, the rest of the field zeroed: a 64-character name fills the field and
// has no terminator inside the record.
void copyName(char* recordName, const char* name) {
    if (!name) return;
    size_t n = 0;
    for (; n < 64 && name[n]; ++n) recordName[n] = name[n];
    std::memset(recordName + n, 0, 64 - n);
}

template <typename Record>
Record* allocateRecord() {
    Record* record = static_cast<Record*>(checkedAlloc(sizeof(Record)));
    setBuiltInDefaults(*record);
    return record;
}

// ---- Owned parts ---------------------------------------------------------------------------

void freeImages(Mat& mat) {
    ProcessLockScope lock;  // viewers and tool threads read the pixels under this lock
    for (OrvTextureSlot& slot : mat.slots) {
        checkedFree(slot.pixels);
        slot.pixels = nullptr;
    }
}

// A slot's image is usable when its size agrees with its edge; anything else would make the
// viewer or the raytracer read past the buffer.
bool consistentImage(const OrvTextureSlot& slot) {
    return slot.side > 0 && uint64_t(slot.pixelBytes) == 4ull * slot.side * slot.side;
}

template <typename Record>
uint32_t getPlain(const Record& record, void* buffer) {
    if (buffer) std::memcpy(buffer, &record, sizeof record);
    return sizeof record;
}

template <typename Record>
void putPlain(Record& record, const void* block) {
    std::memcpy(&record, block, sizeof record);
    record.tool = nullptr;  // a copied block never claims an editor
}

std::atomic<bool> expert{false};

}  // namespace

// ---- Creation and disposal -----------------------------------------------------------------

Env* createEnv(const char* name) {
    Env* env = allocateRecord<Env>();
    loadDefaultName(env->name, 106);  // "Szene"
    applyStoredDefault(*env, "DefaultEnvironment", {{112, 224}});
    copyName(env->name, name);
    return env;
}

Lgt* createLgt(const char* name) {
    Lgt* lgt = allocateRecord<Lgt>();
    loadDefaultName(lgt->name, 83);  // "Lichtquelle"
    // Colour, then type to shadow; a new light always starts at (1, 1, 1) aiming at the origin.
    applyStoredDefault(*lgt, "DefaultLight", {{64, 88}, {136, 176}});
    copyName(lgt->name, name);
    return lgt;
}

Mat* createMat(const char* name) {
    Mat* mat = allocateRecord<Mat>();
    loadDefaultName(mat->name, 89);  // "Material"
    // Colours and shading values; a stored default never brings texture slots or placement.
    applyStoredDefault(*mat, "DefaultMaterial", {{64, 200}});
    copyName(mat->name, name);
    return mat;
}

Lnk* createLnk(const char* name) {
    Lnk* lnk = allocateRecord<Lnk>();
    copyName(lnk->name, name);
    return lnk;
}

Trn* createTrn(const char* name) {
    Trn* trn = allocateRecord<Trn>();
    copyName(trn->name, name);
    return trn;
}

void disposeEnv(Env* env) {
    closeTool(&env->tool);
    checkedFree(env);
}

void disposeLgt(Lgt* lgt) {
    closeTool(&lgt->tool);
    checkedFree(lgt);
}

void disposeMat(Mat* mat) {
    closeTool(&mat->tool);
    freeImages(*mat);
    checkedFree(mat);
}

void disposeLnk(Lnk* lnk) {
    closeTool(&lnk->tool);
    if (lnk->pathCount > 0) {
        checkedFree(lnk->pathPoints);
        checkedFree(lnk->pathBulges);
    }
    checkedFree(lnk);
}

void disposeTrn(Trn* trn) {
    closeTool(&trn->tool);
    checkedFree(trn);
}

// ---- Blocks --------------------------------------------------------------------------------

uint32_t getEnv(const Env& env, void* buffer) { return getPlain(env, buffer); }
uint32_t getLgt(const Lgt& lgt, void* buffer) { return getPlain(lgt, buffer); }
uint32_t getTrn(const Trn& trn, void* buffer) { return getPlain(trn, buffer); }
void putEnv(Env& env, const void* block) { putPlain(env, block); }
void putLgt(Lgt& lgt, const void* block) { putPlain(lgt, block); }
void putTrn(Trn& trn, const void* block) { putPlain(trn, block); }

uint32_t getMat(const Mat& mat, void* buffer) {
    ProcessLockScope lock;
    uint32_t size = sizeof mat;
    for (const OrvTextureSlot& slot : mat.slots) {
        if (!slot.pixels) continue;
        if (buffer) std::memcpy(static_cast<char*>(buffer) + size, slot.pixels, slot.pixelBytes);
        size += slot.pixelBytes;
    }
    if (buffer) std::memcpy(buffer, &mat, sizeof mat);
    return size;
}

void putMat(Mat& mat, const void* block) {
    freeImages(mat);
    std::memcpy(&mat, block, sizeof mat);
    mat.tool = nullptr;
    // The copied pointers are the producer's stale values: they only say which slots carry
    // image data, appended in slot order.
    const char* data = static_cast<const char*>(block) + sizeof mat;
    ProcessLockScope lock;
    for (OrvTextureSlot& slot : mat.slots) {
        if (!slot.pixels) continue;
        const char* image = data;
        data += slot.pixelBytes;
        if (!consistentImage(slot)) {  // keep reading in step, but show no image
            slot.pixels = nullptr;
            continue;
        }
        slot.pixels = static_cast<uint8_t*>(checkedAlloc(slot.pixelBytes));
        std::memcpy(slot.pixels, image, slot.pixelBytes);
    }
}

// ---- Setters -------------------------------------------------------------------------------

void setEnv(Env& env, uint32_t colour) { env.background = colourFromRef(colour); }

void setLgt(Lgt& lgt, const double* position, const double* aim, int32_t type, uint32_t colour,
            double intensity, double spotAngle) {
    std::memcpy(&lgt.position, position, sizeof lgt.position);
    std::memcpy(&lgt.target, aim, sizeof lgt.target);
    lgt.type = type;
    lgt.color = colourFromRef(colour);
    lgt.color.x *= intensity;
    lgt.color.y *= intensity;
    lgt.color.z *= intensity;
    lgt.angle = spotAngle;
}

void resetLnk(Lnk& lnk) {
    if (lnk.rot) lnk.rotCur = 0.0;
    if (lnk.lin) lnk.linCur = 0.0;
}

void setTrn(Trn& trn, uint64_t source, uint64_t target, uint64_t object) {
    trn.source = source;
    trn.target = target;
    trn.object = object;
}

// ---- Names and comparisons -----------------------------------------------------------------

void getHandleName(const void* handle, char* out) {
    const char* name = static_cast<const char*>(handle);
    size_t n = 0;
    while (n < kHandleNameMost && name[n]) ++n;
    std::memcpy(out, name, n);
    out[n] = '\0';
}

void setHandleName(void* handle, const char* name) {
    char* record = static_cast<char*>(handle);
    size_t n = 0;
    while (n < kHandleNameMost && name[n]) ++n;
    std::memcpy(record, name, n);
    record[n] = '\0';
}

namespace {

// A 6300-byte image of a material with everything that carries no meaning zeroed: bytes behind
// the name's and the texts' terminators, the tool pointer and the tail, and image-less slots.
void normalisedCopy(const Mat& mat, Mat& out) {
    std::memcpy(&out, &mat, sizeof mat);
    const auto keepToTerminator = [](char* text, size_t size) {
        const size_t len = strnlen(text, size);
        std::memset(text + len, 0, size - len);
    };
    keepToTerminator(out.name, sizeof out.name);
    std::memset(reinterpret_cast<char*>(&out) + offsetof(Mat, tool), 0,
                sizeof(Mat) - offsetof(Mat, tool));
    for (OrvTextureSlot& slot : out.slots) {
        if (!slot.pixels) {
            std::memset(&slot, 0, sizeof slot);
            continue;
        }
        keepToTerminator(slot.imagePath, sizeof slot.imagePath);
        keepToTerminator(slot.text, sizeof slot.text);
        std::memset(reinterpret_cast<char*>(&slot) + offsetof(OrvTextureSlot, pixels), 0,
                    sizeof(OrvTextureSlot) - offsetof(OrvTextureSlot, pixels));
    }
}

// A material to compare: the record itself, or a temporary one made from a block.
const Mat& materialOf(const void* p, bool isBlock, Mat*& temporary) {
    if (!isBlock) return *static_cast<const Mat*>(p);
    temporary = createMat("");
    putMat(*temporary, p);
    return *temporary;
}

}  // namespace

bool matEqual(const void* a, bool aIsBlock, const void* b, bool bIsBlock) {
    Mat* tempA = nullptr;
    Mat* tempB = nullptr;
    const Mat& ma = materialOf(a, aIsBlock, tempA);
    const Mat& mb = materialOf(b, bIsBlock, tempB);

    Mat* na = static_cast<Mat*>(checkedAlloc(sizeof(Mat)));
    Mat* nb = static_cast<Mat*>(checkedAlloc(sizeof(Mat)));
    normalisedCopy(ma, *na);
    normalisedCopy(mb, *nb);
    bool equal = std::memcmp(na, nb, sizeof(Mat)) == 0;
    checkedFree(na);
    checkedFree(nb);
    {
        ProcessLockScope lock;
        for (int k = 0; equal && k < 4; ++k) {
            const OrvTextureSlot& sa = ma.slots[k];
            const OrvTextureSlot& sb = mb.slots[k];
            // Equal normalised slots with data in a have data of the same size in b.
            if (sa.pixels && sb.pixels)
                equal = std::memcmp(sa.pixels, sb.pixels, sa.pixelBytes) == 0;
        }
    }
    if (tempA) disposeMat(tempA);
    if (tempB) disposeMat(tempB);
    return equal;
}

void setExpertMode(bool on) { expert = on; }
bool expertMode() { return expert; }

}  // namespace orv
