// Windows bitmap files (*.bmp) decoded to 32-bit pixels without the platform's bitmap
// services, accepting what the platform's own conversion to 32 bits accepts:
//   headers   the 12-byte OS/2 core header; the 40-byte info header and every longer one
//             (52, 56, 108 V4, 124 V5, ...), whose first 40 bytes are read alike
//   depths    1, 4 and 8 bits with colour tables; 16 and 32 bits plain or with bit-field masks;
//             24 bits; RLE8 and RLE4; rows bottom-up, or top-down when uncompressed
// Files are untrusted: every read is bounded by the bytes given, and a header is refused
// before anything is allocated when its image would exceed kMaxBitmapPixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace orv {

constexpr uint64_t kMaxBitmapPixels = uint64_t(1) << 26;  // 8192 x 8192, 256 MiB decoded
constexpr size_t kBitmapFileHeaderBytes = 14;
// The most header bytes that can matter: file header, a V5 header, three masks, 256 entries.
constexpr size_t kBitmapHeaderMost = kBitmapFileHeaderBytes + 124 + 12 + 256 * 4;

enum class BitmapStatus {
    ok,
    notBitmap,    // no "BM", or a header too short to read
    unsupported,  // a depth, compression or layout the platform does not convert either
    tooLarge,     // more than kMaxBitmapPixels
    truncated,    // the file ends before its pixel data does
};

// A decoded picture: width x height pixels, top row first, each 32 bits little-endian with the
// bytes blue, green, red, 0 (0x00RRGGBB as a number), as the platform's 32-bit bitmaps hold them.
struct Bitmap {
    int32_t width = 0, height = 0;
    std::unique_ptr<uint32_t[], void (*)(void*)> pixels{nullptr, nullptr};
};

// What the headers say, checked. The colour table is already resolved to 0x00RRGGBB entries;
// entries the file does not hold are black.
struct BitmapLayout {
    int32_t width = 0, height = 0;  // height positive; topDown says which row comes first
    bool topDown = false;
    uint32_t bitCount = 0;
    uint32_t compression = 0;       // 0 plain, 1 RLE8, 2 RLE4, 3 bit fields
    uint32_t masks[3] = {};         // red, green, blue for 16 and 32 bits
    uint32_t sizeImage = 0;         // the header's pixel data size, 0 when not given
    uint32_t pixelOffset = 0;       // file offset of the pixel data
    uint32_t colours[256] = {};
    uint32_t colourCount = 0;
};

// Parses the 14-byte file header and the info header with its masks and colour table.
// header holds the file from its start, headerSize bytes of it (at most up to the pixel data).
BitmapStatus parseBitmapHeader(const uint8_t* header, size_t headerSize, BitmapLayout& layout);

// The pixel data's size: the header's image size, or the rows' size when that is 0. A file
// that holds fewer bytes from its pixel offset on is refused as truncated.
uint64_t pixelDataSize(const BitmapLayout& layout);

// The bytes of the pixel data that can matter: what a reader needs to take from the file. A
// pixel data size smaller than the rows leaves the rows it does not reach black.
uint64_t pixelDataBound(const BitmapLayout& layout);

// Decodes the pixel data (the file from the layout's pixelOffset on, at least pixelDataBound
// bytes of it) into out.
BitmapStatus decodeBitmapPixels(const BitmapLayout& layout, const uint8_t* data, size_t size,
                                Bitmap& out);

// A whole file in memory.
BitmapStatus decodeBitmap(const uint8_t* file, size_t size, Bitmap& out);

// Reads a file from disk; the status is notBitmap when it cannot be opened or read.
BitmapStatus readBitmapFile(const char* path, Bitmap& out);

}  // namespace orv
