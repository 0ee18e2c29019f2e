// Bitmap decoding:
//   header   - file header, info or core header, masks, colour table
//   channels - bit-field masks widened to 8 bits
//   rows     - plain rows of every depth
//   rle      - RLE8 and RLE4 streams
//   files    - whole files in memory and on disk
#include "appearance/bitmap_decode.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orv {

namespace {

uint32_t le16(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8; }
uint32_t le32(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

constexpr uint32_t kCoreHeader = 12, kInfoHeader = 40, kV2Header = 52;
constexpr uint32_t kPlain = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3;

uint64_t rowBytes(const BitmapLayout& l) {
    return (uint64_t(l.width) * l.bitCount + 31) / 32 * 4;
}

}  // namespace

// ---- header --------------------------------------------------------------------------------

BitmapStatus parseBitmapHeader(const uint8_t* h, size_t size, BitmapLayout& l) {
    l = BitmapLayout{};
    if (size < kBitmapFileHeaderBytes + 4 || h[0] != 'B' || h[1] != 'M')
        return BitmapStatus::notBitmap;
    l.pixelOffset = le32(h + 10);
    const uint32_t headerSize = le32(h + 14);
    const uint8_t* info = h + kBitmapFileHeaderBytes;
    const size_t infoSize = size - kBitmapFileHeaderBytes;

    int64_t height = 0;
    uint32_t clrUsed = 0;
    uint64_t entryBytes = 4;
    if (headerSize == kCoreHeader) {
        if (infoSize < kCoreHeader) return BitmapStatus::notBitmap;
        l.width = int32_t(le16(info + 4));
        height = int64_t(le16(info + 6));  // unsigned: core bitmaps are always bottom-up
        l.bitCount = le16(info + 10);
        entryBytes = 3;
        if (l.bitCount != 1 && l.bitCount != 4 && l.bitCount != 8 && l.bitCount != 24)
            return BitmapStatus::unsupported;
    } else if (headerSize >= kInfoHeader) {
        if (infoSize < kInfoHeader) return BitmapStatus::notBitmap;
        l.width = int32_t(le32(info + 4));
        height = int32_t(le32(info + 8));
        l.bitCount = le16(info + 14);
        l.compression = le32(info + 16);
        l.sizeImage = le32(info + 20);
        clrUsed = le32(info + 32);
    } else {
        return BitmapStatus::unsupported;
    }

    if (l.width <= 0 || height == 0) return BitmapStatus::unsupported;
    l.topDown = height < 0;
    const uint64_t rows = uint64_t(height < 0 ? -height : height);
    if (uint64_t(l.width) * rows > kMaxBitmapPixels) return BitmapStatus::tooLarge;
    l.height = int32_t(rows);

    const uint32_t bpp = l.bitCount;
    switch (l.compression) {
    case kPlain:
        if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
            return BitmapStatus::unsupported;
        break;
    case kRle8:
    case kRle4:
        // Run-length streams are bottom-up only, each with its own depth.
        if (l.topDown || bpp != (l.compression == kRle8 ? 8u : 4u))
            return BitmapStatus::unsupported;
        break;
    case kBitFields:
        if (bpp != 16 && bpp != 32) return BitmapStatus::unsupported;
        break;
    default:
        return BitmapStatus::unsupported;  // JPEG, PNG and the rarer kinds are for printers
    }

    // Masks: inside headers of 52 bytes and more, else in three words behind the header.
    uint64_t tableStart = kBitmapFileHeaderBytes + uint64_t(headerSize);
    if (bpp == 16) {
        l.masks[0] = 0x7C00, l.masks[1] = 0x03E0, l.masks[2] = 0x001F;
    } else if (bpp == 32) {
        l.masks[0] = 0xFF0000, l.masks[1] = 0x00FF00, l.masks[2] = 0x0000FF;
    }
    if (l.compression == kBitFields) {
        uint64_t at = kBitmapFileHeaderBytes + kInfoHeader;
        if (headerSize < kV2Header) {
            at = tableStart;
            tableStart += 12;
        }
        if (at + 12 > size) return BitmapStatus::truncated;
        for (int c = 0; c < 3; ++c) l.masks[c] = le32(h + at + 4 * c);
        // A channel without bits is not a colour format the platform converts.
        if (!l.masks[0] || !l.masks[1] || !l.masks[2]) return BitmapStatus::unsupported;
    }

    // Colour table: every entry the depth can index; entries the file lacks stay black.
    if (bpp <= 8) {
        const uint32_t full = 1u << bpp;
        l.colourCount = clrUsed == 0 || clrUsed > full ? full : clrUsed;
        for (uint32_t i = 0; i < l.colourCount; ++i) {
            const uint64_t at = tableStart + i * entryBytes;
            if (at + entryBytes > size) break;
            l.colours[i] = uint32_t(h[at]) | uint32_t(h[at + 1]) << 8 | uint32_t(h[at + 2]) << 16;
        }
    }
    return BitmapStatus::ok;
}

uint64_t pixelDataSize(const BitmapLayout& l) {
    return l.sizeImage ? l.sizeImage : rowBytes(l) * uint64_t(l.height);
}

uint64_t pixelDataBound(const BitmapLayout& l) {
    // No useful stream is longer than two bytes per pixel plus an end of line per row.
    const uint64_t useful = l.compression == kRle8 || l.compression == kRle4
                                ? 2 * (uint64_t(l.width) * l.height + l.height) + 2
                                : rowBytes(l) * uint64_t(l.height);
    const uint64_t size = pixelDataSize(l);
    return size < useful ? size : useful;
}

namespace {

// ---- channels ------------------------------------------------------------------------------

// One mask's field widened to 8 bits as the platform's conversion widens it: a field of
// fewer than 8 bits is repeated until 8 bits are filled (5 bits v give v << 3 | v >> 2), a
// wider one keeps its top 8 bits.
struct Channel {
    uint32_t mask = 0, shift = 0, bits = 0;

    explicit Channel(uint32_t m) : mask(m) {
        if (!mask) return;  // depths without masks
        while (!((mask >> shift) & 1)) ++shift;
        while (bits < 32 - shift && (mask >> shift) >> bits) ++bits;
    }
    uint32_t operator()(uint32_t pixel) const {
        const uint32_t v = (pixel & mask) >> shift;
        if (bits >= 8) return v >> (bits - 8);
        uint32_t wide = 0, filled = 0;
        for (; filled < 8; filled += bits) wide = wide << bits | v;
        return wide >> (filled - 8);
    }
};

struct Channels {
    Channel r, g, b;
    explicit Channels(const uint32_t* m) : r(m[0]), g(m[1]), b(m[2]) {}
    uint32_t operator()(uint32_t pixel) const { return b(pixel) | g(pixel) << 8 | r(pixel) << 16; }
};

// ---- rows ----------------------------------------------------------------------------------

void decodeIndexed(const BitmapLayout& l, const uint8_t* src, uint32_t* dst) {
    const uint32_t* table = l.colours;
    const int32_t w = l.width;
    switch (l.bitCount) {
    case 1:
        for (int32_t x = 0; x < w; ++x) dst[x] = table[(src[x >> 3] >> (7 - (x & 7))) & 1];
        break;
    case 4:
        for (int32_t x = 0; x < w; ++x) dst[x] = table[(src[x >> 1] >> (x & 1 ? 0 : 4)) & 15];
        break;
    default:
        for (int32_t x = 0; x < w; ++x) dst[x] = table[src[x]];
        break;
    }
}

void decodeRgb24(const uint8_t* src, uint32_t* dst, int32_t w) {
    for (int32_t x = 0; x < w; ++x, src += 3)
        dst[x] = uint32_t(src[0]) | uint32_t(src[1]) << 8 | uint32_t(src[2]) << 16;
}

// size bytes of rows: rows beyond them stay black, a row they end inside is read as if zeros
// followed, as the platform's bitmap section holds zeros behind the data it was given.
void decodePlain(const BitmapLayout& l, const uint8_t* data, uint64_t size, uint32_t* out) {
    const uint64_t stride = rowBytes(l);
    const int32_t w = l.width, h = l.height;
    const bool standard32 =
        l.masks[0] == 0xFF0000 && l.masks[1] == 0x00FF00 && l.masks[2] == 0x0000FF;
    const Channels channels(l.masks);
    std::unique_ptr<uint32_t[]> lut16;
    if (l.bitCount == 16) {  // every 16-bit value looked up once
        lut16.reset(new uint32_t[65536]);
        for (uint32_t v = 0; v < 65536; ++v) lut16[v] = channels(v);
    }
    std::unique_ptr<uint8_t[]> partRow;
    for (int32_t y = 0; y < h && stride * uint64_t(y) < size; ++y) {
        const uint8_t* src = data + stride * uint64_t(y);
        if (stride * uint64_t(y + 1) > size) {
            const size_t held = size_t(size - stride * uint64_t(y));
            partRow.reset(new uint8_t[stride]());
            std::memcpy(partRow.get(), src, held);
            src = partRow.get();
        }
        uint32_t* dst = out + uint64_t(l.topDown ? y : h - 1 - y) * w;
        switch (l.bitCount) {
        case 24:
            decodeRgb24(src, dst, w);
            break;
        case 16:
            for (int32_t x = 0; x < w; ++x) dst[x] = lut16[le16(src + 2 * x)];
            break;
        case 32:
            if (standard32) {
                for (int32_t x = 0; x < w; ++x) dst[x] = le32(src + 4 * x) & 0xFFFFFF;
            } else {
                for (int32_t x = 0; x < w; ++x) dst[x] = channels(le32(src + 4 * x));
            }
            break;
        default:
            decodeIndexed(l, src, dst);
            break;
        }
    }
}

// ---- rle -----------------------------------------------------------------------------------

// Runs, absolute runs, line ends, deltas and the end of the bitmap. Pixels past a row's end
// are dropped, the stream ends at the last row, and pixels it never reaches stay black.
void decodeRle(const BitmapLayout& l, const uint8_t* d, size_t size, uint32_t* out) {
    const bool four = l.compression == kRle4;
    const int64_t w = l.width, h = l.height;
    int64_t x = 0, y = 0;  // y counts from the bottom row
    auto put = [&](uint32_t index) {
        if (x < w && y < h) out[(h - 1 - y) * w + x] = l.colours[index];
        ++x;
    };
    size_t i = 0;
    while (i + 2 <= size && y < h) {
        const uint32_t count = d[i], value = d[i + 1];
        i += 2;
        if (count > 0) {
            for (uint32_t k = 0; k < count; ++k)
                put(four ? (k & 1 ? value & 15 : value >> 4) : value);
        } else if (value == 0) {  // end of line
            x = 0;
            ++y;
        } else if (value == 1) {  // end of bitmap
            break;
        } else if (value == 2) {  // delta
            if (i + 2 > size) break;
            x += d[i];
            y += d[i + 1];
            i += 2;
        } else {  // absolute run of value pixels, padded to a 16-bit boundary
            const size_t bytes = four ? (value + 1) / 2 : value;
            if (i + bytes > size) break;
            for (uint32_t k = 0; k < value; ++k) {
                const uint8_t b = d[i + (four ? k / 2 : k)];
                put(four ? (k & 1 ? b & 15 : b >> 4) : b);
            }
            i += (bytes + 1) & ~size_t(1);
        }
    }
}

}  // namespace

BitmapStatus decodeBitmapPixels(const BitmapLayout& l, const uint8_t* data, size_t size,
                                Bitmap& out) {
    const uint64_t bound = pixelDataBound(l);
    if (size < bound) return BitmapStatus::truncated;
    const uint64_t count = uint64_t(l.width) * l.height;
    if (count == 0 || count > kMaxBitmapPixels) return BitmapStatus::tooLarge;
    uint32_t* pixels = static_cast<uint32_t*>(std::calloc(count, sizeof(uint32_t)));
    if (!pixels) return BitmapStatus::tooLarge;
    out.pixels = {pixels, std::free};
    out.width = l.width;
    out.height = l.height;
    if (l.compression == kRle8 || l.compression == kRle4) {
        decodeRle(l, data, size_t(bound), pixels);
    } else {
        decodePlain(l, data, bound, pixels);
    }
    return BitmapStatus::ok;
}

// ---- files ---------------------------------------------------------------------------------

BitmapStatus decodeBitmap(const uint8_t* file, size_t size, Bitmap& out) {
    BitmapLayout layout;
    size_t headerSize = size < kBitmapHeaderMost ? size : kBitmapHeaderMost;
    if (size >= kBitmapFileHeaderBytes + 4 && le32(file + 10) < headerSize)
        headerSize = le32(file + 10);
    const BitmapStatus status = parseBitmapHeader(file, headerSize, layout);
    if (status != BitmapStatus::ok) return status;
    if (layout.pixelOffset > size || size - layout.pixelOffset < pixelDataSize(layout))
        return BitmapStatus::truncated;
    return decodeBitmapPixels(layout, file + layout.pixelOffset, size - layout.pixelOffset, out);
}

namespace {

struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};

// Reads up to size bytes at offset; returns how many arrived.
size_t readAt(FILE* f, uint64_t offset, uint8_t* to, size_t size) {
    if (offset > uint64_t(LONG_MAX) || std::fseek(f, long(offset), SEEK_SET) != 0) return 0;
    return std::fread(to, 1, size, f);
}

}  // namespace

BitmapStatus readBitmapFile(const char* path, Bitmap& out) {
    const std::unique_ptr<FILE, FileCloser> f(std::fopen(path, "rb"));
    if (!f) return BitmapStatus::notBitmap;

    if (std::fseek(f.get(), 0, SEEK_END) != 0) return BitmapStatus::notBitmap;
    const long length = std::ftell(f.get());
    if (length < 0) return BitmapStatus::notBitmap;

    // Headers, masks and colour table: everything before the pixel data, of which no more
    // than kBitmapHeaderMost bytes can matter.
    uint8_t header[kBitmapHeaderMost];
    size_t got = readAt(f.get(), 0, header, kBitmapFileHeaderBytes);
    if (got < kBitmapFileHeaderBytes) return BitmapStatus::notBitmap;
    const uint32_t pixelOffset = le32(header + 10);
    if (pixelOffset > kBitmapFileHeaderBytes) {
        const size_t end = pixelOffset < kBitmapHeaderMost ? pixelOffset : kBitmapHeaderMost;
        got += std::fread(header + got, 1, end - got, f.get());
    }
    BitmapLayout layout;
    const BitmapStatus status = parseBitmapHeader(header, got, layout);
    if (status != BitmapStatus::ok) return status;

    // The whole pixel data must be there; of it, only what can matter is read.
    const uint64_t held = uint64_t(length) > pixelOffset ? uint64_t(length) - pixelOffset : 0;
    if (held < pixelDataSize(layout)) return BitmapStatus::truncated;
    const size_t want = size_t(pixelDataBound(layout));
    const std::unique_ptr<uint8_t, void (*)(void*)> data(
        static_cast<uint8_t*>(std::malloc(want ? want : 1)), std::free);
    if (!data) return BitmapStatus::tooLarge;
    const size_t size = readAt(f.get(), layout.pixelOffset, data.get(), want);
    return decodeBitmapPixels(layout, data.get(), size, out);
}

}  // namespace orv
