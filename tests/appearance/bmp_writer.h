// Bitmap files made in tests, byte by byte.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline void put16(Bytes& b, uint32_t v) {
    b.push_back(uint8_t(v));
    b.push_back(uint8_t(v >> 8));
}
inline void put32(Bytes& b, uint32_t v) {
    put16(b, v & 0xFFFF);
    put16(b, v >> 16);
}

// A bitmap file: file header, info header (or core header when headerSize is 12), masks,
// colour table, pixel data.
struct BmpFile {
    int32_t width = 1, height = 1;
    uint32_t headerSize = 40, bitCount = 24, compression = 0, clrUsed = 0;
    int64_t sizeImage = -1;         // the header's image size; -1: the pixels' size
    std::vector<uint32_t> masks;    // written behind the header
    std::vector<uint32_t> colours;  // 0x00RRGGBB
    Bytes pixels;

    Bytes bytes() const {
        const bool core = headerSize == 12;
        Bytes info;
        put32(info, headerSize);
        for (const int32_t side : {width, height}) (core ? put16 : put32)(info, uint32_t(side));
        put16(info, 1);  // planes
        put16(info, bitCount);
        if (!core) {
            for (const int64_t v :
                 {int64_t(compression), sizeImage < 0 ? int64_t(pixels.size()) : sizeImage,
                  int64_t(2835), int64_t(2835), int64_t(clrUsed), int64_t(0)})
                put32(info, uint32_t(v));
            info.resize(headerSize, 0);
        }
        for (uint32_t m : masks) put32(info, m);
        for (uint32_t c : colours) {
            for (int shift : {0, 8, 16}) info.push_back(uint8_t(c >> shift));
            if (!core) info.push_back(0);
        }
        Bytes file = {'B', 'M'};
        put32(file, uint32_t(14 + info.size() + pixels.size()));
        put32(file, 0);
        put32(file, uint32_t(14 + info.size()));
        file.insert(file.end(), info.begin(), info.end());
        file.insert(file.end(), pixels.begin(), pixels.end());
        return file;
    }

    // Writes the file; false when it cannot.
    bool write(const std::string& path) const {
        const Bytes b = bytes();
        FILE* f = std::fopen(path.c_str(), "wb");
        if (!f) return false;
        const bool written = std::fwrite(b.data(), 1, b.size(), f) == b.size();
        return std::fclose(f) == 0 && written;
    }
};

// A width x height 24-bit file whose pixel (x, y), top row first, is colour(x, y) (0x00RRGGBB).
template <typename Colour>
BmpFile bmp24(int32_t width, int32_t height, Colour colour) {
    BmpFile f;
    f.width = width, f.height = height;
    const size_t stride = (size_t(width) * 3 + 3) / 4 * 4;
    f.pixels.assign(stride * height, 0);
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = &f.pixels[stride * (height - 1 - y)];  // stored bottom-up
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t c = colour(x, y);
            row[3 * x] = uint8_t(c), row[3 * x + 1] = uint8_t(c >> 8),
                    row[3 * x + 2] = uint8_t(c >> 16);
        }
    }
    return f;
}
