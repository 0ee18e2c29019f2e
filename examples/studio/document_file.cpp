// document_file.cpp - writing and reading scene files.
//
// Layout, little-endian:
//   "OVSTUDIO", u32 version (1), u32 flags (0)
//   chunks to the end of the file: u32 tag, u32 length, then length bytes
//     "ENV " u32 size, the environment's block                      exactly one
//     "MAT " u32 size, a material's block                           in document order
//     "LGT " u32 size, a light's block
//     "BODY" u32 length, name; i32 material (-1 none); u32 flags (1 ground); 16 f64 motion;
//            u32 triangles, then per triangle 9 f64 corners, 9 f64 normals, 3 f64 face normal
//     "LINK" i32 source body, i32 target body (-1 none); u32 size, block; u32 size, info text;
//            u32 size, the record bytes the block's path covers (see restoreLinkUnderPath)
//     "TRAN" i32 source link, i32 target link (-1 none); u32 size, block; u32 size, info text
// A reader skips chunks it does not know.
#include "document_file.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>

namespace {

constexpr char kMagic[8] = {'O', 'V', 'S', 'T', 'U', 'D', 'I', 'O'};
constexpr uint32_t kVersion = 1;
constexpr uint32_t kGround = 1;

constexpr uint32_t tag(const char (&name)[5]) {
    return uint32_t(uint8_t(name[0])) | uint32_t(uint8_t(name[1])) << 8 |
           uint32_t(uint8_t(name[2])) << 16 | uint32_t(uint8_t(name[3])) << 24;
}
constexpr uint32_t kEnvChunk = tag("ENV "), kMatChunk = tag("MAT "), kLgtChunk = tag("LGT "),
                   kBodyChunk = tag("BODY"), kLinkChunk = tag("LINK"), kTrnChunk = tag("TRAN");

// ---- What the library's blocks look like ----------------------------------------------------

// A link block is the record with its path written over it from offset 8, each point (three
// doubles) and then each arc height (one double): 32 bytes a point, and the block is longer by
// as much. Where the path covers the point count, the block carries "PATH" and the count in
// the reserved bytes instead; a path reaching those cannot be read back.
constexpr size_t kPathStart = 8;
constexpr size_t kPathBytesPerPoint = sizeof(OrvVec3) + sizeof(double);
constexpr size_t kPathCountAt = offsetof(Lnk, pathCount);
constexpr size_t kPathMarkAt = offsetof(Lnk, reserved);
constexpr size_t kPathPointsAt = offsetof(Lnk, pathPoints);
constexpr size_t kPathBulgesAt = offsetof(Lnk, pathBulges);
constexpr size_t kPathFrameAt = offsetof(Lnk, pathFrame);
constexpr size_t kLinkDriveAt = offsetof(Lnk, linDrive);
constexpr size_t kAxisAAt = offsetof(Lnk, axisA);
constexpr size_t kMaxPathPoints = (kPathMarkAt - kPathStart) / kPathBytesPerPoint;
static_assert(kPathCountAt < kPathMarkAt && kPathFrameAt < kLinkDriveAt, "link layout");

constexpr size_t kSlotsAt = offsetof(Mat, slots);
constexpr size_t kSlotPixelsAt = offsetof(OrvTextureSlot, pixels);
constexpr size_t kSlotBytesAt = offsetof(OrvTextureSlot, pixelBytes);
constexpr size_t kSlotSideAt = offsetof(OrvTextureSlot, side);

template <typename T>
T load(const uint8_t* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}
template <typename T>
void store(uint8_t* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

size_t pathPointsOfBlock(size_t blockSize) {
    return blockSize > sizeof(Lnk) ? (blockSize - sizeof(Lnk)) / kPathBytesPerPoint : 0;
}
size_t pathEnd(size_t points) {
    return kPathStart + points * kPathBytesPerPoint;
}

// The point count PutLnk takes: the one in the reserved bytes when they carry the mark and a
// path that long would cover pathCount, else pathCount (nothing for a negative one).
int64_t pathCountPutLnkReads(const uint8_t* block) {
    if (std::memcmp(block + kPathMarkAt, "PATH", 4) == 0) {
        const int32_t marked = load<int32_t>(block + kPathMarkAt + 4);
        if (marked > 0 && pathEnd(size_t(marked)) > kPathCountAt) return marked;
    }
    return std::max<int32_t>(0, load<int32_t>(block + kPathCountAt));
}

bool terminated(const char* text, size_t capacity) {
    return std::memchr(text, 0, capacity) != nullptr;
}

// ---- Checks of blocks read from a file, before the library reads them -----------------------

bool checkFixedBlock(const std::vector<uint8_t>& block, size_t size, const char* what,
                     std::string& error) {
    if (block.size() == size) return true;
    error = std::string("the ") + what + " block has " + std::to_string(block.size()) +
            " bytes instead of " + std::to_string(size);
    return false;
}

// PutMat reads an image behind the record for each slot whose pixel address and byte count
// are both set; they must add up to the block, and each image must be what a slot can hold.
bool checkMaterialBlock(const std::vector<uint8_t>& block, std::string& error) {
    if (block.size() < sizeof(Mat)) {
        error = "a material block is too short";
        return false;
    }
    size_t expected = sizeof(Mat);
    for (int s = 0; s < 4; ++s) {
        const uint8_t* slot = block.data() + kSlotsAt + size_t(s) * sizeof(OrvTextureSlot);
        OrvTextureSlot fields;
        std::memcpy(&fields, slot, sizeof fields);
        if (!terminated(fields.imagePath, sizeof fields.imagePath) ||
            !terminated(fields.text, sizeof fields.text)) {
            error = "a texture slot's path or text has no end";
            return false;
        }
        const bool hasImage = load<uint64_t>(slot + kSlotPixelsAt) != 0;
        const uint32_t bytes = load<uint32_t>(slot + kSlotBytesAt);
        const uint32_t side = load<uint32_t>(slot + kSlotSideAt);
        if (!hasImage || bytes == 0) {
            if (bytes != 0) {
                error = "a texture slot counts image bytes it does not carry";
                return false;
            }
            continue;
        }
        const bool powerOfTwo = side >= 2 && side <= 8192 && (side & (side - 1)) == 0;
        if (!powerOfTwo || uint64_t(bytes) != 4ull * side * side) {
            error = "a texture slot's image is not a square of a power of two";
            return false;
        }
        expected += bytes;
    }
    if (expected != block.size()) {
        error = "a material block's images do not add up to its size";
        return false;
    }
    return true;
}

bool checkLinkBlock(const std::vector<uint8_t>& block, std::string& error) {
    if (block.size() < sizeof(Lnk) || (block.size() - sizeof(Lnk)) % kPathBytesPerPoint != 0) {
        error = "a link block has a size no link has";
        return false;
    }
    const size_t points = pathPointsOfBlock(block.size());
    if (points > kMaxPathPoints || uint64_t(pathCountPutLnkReads(block.data())) != points) {
        error = "a link block's path does not match its size";
        return false;
    }
    return true;
}

// ---- The record under a link's path ---------------------------------------------------------

// The record bytes that a link's block covers with its path, as the file keeps them: without
// the addresses of the path arrays, which the reading record has of its own.
std::vector<uint8_t> underPath(const Lnk* link, size_t points) {
    if (points == 0) return {};
    const uint8_t* record = reinterpret_cast<const uint8_t*>(link);
    std::vector<uint8_t> bytes(record + kPathStart, record + pathEnd(points));
    for (size_t at : {kPathPointsAt, kPathBulgesAt}) {
        if (at + 8 <= pathEnd(points)) std::memset(&bytes[at - kPathStart], 0, 8);
    }
    return bytes;
}

// PutLnk has copied the path over the record's first fields; the kept bytes bring them back.
// A file without them falls back on the info text, which carries the switches, limits, current
// values, steps and drives (the name then keeps its first eight characters, a covered axis
// comes from the first points as SetLnk makes it, and a covered path frame is the identity).
// What PutLnk made of the path itself (count and arrays) stays.
void restoreLinkUnderPath(Lnk* link, size_t points, const std::vector<uint8_t>& kept,
                          const std::string& info) {
    if (points == 0) return;
    uint8_t* record = reinterpret_cast<uint8_t*>(link);
    const size_t end = pathEnd(points);
    auto keepPathFields = [&](const uint8_t* from) {
        for (size_t at = kPathStart; at < end; ++at) {
            const bool pathField = at >= kPathCountAt && at < kPathCountAt + 4;
            const bool address = at >= kPathPointsAt && at < kPathBulgesAt + 8;
            if (!pathField && !address) record[at] = from[at - kPathStart];
        }
    };
    if (kept.size() == end - kPathStart) {
        keepPathFields(kept.data());
        return;
    }
    if (!link->pathPoints) return;
    Lnk* values = CreateLnk(nullptr);
    PutLnkInfo(values, info.c_str());
    std::vector<uint8_t> fallback(reinterpret_cast<const uint8_t*>(values) + kPathStart,
                                  reinterpret_cast<const uint8_t*>(values) + end);
    DisposeLnk(values);
    // Fields the text does not carry: the name's rest, the axes and the path frame.
    for (size_t at = kPathStart; at < std::min(end, sizeof link->name); ++at)
        fallback[at - kPathStart] = 0;
    double frame[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    OrvVec3 axes[2] = {link->pathPoints[0], link->pathPoints[points > 1 ? 1 : 0]};
    for (size_t at = kAxisAAt; at < std::min(end, kPathPointsAt); ++at)
        fallback[at - kPathStart] = reinterpret_cast<const uint8_t*>(axes)[at - kAxisAAt];
    for (size_t at = kPathFrameAt; at < std::min(end, kLinkDriveAt); ++at)
        fallback[at - kPathStart] = reinterpret_cast<const uint8_t*>(frame)[at - kPathFrameAt];
    keepPathFields(fallback.data());
}

// ---- Writing --------------------------------------------------------------------------------

class Writer {
public:
    void bytes(const void* data, size_t size) {
        const auto* p = static_cast<const uint8_t*>(data);
        out_.insert(out_.end(), p, p + size);
    }
    void u32(uint32_t v) { bytes(&v, sizeof v); }
    void i32(int32_t v) { bytes(&v, sizeof v); }
    void f64(double v) { bytes(&v, sizeof v); }
    void vec(const Vec3& v) {
        f64(v.x);
        f64(v.y);
        f64(v.z);
    }
    void sized(const void* data, size_t size) {
        u32(uint32_t(size));
        bytes(data, size);
    }
    void sized(const std::vector<uint8_t>& data) { sized(data.data(), data.size()); }
    void sized(const std::string& data) { sized(data.data(), data.size()); }

    void beginChunk(uint32_t tag) {
        u32(tag);
        chunkStart_ = out_.size();
        u32(0);
    }
    bool endChunk() {
        const size_t length = out_.size() - chunkStart_ - 4;
        if (length > 0xFFFFFFFFu) return false;
        store(&out_[chunkStart_], uint32_t(length));
        return true;
    }
    const std::vector<uint8_t>& data() const { return out_; }

private:
    std::vector<uint8_t> out_;
    size_t chunkStart_ = 0;
};

std::string systemMessage(DWORD code) {
    char* text = nullptr;
    FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<char*>(&text), 0, nullptr);
    std::string message = text ? text : "error " + std::to_string(code);
    if (text) LocalFree(text);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
        message.pop_back();
    return message;
}

std::string recordLabel(const char* family, size_t index, const void* record) {
    char name[128] = {};
    GetHandleName(record, name);
    return std::string(family) + " " + std::to_string(index) + " (" + name + ")";
}

bool writeFile(const std::wstring& path, const std::vector<uint8_t>& data, std::string& error) {
    // A new file beside the old one takes its place once it is whole.
    const std::wstring temporary = path + L".saving";
    HANDLE file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = systemMessage(GetLastError());
        return false;
    }
    size_t written = 0;
    bool ok = true;
    while (ok && written < data.size()) {
        const DWORD piece = DWORD(std::min<size_t>(data.size() - written, 1u << 24));
        DWORD done = 0;
        ok = WriteFile(file, data.data() + written, piece, &done, nullptr) && done == piece;
        written += done;
    }
    if (!ok) error = "The file cannot be written: " + systemMessage(GetLastError());
    CloseHandle(file);
    if (ok && !MoveFileExW(temporary.c_str(), path.c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        error = systemMessage(GetLastError());
        ok = false;
    }
    if (!ok) DeleteFileW(temporary.c_str());
    return ok;
}

// ---- Reading --------------------------------------------------------------------------------

// Reads within one chunk; every read is checked against what is left of it.
class Reader {
public:
    Reader(const uint8_t* data, size_t size) : at_(data), left_(size) {}
    size_t left() const { return left_; }

    bool bytes(size_t size, const uint8_t*& out) {
        if (size > left_) return false;
        out = at_;
        at_ += size;
        left_ -= size;
        return true;
    }
    template <typename T>
    bool value(T& out) {
        const uint8_t* p;
        if (!bytes(sizeof out, p)) return false;
        std::memcpy(&out, p, sizeof out);
        return true;
    }
    bool finite(double& out) { return value(out) && std::isfinite(out); }
    bool vec(Vec3& v) { return finite(v.x) && finite(v.y) && finite(v.z); }
    bool sized(std::vector<uint8_t>& out) {
        uint32_t size;
        const uint8_t* p;
        if (!value(size) || !bytes(size, p)) return false;
        out.assign(p, p + size);
        return true;
    }
    bool sized(std::string& out) {
        uint32_t size;
        const uint8_t* p;
        if (!value(size) || !bytes(size, p)) return false;
        out.assign(reinterpret_cast<const char*>(p), size);
        // A text ends at its first terminator, as the library reads it.
        out.resize(std::strlen(out.c_str()));
        return true;
    }

private:
    const uint8_t* at_;
    size_t left_;
};

struct BodyData {
    std::string name;
    int32_t material = -1;
    bool ground = false;
    Matrix motion;
    Mesh mesh;
};

struct LinkData {
    int32_t source = -1, target = -1;
    std::vector<uint8_t> block;
    std::string info;
    std::vector<uint8_t> underPath;
};

struct TransmissionData {
    int32_t source = -1, target = -1;
    std::vector<uint8_t> block;
    std::string info;
};

struct FileData {
    bool hasEnvironment = false;
    std::vector<uint8_t> environment;
    std::vector<std::vector<uint8_t>> materials, lights;
    std::vector<BodyData> bodies;
    std::vector<LinkData> links;
    std::vector<TransmissionData> transmissions;
};

bool readBody(Reader& in, BodyData& body) {
    uint32_t flags, triangles;
    if (!in.sized(body.name) || !in.value(body.material) || !in.value(flags)) return false;
    body.ground = (flags & kGround) != 0;
    for (double& m : body.motion.m)
        if (!in.finite(m)) return false;
    if (!in.value(triangles)) return false;
    constexpr size_t kTriangleBytes = 21 * sizeof(double);
    if (triangles > in.left() / kTriangleBytes) return false;
    Mesh& mesh = body.mesh;
    mesh.corners.resize(size_t(triangles) * 3);
    mesh.normals.resize(size_t(triangles) * 3);
    mesh.faceNormals.resize(triangles);
    for (size_t t = 0; t < triangles; ++t) {
        for (int c = 0; c < 3; ++c) {
            if (!in.vec(mesh.corners[3 * t + size_t(c)])) return false;
            mesh.bounds.add(mesh.corners[3 * t + size_t(c)]);
        }
        for (int c = 0; c < 3; ++c)
            if (!in.vec(mesh.normals[3 * t + size_t(c)])) return false;
        if (!in.vec(mesh.faceNormals[t])) return false;
    }
    return true;
}

bool readChunk(uint32_t kind, Reader& in, FileData& data, std::string& error) {
    bool ok = true;
    switch (kind) {
        case kEnvChunk:
            if (data.hasEnvironment) {
                error = "it has two environments";
                return false;
            }
            data.hasEnvironment = true;
            ok = in.sized(data.environment);
            break;
        case kMatChunk:
            data.materials.emplace_back();
            ok = in.sized(data.materials.back());
            break;
        case kLgtChunk:
            data.lights.emplace_back();
            ok = in.sized(data.lights.back());
            break;
        case kBodyChunk:
            data.bodies.emplace_back();
            ok = readBody(in, data.bodies.back());
            break;
        case kLinkChunk: {
            LinkData& link = data.links.emplace_back();
            ok = in.value(link.source) && in.value(link.target) && in.sized(link.block) &&
                 in.sized(link.info) && in.sized(link.underPath);
            break;
        }
        case kTrnChunk: {
            TransmissionData& trn = data.transmissions.emplace_back();
            ok = in.value(trn.source) && in.value(trn.target) && in.sized(trn.block) &&
                 in.sized(trn.info);
            break;
        }
        default: return true;  // written by a later studio: not needed here
    }
    if (!ok || in.left() != 0) {
        error = "a chunk is cut short or too long";
        return false;
    }
    return true;
}

bool parse(const std::vector<uint8_t>& file, FileData& data, std::string& error) {
    if (file.size() < 16 || std::memcmp(file.data(), kMagic, sizeof kMagic) != 0) {
        error = "This is not an Orvanta Studio scene.";
        return false;
    }
    const uint32_t version = load<uint32_t>(file.data() + 8);
    if (version > kVersion) {
        error = "The scene was written by a later Orvanta Studio (format " +
                std::to_string(version) + ").";
        return false;
    }
    size_t at = 16;
    while (at < file.size()) {
        if (file.size() - at < 8) {
            error = "The scene file is damaged: it ends inside a chunk header.";
            return false;
        }
        const uint32_t kind = load<uint32_t>(file.data() + at);
        const uint32_t length = load<uint32_t>(file.data() + at + 4);
        at += 8;
        if (length > file.size() - at) {
            error = "The scene file is damaged: a chunk reaches past its end.";
            return false;
        }
        Reader in(file.data() + at, length);
        std::string why;
        if (!readChunk(kind, in, data, why)) {
            error = "The scene file is damaged: " + why + ".";
            return false;
        }
        at += length;
    }
    if (!data.hasEnvironment) {
        error = "The scene file is damaged: it has no environment.";
        return false;
    }
    return true;
}

// Every block and every reference, before any record is made.
bool check(const FileData& data, std::string& error) {
    if (!checkFixedBlock(data.environment, sizeof(Env), "environment", error)) return false;
    for (const auto& block : data.lights)
        if (!checkFixedBlock(block, sizeof(Lgt), "light", error)) return false;
    for (const auto& block : data.materials)
        if (!checkMaterialBlock(block, error)) return false;
    auto inRange = [](int32_t index, size_t count) {
        return index == -1 || (index >= 0 && size_t(index) < count);
    };
    for (const BodyData& body : data.bodies) {
        if (!inRange(body.material, data.materials.size())) {
            error = "body " + body.name + " has a material the scene does not have";
            return false;
        }
    }
    for (const LinkData& link : data.links) {
        if (!checkLinkBlock(link.block, error)) return false;
        if (!inRange(link.source, data.bodies.size()) ||
            !inRange(link.target, data.bodies.size())) {
            error = "a link joins bodies the scene does not have";
            return false;
        }
        const size_t covered = pathEnd(pathPointsOfBlock(link.block.size())) - kPathStart;
        if (!link.underPath.empty() && link.underPath.size() != covered) {
            error = "a link's bytes under its path do not match its block";
            return false;
        }
    }
    for (const TransmissionData& trn : data.transmissions) {
        if (!checkFixedBlock(trn.block, sizeof(Trn), "transmission", error)) return false;
        if (!inRange(trn.source, data.links.size()) || !inRange(trn.target, data.links.size())) {
            error = "a transmission couples links the scene does not have";
            return false;
        }
    }
    return true;
}

bool readFile(const std::wstring& path, std::vector<uint8_t>& data, std::string& error) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = systemMessage(GetLastError());
        return false;
    }
    LARGE_INTEGER size{};
    bool ok = GetFileSizeEx(file, &size) != 0;
    if (ok && size.QuadPart > (1ll << 31)) {
        error = "The file is too large for a scene.";
        CloseHandle(file);
        return false;
    }
    if (ok) data.resize(size_t(size.QuadPart));
    size_t done = 0;
    while (ok && done < data.size()) {
        const DWORD piece = DWORD(std::min<size_t>(data.size() - done, 1u << 24));
        DWORD got = 0;
        ok = ReadFile(file, data.data() + done, piece, &got, nullptr) && got == piece;
        done += got;
    }
    if (!ok) error = systemMessage(GetLastError());
    CloseHandle(file);
    return ok;
}

bool driveSound(const OrvDrive& drive) {
    return drive.count >= 0 && drive.count <= int32_t(std::size(drive.phases));
}

template <typename Record, typename Get>
std::vector<uint8_t> blockOf(Record* record, Get get) {
    uint32_t size = 0;
    get(record, nullptr, &size);
    std::vector<uint8_t> block(size);
    if (size) get(record, block.data(), &size);
    return block;
}

}  // namespace

// ---- Blocks ---------------------------------------------------------------------------------

std::vector<uint8_t> recordBlock(Env* env) {
    return blockOf(env, GetEnv);
}
std::vector<uint8_t> recordBlock(Lgt* light) {
    return blockOf(light, GetLgt);
}
std::vector<uint8_t> recordBlock(Mat* mat) {
    return blockOf(mat, GetMat);
}
std::vector<uint8_t> recordBlock(Lnk* link) {
    return blockOf(link, GetLnk);
}
std::vector<uint8_t> recordBlock(Trn* trn) {
    return blockOf(trn, GetTrn);
}

std::string linkInfo(Lnk* link) {
    std::vector<char> text(size_t(GetLnkInfoSize(link)) + 1, '\0');
    GetLnkInfo(link, text.data());
    return text.data();
}

std::string transmissionInfo(Trn* trn) {
    // Two switches and four ratios: far below this even at the widest numbers.
    std::vector<char> text(8192, '\0');
    GetTrnInfo(trn, text.data());
    text.back() = '\0';
    return text.data();
}

std::vector<uint8_t> portableBlock(RecordKind kind, std::vector<uint8_t> block) {
    auto clear = [&](size_t at, size_t bytes) {
        if (at + bytes <= block.size()) std::memset(&block[at], 0, bytes);
    };
    // An address becomes 1 where the record owns something there, else 0.
    auto flag = [&](size_t at, bool owns) {
        if (at + 8 <= block.size()) store<uint64_t>(&block[at], owns ? 1 : 0);
    };
    switch (kind) {
        case RecordKind::Environment: clear(offsetof(Env, tool), 8); break;
        case RecordKind::Light: clear(offsetof(Lgt, tool), 8); break;
        case RecordKind::Transmission: clear(offsetof(Trn, tool), 8); break;
        case RecordKind::Material:
            clear(offsetof(Mat, tool), 8);
            for (size_t s = 0; s < 4 && block.size() >= sizeof(Mat); ++s) {
                const size_t slot = kSlotsAt + s * sizeof(OrvTextureSlot);
                flag(slot + kSlotPixelsAt, load<uint64_t>(&block[slot + kSlotPixelsAt]) != 0 &&
                                               load<uint32_t>(&block[slot + kSlotBytesAt]) != 0);
            }
            break;
        case RecordKind::Link: {
            if (block.size() < sizeof(Lnk)) break;
            // Under the path the bytes are the path's.
            const size_t points = pathPointsOfBlock(block.size());
            const size_t covered = points ? pathEnd(points) : 0;
            for (size_t at : {kPathPointsAt, kPathBulgesAt})
                if (at >= covered) flag(at, points > 0 && load<uint64_t>(&block[at]) != 0);
            if (offsetof(Lnk, tool) >= covered) clear(offsetof(Lnk, tool), 8);
            break;
        }
    }
    return block;
}

// ---- Saving ---------------------------------------------------------------------------------

bool saveDocument(const Document& document, const std::wstring& path, std::string& error) {
    Writer out;
    out.bytes(kMagic, sizeof kMagic);
    out.u32(kVersion);
    out.u32(0);

    out.beginChunk(kEnvChunk);
    out.sized(portableBlock(RecordKind::Environment, recordBlock(document.environment())));
    out.endChunk();
    const auto& materials = document.materials();
    for (Mat* mat : materials) {
        out.beginChunk(kMatChunk);
        out.sized(portableBlock(RecordKind::Material, recordBlock(mat)));
        out.endChunk();
    }
    for (size_t i = 0; i < document.lightCount(); ++i) {
        out.beginChunk(kLgtChunk);
        out.sized(portableBlock(RecordKind::Light, recordBlock(document.light(i))));
        out.endChunk();
    }
    for (const Body& body : document.bodies()) {
        out.beginChunk(kBodyChunk);
        out.sized(body.name);
        const auto mat = std::find(materials.begin(), materials.end(), body.material);
        out.i32(mat == materials.end() ? -1 : int32_t(mat - materials.begin()));
        out.u32(body.ground ? kGround : 0);
        for (double m : body.motion.m) out.f64(m);
        const Mesh& mesh = body.mesh;
        out.u32(uint32_t(mesh.triangleCount()));
        for (size_t t = 0; t < mesh.triangleCount(); ++t) {
            for (int c = 0; c < 3; ++c) out.vec(mesh.corners[3 * t + size_t(c)]);
            for (int c = 0; c < 3; ++c) out.vec(mesh.normals[3 * t + size_t(c)]);
            out.vec(mesh.faceNormals[t]);
        }
        if (!out.endChunk()) {
            error = "Body " + body.name + " is too large for a scene file.";
            return false;
        }
    }
    const auto& links = document.links();
    for (size_t i = 0; i < links.size(); ++i) {
        Lnk* link = links[i];
        const std::vector<uint8_t> block = recordBlock(link);
        const size_t points = pathPointsOfBlock(block.size());
        if (points > kMaxPathPoints) {
            error = recordLabel("Link", i, link) + " has a path too long for its block.";
            return false;
        }
        out.beginChunk(kLinkChunk);
        out.i32(document.bodyOfObject(link->sourceBody));
        out.i32(document.bodyOfObject(link->targetBody));
        out.sized(portableBlock(RecordKind::Link, block));
        out.sized(linkInfo(link));
        out.sized(underPath(link, points));
        out.endChunk();
    }
    for (Trn* trn : document.transmissions()) {
        out.beginChunk(kTrnChunk);
        out.i32(document.linkOfItem(trn->source));
        out.i32(document.linkOfItem(trn->target));
        out.sized(portableBlock(RecordKind::Transmission, recordBlock(trn)));
        out.sized(transmissionInfo(trn));
        out.endChunk();
    }
    return writeFile(path, out.data(), error);
}

// ---- Opening --------------------------------------------------------------------------------

std::unique_ptr<Document> openDocument(const std::wstring& path, std::string& error) {
    std::vector<uint8_t> file;
    if (!readFile(path, file, error)) return nullptr;
    FileData data;
    if (!parse(file, data, error)) return nullptr;
    std::string why;
    if (!check(data, why)) {
        error = "The scene file is damaged: " + why + ".";
        return nullptr;
    }

    // From here on every record belongs to the document as soon as it is made, so that a
    // failure disposes of them all.
    auto document = std::make_unique<Document>();
    PutEnv(document->environment(), data.environment.data());
    for (const auto& block : data.materials)
        PutMat(document->adoptMaterial(CreateMat(nullptr)), block.data());
    for (const auto& block : data.lights)
        PutLgt(document->adoptLight(CreateLgt(nullptr)), block.data());
    for (BodyData& body : data.bodies) {
        Mat* mat = body.material >= 0 ? document->materials()[size_t(body.material)] : nullptr;
        const size_t index = document->addBody(body.name, std::move(body.mesh), mat);
        Body& made = document->bodies()[index];
        made.motion = body.motion;
        made.ground = body.ground;
    }
    for (const LinkData& stored : data.links) {
        Lnk* link = CreateLnk(nullptr);
        PutLnk(link, stored.block.data());
        restoreLinkUnderPath(link, pathPointsOfBlock(stored.block.size()), stored.underPath,
                             stored.info);
        document->adoptLink(link, stored.source, stored.target);
        if (!driveSound(link->linDrive) || !driveSound(link->rotDrive)) {
            error = "The scene file is damaged: " +
                    recordLabel("link", document->links().size() - 1, link) +
                    " has more drive phases than a drive holds.";
            return nullptr;
        }
    }
    for (const TransmissionData& stored : data.transmissions) {
        Trn* trn = CreateTrn(nullptr);
        PutTrn(trn, stored.block.data());
        document->adoptTransmission(trn, stored.source, stored.target);
    }
    return document;
}

// ---- Comparing ------------------------------------------------------------------------------

namespace {

std::string blockDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size())
        return "blocks of " + std::to_string(a.size()) + " and " + std::to_string(b.size()) +
               " bytes";
    const auto at = std::mismatch(a.begin(), a.end(), b.begin());
    return "blocks differ from byte " + std::to_string(at.first - a.begin()) + " of " +
           std::to_string(a.size());
}

template <typename Record>
void compareRecord(DocumentComparison& result, RecordKind kind, const char* family, size_t index,
                   Record* a, Record* b, const std::string& infoA = {},
                   const std::string& infoB = {}) {
    ++result.records;
    const auto blockA = portableBlock(kind, recordBlock(a));
    const auto blockB = portableBlock(kind, recordBlock(b));
    if (blockA != blockB) {
        result.differences.push_back(recordLabel(family, index, a) + ": " +
                                     blockDifference(blockA, blockB));
    } else if (infoA != infoB) {
        result.differences.push_back(recordLabel(family, index, a) + ": info texts \"" + infoA +
                                     "\" and \"" + infoB + "\"");
    } else {
        ++result.identicalRecords;
    }
}

bool sameVectors(const std::vector<Vec3>& a, const std::vector<Vec3>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Vec3)) == 0);
}

int materialIndex(const Document& document, const Mat* mat) {
    const auto& all = document.materials();
    const auto at = std::find(all.begin(), all.end(), mat);
    return at == all.end() ? -1 : int(at - all.begin());
}

}  // namespace

DocumentComparison compareDocuments(const Document& a, const Document& b) {
    DocumentComparison result;
    auto counts = [&](const char* family, size_t countA, size_t countB) {
        if (countA != countB)
            result.differences.push_back(std::string(family) + ": " + std::to_string(countA) +
                                         " and " + std::to_string(countB));
        return std::min(countA, countB);
    };
    compareRecord(result, RecordKind::Environment, "Environment", 0, a.environment(),
                  b.environment());
    for (size_t i = 0, n = counts("Lights", a.lightCount(), b.lightCount()); i < n; ++i)
        compareRecord(result, RecordKind::Light, "Light", i, a.light(i), b.light(i));
    for (size_t i = 0, n = counts("Materials", a.materials().size(), b.materials().size()); i < n;
         ++i)
        compareRecord(result, RecordKind::Material, "Material", i, a.materials()[i],
                      b.materials()[i]);
    for (size_t i = 0, n = counts("Links", a.links().size(), b.links().size()); i < n; ++i) {
        Lnk* la = a.links()[i];
        Lnk* lb = b.links()[i];
        compareRecord(result, RecordKind::Link, "Link", i, la, lb, linkInfo(la), linkInfo(lb));
    }
    for (size_t i = 0,
                n = counts("Transmissions", a.transmissions().size(), b.transmissions().size());
         i < n; ++i) {
        Trn* ta = a.transmissions()[i];
        Trn* tb = b.transmissions()[i];
        compareRecord(result, RecordKind::Transmission, "Transmission", i, ta, tb,
                      transmissionInfo(ta), transmissionInfo(tb));
    }
    for (size_t i = 0, n = counts("Bodies", a.bodies().size(), b.bodies().size()); i < n; ++i) {
        const Body& ba = a.bodies()[i];
        const Body& bb = b.bodies()[i];
        ++result.bodies;
        std::string what;
        if (ba.name != bb.name)
            what = "names";
        else if (materialIndex(a, ba.material) != materialIndex(b, bb.material))
            what = "materials";
        else if (ba.ground != bb.ground)
            what = "ground flags";
        else if (std::memcmp(ba.motion.m, bb.motion.m, sizeof ba.motion.m) != 0)
            what = "motions";
        else if (!sameVectors(ba.mesh.corners, bb.mesh.corners) ||
                 !sameVectors(ba.mesh.normals, bb.mesh.normals) ||
                 !sameVectors(ba.mesh.faceNormals, bb.mesh.faceNormals))
            what = "meshes";
        if (what.empty())
            ++result.identicalBodies;
        else
            result.differences.push_back("Body " + std::to_string(i) + " (" + ba.name +
                                         "): " + what + " differ");
    }
    return result;
}
