// PutLnkInfo's one pass over the text against the literal reader, which copies and splits the
// whole text once per key: 26 look-ups plus 4 per point.
//
//   link_info_bench            a link with 256 points on each axis (the largest table)
//   link_info_bench --quick    one run of each, for CI: the records must match
//
// Prints the text's length and both times (medians) and exits nonzero when the records differ.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/info_text.h"
#include "core/literal_info_reader.h"

namespace {

// Values of a typical drive: paths and durations with three decimals, functions 0 to 4.
std::string denseText() {
    Lnk lnk;
    std::memset(&lnk, 0, sizeof lnk);
    lnk.lin = lnk.rot = lnk.coupled = 1;
    lnk.linMax = 250.0, lnk.rotMin = -180.0, lnk.rotMax = 180.0, lnk.ratio = 0.125;
    lnk.linDrive.on = lnk.rotDrive.on = lnk.linDrive.cyclic = lnk.rotDrive.cyclic = 1;
    for (OrvDrive* drive : {&lnk.linDrive, &lnk.rotDrive}) {
        drive->count = 256;
        for (int i = 0; i < 256; ++i) {
            OrvPhase& p = drive->phases[i];
            p.W = (i % 17) * 1.25 - 8.0;
            p.T = 0.125 + (i % 5) * 0.5;
            p.F = i % 5;
            p.H = i % 3;
        }
    }
    std::vector<char> text(orv::lnkInfoSize(lnk));
    orv::getLnkInfo(lnk, text.data());
    return text.data();
}

template <typename F>
double medianMs(int runs, F&& work) {
    std::vector<double> times;
    for (int r = 0; r < runs; ++r) {
        const auto start = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const std::string text = denseText();
    std::printf("text: %zu characters, 256 points on each axis\n\n", text.size());

    std::unique_ptr<Lnk> literal(new Lnk()), onePass(new Lnk());
    const int literalRuns = quick ? 1 : 5, onePassRuns = quick ? 1 : 201;
    // The one-pass reader is timed over batches, the literal reader per call.
    const int batch = quick ? 1 : 100;
    const double literalMs = medianMs(literalRuns, [&] {
        literalPutLnkInfo(*literal, text.c_str(), libraryNumbers());
    });
    const double onePassMs = medianMs(onePassRuns, [&] {
        for (int i = 0; i < batch; ++i) orv::putLnkInfo(*onePass, text.c_str());
    }) / batch;

    const bool same = std::memcmp(literal.get(), onePass.get(), sizeof(Lnk)) == 0;
    std::printf("%-22s %12s\n", "PutLnkInfo", "ms per text");
    std::printf("%-22s %12.3f\n", "literal per-key reader", literalMs);
    std::printf("%-22s %12.4f\n", "one pass", onePassMs);
    std::printf("%-22s %11.0fx\n\n", "ratio", literalMs / onePassMs);
    std::printf("records identical: %s\n", same ? "yes" : "NO");
    if (!quick)
        std::printf("target of 100x: %s\n", literalMs / onePassMs >= 100 ? "met" : "not met");
    return same ? 0 : 1;
}
