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
    uint32_t headerSize = 40, bitCount = 24, compression = 0, clrUsed = 0, planes = 1;
    int64_t sizeImage = -1;         // the header's image size; -1: the pixels' size
    std::vector<uint32_t> masks;    // written behind a 40-byte header, inside a longer one
    std::vector<uint32_t> colours;  // 0x00RRGGBB
    Bytes pixels;

    Bytes bytes() const {
        Bytes info;
        if (headerSize == 12) {
            put32(info, 12);
            put16(info, uint32_t(width));
            put16(info, uint32_t(height));
            put16(info, planes);
            put16(info, bitCount);
        } else {
            put32(info, headerSize);
            put32(info, uint32_t(width));
            put32(info, uint32_t(height));
            put16(info, planes);
            put16(info, bitCount);
            put32(info, compression);
            put32(info, uint32_t(sizeImage < 0 ? int64_t(pixels.size()) : sizeImage));
            put32(info, 2835);
            put32(info, 2835);
            put32(info, clrUsed);
            put32(info, 0);
            if (headerSize >= 52)
                for (uint32_t m : masks) put32(info, m);
            info.resize(headerSize, 0);
            if (headerSize < 52)
                for (uint32_t m : masks) put32(info, m);
        }
        for (uint32_t c : colours) {
            info.push_back(uint8_t(c));
            info.push_back(uint8_t(c >> 8));
            info.push_back(uint8_t(c >> 16));
            if (headerSize != 12) info.push_back(0);
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
            row[3 * x] = uint8_t(c), row[3 * x + 1] = uint8_t(c >> 8), row[3 * x + 2] = uint8_t(c >> 16);
        }
    }
    return f;
}
