#include "appearance/bitmap_suite.h"

#include <cstdio>
#include <cstdlib>

using orv::BitmapStatus;

namespace {
constexpr BitmapStatus ok = BitmapStatus::ok, unsupported = BitmapStatus::unsupported,
                       tooLarge = BitmapStatus::tooLarge, truncated = BitmapStatus::truncated;
}

const std::vector<SuiteFile>& bitmapSuite() {
    static const std::vector<SuiteFile> files = {
        {"g/pal1.bmp", ok, "pal1.png"},
        {"g/pal1bg.bmp", ok, "pal1bg.png"},
        {"g/pal1wb.bmp", ok, "pal1.png"},
        {"g/pal4.bmp", ok, "pal4.png"},
        {"g/pal4gs.bmp", ok, "pal4gs.png"},
        {"g/pal4rle.bmp", ok, "pal4.png"},
        {"g/pal8-0.bmp", ok, "pal8.png"},
        {"g/pal8.bmp", ok, "pal8.png"},
        {"g/pal8gs.bmp", ok, "pal8gs.png"},
        {"g/pal8nonsquare.bmp", ok, "pal8nonsquare-e.png"},
        {"g/pal8os2.bmp", ok, "pal8.png"},
        {"g/pal8rle.bmp", ok, "pal8.png"},
        {"g/pal8topdown.bmp", ok, "pal8.png"},
        {"g/pal8v4.bmp", ok, "pal8.png"},
        {"g/pal8v5.bmp", ok, "pal8.png"},
        {"g/pal8w124.bmp", ok, "pal8w124.png"},
        {"g/pal8w125.bmp", ok, "pal8w125.png"},
        {"g/pal8w126.bmp", ok, "pal8w126.png"},
        {"g/rgb16-565.bmp", ok, "rgb16-565.png"},
        {"g/rgb16-565pal.bmp", ok, "rgb16-565.png"},
        {"g/rgb16.bmp", ok, "rgb16.png"},
        {"g/rgb16bfdef.bmp", ok, "rgb16.png"},
        {"g/rgb24.bmp", ok, "rgb24.png"},
        {"g/rgb24pal.bmp", ok, "rgb24.png"},
        {"g/rgb32.bmp", ok, "rgb24.png"},
        {"g/rgb32bf.bmp", ok, "rgb24.png"},
        {"g/rgb32bfdef.bmp", ok, "rgb24.png"},

        // Questionable files: decoded where the platform converts them too.
        {"q/pal1huffmsb.bmp", unsupported, nullptr},  // Huffman 1D
        {"q/pal1p1.bmp", ok, "pal1p1.png"},
        {"q/pal2.bmp", unsupported, nullptr},  // 2 bits
        {"q/pal2color.bmp", unsupported, nullptr},
        {"q/pal4rlecut.bmp", ok, "pal4rlecut-b.png"},  // skipped pixels black
        {"q/pal4rletrns.bmp", ok, "pal4rletrns-b.png"},
        {"q/pal8offs.bmp", ok, "pal8.png"},
        {"q/pal8os2-hs.bmp", ok, "pal8.png"},
        {"q/pal8os2-sz.bmp", ok, "pal8.png"},
        {"q/pal8os2sp.bmp", ok, "pal8.png"},
        {"q/pal8os2v2-16.bmp", unsupported, nullptr},  // 16-byte header
        {"q/pal8os2v2-40sz.bmp", ok, "pal8.png"},
        {"q/pal8os2v2-sz.bmp", ok, "pal8.png"},
        {"q/pal8os2v2.bmp", ok, "pal8.png"},
        {"q/pal8oversizepal.bmp", ok, "pal8.png"},
        {"q/pal8rlecut.bmp", ok, "pal8rlecut-b.png"},
        {"q/pal8rletrns.bmp", ok, "pal8rletrns-b.png"},
        {"q/rgb16-231.bmp", ok, "rgb16-231.png"},
        {"q/rgb16-3103.bmp", ok, "rgb16-3103.png"},
        {"q/rgb16faketrns.bmp", ok, "rgb16.png"},
        {"q/rgb24jpeg.bmp", unsupported, nullptr},
        {"q/rgb24largepal.bmp", ok, "rgb24.png"},
        {"q/rgb24lprof.bmp", ok, "rgb24.png"},
        {"q/rgb24png.bmp", unsupported, nullptr},
        {"q/rgb24prof.bmp", ok, "rgb24.png"},
        {"q/rgb24prof2.bmp", ok, nullptr},  // red and green swapped; profiles are not applied
        {"q/rgb24rle24.bmp", unsupported, nullptr},  // OS/2 RLE24
        {"q/rgb32-111110.bmp", ok, nullptr},
        {"q/rgb32-7187.bmp", ok, "rgb32-7187.png"},
        {"q/rgb32-xbgr.bmp", ok, "rgb24.png"},
        {"q/rgb32fakealpha.bmp", ok, "rgb24.png"},
        {"q/rgb32h52.bmp", ok, "rgb24.png"},
        {"q/rgba16-1924.bmp", ok, "rgba16-1924.png"},  // alpha ignored
        {"q/rgba16-4444.bmp", ok, "rgba16-4444.png"},
        {"q/rgba16-5551.bmp", ok, "rgba16-5551.png"},
        {"q/rgba32-1.bmp", ok, "rgba32.png"},
        {"q/rgba32-1010102.bmp", ok, "rgba32-1010102.png"},
        {"q/rgba32-2.bmp", ok, "rgba32.png"},
        {"q/rgba32-61754.bmp", ok, "rgba32-61754.png"},
        {"q/rgba32-81284.bmp", ok, "rgba32-81284.png"},
        {"q/rgba32abf.bmp", unsupported, nullptr},  // alpha bit fields (compression 6)
        {"q/rgba32h56.bmp", ok, "rgba32.png"},
        {"q/rgba64.bmp", unsupported, nullptr},

        // Bad files: refused, or decoded within bounds where the platform decodes them.
        {"b/badbitcount.bmp", unsupported, nullptr},
        {"b/badbitssize.bmp", truncated, nullptr},  // its image size runs beyond the file
        {"b/baddens1.bmp", ok, "pal1.png"},
        {"b/baddens2.bmp", ok, "pal1.png"},
        {"b/badfilesize.bmp", ok, "pal1.png"},
        {"b/badheadersize.bmp", ok, "pal1.png"},  // 66 bytes: read as an info header
        {"b/badpalettesize.bmp", ok, "pal8.png"},  // the table holds 256 entries at most
        {"b/badplanes.bmp", ok, "pal1.png"},
        {"b/badrle.bmp", ok, nullptr},
        {"b/badrle4.bmp", ok, nullptr},
        {"b/badrle4bis.bmp", ok, nullptr},
        {"b/badrle4ter.bmp", ok, nullptr},
        {"b/badrlebis.bmp", ok, nullptr},
        {"b/badrleter.bmp", ok, nullptr},
        {"b/badwidth.bmp", unsupported, nullptr},
        {"b/pal8badindex.bmp", ok, nullptr},
        {"b/reallybig.bmp", tooLarge, nullptr},
        {"b/rgb16-880.bmp", unsupported, nullptr},  // a channel without bits
        {"b/rletopdown.bmp", unsupported, nullptr},
        {"b/shortfile.bmp", truncated, nullptr},
    };
    return files;
}

std::string bitmapSuiteDir() {
    const char* dir = std::getenv("ORVANTA_TESTDATA_DIR");
    return std::string(dir && *dir ? dir : ORVANTA_TESTDATA_DIR) + "/bmpsuite/";
}

std::vector<unsigned char> readWholeFile(const std::string& path) {
    std::vector<unsigned char> bytes;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        unsigned char chunk[65536];
        size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
            bytes.insert(bytes.end(), chunk, chunk + n);
        std::fclose(f);
    }
    return bytes;
}
