#include "matlib/library_store.h"

#include <cerrno>
#include <cstdio>

#include "core/process_lock.h"
#include "core/record_lifecycle.h"
#include "matlib/library_file.h"

namespace orv {

size_t loadLibrary(const uint8_t* data, size_t size, Mat** out, size_t most) {
    const LibraryScan scan = scanLibrary(data, size);
    size_t loaded = 0;
    for (const LibraryEntry& entry : scan.entries) {
        if (loaded == most) break;
        Mat* mat = createMat("");
        putMat(*mat, data + entry.offset);
        out[loaded++] = mat;
    }
    return loaded;
}

std::vector<uint8_t> libraryBytes(const Mat* const* mats, size_t count) {
    std::vector<uint8_t> out, block;
    for (size_t i = 0; i < count; ++i) {
        if (!mats[i]) continue;
        // The size and the block from one state of the images, which editors may replace.
        ProcessLockScope lock;
        block.resize(getMat(*mats[i], nullptr));
        getMat(*mats[i], block.data());
        appendLibraryEntry(out, block.data(), uint32_t(block.size()));
    }
    return out;
}

bool readLibraryFile(const char* path, std::vector<uint8_t>& bytes) {
    bytes.clear();
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    // In chunks up to the end: the buffer never outgrows the file by more than one chunk.
    constexpr size_t kChunk = 1 << 16;
    for (;;) {
        const size_t at = bytes.size();
        bytes.resize(at + kChunk);
        const size_t got = std::fread(bytes.data() + at, 1, kChunk, file);
        bytes.resize(at + got);
        if (got < kChunk) break;
    }
    const bool read = !std::ferror(file);
    std::fclose(file);
    if (!read) bytes.clear();
    return read;
}

bool writeLibraryFile(const char* path, const std::vector<uint8_t>& bytes) {
    std::FILE* file = std::fopen(path, "r+b");
    if (!file && errno == ENOENT) file = std::fopen(path, "wb");
    if (!file) return false;
    const bool written =
        bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

}  // namespace orv
