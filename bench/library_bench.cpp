// A material library of 500 materials: loading its file, and tracing the window's 64 x 64
// thumbnails one after another as its worker does, against the baseline of the flat squares
// drawn without tracing (copying each material for its worker, as the window does) in the
// same run.
//
//   library_bench           500 materials, a 256 x 256 image on every tenth
//   library_bench --quick   20 materials, for CI
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "appearance/texture_build.h"
#include "core/checked_alloc.h"
#include "core/record_lifecycle.h"
#include "matlib/library_store.h"
#include "matlib/material_list.h"
#include "matlib/thumbnail.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

Mat* example(int i) {
    Mat* mat = orv::createMat("Material");
    mat->diffuse = {(i % 7) / 6.0, (i % 5) / 4.0, (i % 3) / 2.0};
    mat->shininess = double(i % 100);
    mat->reflection = (i % 4) * 0.2;
    mat->opacity = i % 9 == 0 ? 0.4 : 1.0;
    if (i % 10 == 0) {
        const uint32_t side = 256;
        auto* pixels = static_cast<uint32_t*>(orv::checkedAlloc(4 * side * side));
        for (uint32_t k = 0; k < side * side; ++k)
            pixels[k] = ((k / side / 32 + k % side / 32) % 2 ? 0xFF2060E0u : 0xFFF0F0F0u);
        orv::installTexturePixels(mat->slots[0], side, pixels);
        mat->slots[0].source = 1;
    }
    return mat;
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const int count = quick ? 20 : 500;
    std::vector<Mat*> mats;
    for (int i = 0; i < count; ++i) mats.push_back(example(i));
    const std::vector<uint8_t> file = orv::libraryBytes(mats.data(), mats.size());

    Clock::time_point start = Clock::now();
    std::vector<Mat*> loaded(count);
    const size_t n = orv::loadLibrary(file.data(), file.size(), loaded.data(), loaded.size());
    const double loadMs = msSince(start);

    start = Clock::now();
    for (size_t i = 0; i < n; ++i) orv::disposeMat(orv::copyMaterial(*loaded[i]));
    const double copyMs = msSince(start);

    std::vector<uint32_t> picture(64 * 64);
    start = Clock::now();
    for (size_t i = 0; i < n; ++i) orv::renderThumbnail(*loaded[i], 64, picture.data());
    const double traceMs = msSince(start);

    std::printf("library of %d materials (%.1f MB): loaded in %.1f ms\n", count,
                file.size() / 1048576.0, loadMs);
    std::printf("thumbnails: %.1f ms in all, %.2f ms each; the copies alone %.1f ms (ratio %.1f)\n",
                traceMs, traceMs / double(n), copyMs, traceMs / (copyMs > 0 ? copyMs : 1));
    const bool whole = n == size_t(count) && picture[32 * 64 + 32] != 0;
    for (Mat* mat : mats) orv::disposeMat(mat);
    for (size_t i = 0; i < n; ++i) orv::disposeMat(loaded[i]);
    return whole ? 0 : 1;
}
