// Many openings and updates leave the process's handles, GDI and USER objects, threads and
// memory as they were (a leak per cycle shows many times over); tools edited beside a host
// that reads and draws their records at the same time.
#include <windows.h>

#include <gtest/gtest.h>
#include <prsht.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "appearance/bmp_writer.h"
#include "environment_page_ids.h"
#include "light_page_ids.h"
#include "link_page_ids.h"
#include "material_page_ids.h"
#include "orvanta.h"
#include "preview_ids.h"
#include "support/gl_context.h"
#include "support/process_usage_win32.h"
#include "tools/editor_harness_win32.h"

namespace {

// The process as it was, within what a heap settling into its working size may add.
void expectFlat(const ProcessUsage& before, const ProcessUsage& after) {
    constexpr SIZE_T kPrivateSlack = 2 << 20, kWorkingSetSlack = 4 << 20;
    ASSERT_NE(before.handles, 0u);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.gdiObjects, before.gdiObjects + 4);
    EXPECT_LE(after.userObjects, before.userObjects + 4);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LE(after.workingSet, before.workingSet + kWorkingSetSlack);
    EXPECT_LE(after.pagefile, before.pagefile + kPrivateSlack);
}

// Runs step warmUp times, then cycles times between two measures.
void expectFlatOver(const char* what, int warmUp, int cycles,
                    const std::function<bool(int)>& step) {
    for (int i = 0; i < warmUp; ++i) ASSERT_TRUE(step(i)) << "warm-up " << i;
    const ProcessUsage before = usageNow();
    int failed = 0;
    for (int i = warmUp; i < warmUp + cycles; ++i) failed += !step(i);
    const ProcessUsage after = usageNow();
    std::printf("%d %s: %s\n", cycles, what, usageChange(before, after).c_str());
    EXPECT_EQ(failed, 0);
    expectFlat(before, after);
}

// Ends the tool by Cancel, OK, a close message or disposing of the record while it is open.
// The sheet's icon is the tool's own: destroyed with it (Wine counts no USER objects).
bool destroyed(HICON icon) {
    ICONINFO info;
    if (!GetIconInfo(icon, &info)) return true;
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    return false;
}

bool cycle(EditorHost& host, Trn*& trn, int ending) {
    if (OpenTrnTool(host.window(), trn, EditorHost::applyCallback, &host) != 1) return false;
    const HWND sheet = host.sheet();
    if (!sheet) return false;
    const HICON icon = HICON(SendMessageA(sheet, WM_GETICON, ICON_SMALL, 0));
    if (!icon) return false;
    if (ending == 3) {
        DisposeTrn(trn);
        trn = CreateTrn("Zyklus");
        return !IsWindow(sheet) && destroyed(icon);
    }
    const int buttons[] = {PSBTN_CANCEL, PSBTN_OK};
    if (ending < 2) SheetDriver(sheet).press(buttons[ending]);
    if (ending == 2) SheetDriver(sheet).close();
    return host.waitUntil([trn] { return !trn->tool; }) && WaitTrnTool(trn) == 1 &&
           destroyed(icon);
}

TEST(ToolReliability, OpenCloseCyclesLeaveTheProcessAsItWas) {
    EditorHost host;
    Trn* trn = CreateTrn("Zyklus");
    expectFlatOver("transmission tool cycles", 20, 100,
                   [&](int i) { return cycle(host, trn, i % 4); });
    EXPECT_EQ(host.calls().size(), size_t(20 + 100) / 4);  // OK once in four
    EXPECT_TRUE(host.sheets().empty());
    DisposeTrn(trn);
}

// Three links in one tool, ended as above, one disposed of under an open drive dialog: every
// link is free again each time.
bool linkCycle(EditorHost& host, Lnk* (&links)[3], int ending) {
    if (ToolCalls::openLinks(host, links, 3, 0, 1) != 1) return false;
    const HWND sheet = host.sheet();
    if (!sheet) return false;
    const SheetDriver driver(sheet);
    if (ending == 3) {
        PostMessageA(driver.page(), WM_COMMAND, MAKEWPARAM(IDC_LNK_ROT_DRIVE, BN_CLICKED), 0);
        host.waitUntil([&] { return !IsWindowEnabled(sheet); });
        DisposeLnk(links[1]);
        links[1] = CreateLnk("Zyklus");
        if (IsWindow(sheet)) return false;
    } else if (ending < 2) {
        driver.press(ending ? PSBTN_OK : PSBTN_CANCEL);
    } else {
        driver.close();
    }
    return host.waitUntil([&] { return !links[0]->tool && !links[1]->tool && !links[2]->tool; });
}

TEST(ToolReliability, LinkToolCyclesLeaveTheProcessAsItWas) {
    EditorHost host;
    Lnk* links[3] = {CreateLnk("Kurbel"), CreateLnk("Zyklus"), CreateLnk("Pleuel")};
    expectFlatOver("link tool cycles", 12, 48,
                   [&](int i) { return linkCycle(host, links, i % 4); });
    for (Lnk* link : links) DisposeLnk(link);
}

// Every change of a raytraced page stops the picture being traced and starts the next.
TEST(ToolReliability, RaytracedPreviewsStartedAndCancelledLeaveNothingBehind) {
    constexpr int kUpdates = 250;
    EditorHost host;
    Lgt* lgt = CreateLgt("Zyklus");
    expectFlatOver("opening with raytraced preview updates", 1, 1, [&](int) {
        if (OpenLgtTool(host.window(), lgt, 0, 0, EditorHost::applyCallback, &host) != 1)
            return false;
        const SheetDriver sheet(host.sheet());
        sheet.click(IDC_PREVIEW_RAYTRACE);
        for (int i = 0; i < kUpdates; ++i) sheet.drag(IDC_LIGHT_GLOSS, i % 101);
        sheet.press(PSBTN_OK);  // the last picture still being traced
        return host.waitUntil([lgt] { return !lgt->tool; }) && WaitLgtTool(lgt) == 1;
    });
    EXPECT_DOUBLE_EQ(lgt->gloss, (100 - (kUpdates - 1) % 101) * 0.01);
    DisposeLgt(lgt);
}

// The host reads the record on every callback, as a host redrawing its view does.
std::atomic<int> redraws{0};
int32_t redraw(void*, void* record, void* data, int32_t) {
    char block[512];
    uint32_t size = sizeof block;
    if (data == &redraws)
        GetLgt(static_cast<Lgt*>(record), block, &size);
    else
        GetEnv(static_cast<Env*>(record), block, &size);
    ++redraws;
    return 1;
}

TEST(ToolReliability, LightAndSceneToolsEditedAtOnce) {
    EditorHost host;
    Lgt* lgt = CreateLgt("Lampe");
    Env* env = CreateEnv("Halle");
    ASSERT_EQ(OpenLgtTool(host.window(), lgt, 0, 0, redraw, &redraws), 1);
    const HWND lightSheet = host.sheet();
    ASSERT_EQ(OpenEnvTool(host.window(), env, 0, redraw, nullptr), 1);
    ASSERT_TRUE(host.waitUntil([&] { return host.sheets().size() == 2; }));
    const HWND sceneSheet = host.sheets()[0] == lightSheet ? host.sheets()[1] : host.sheets()[0];
    constexpr int kChanges = 100;
    std::atomic<int> done{0};
    std::thread lightUser([&] {
        const SheetDriver sheet(lightSheet);
        for (int i = 0; i < kChanges; ++i) sheet.slide(IDC_LIGHT_GLOSS, i % 101);
        ++done;
    });
    std::thread sceneUser([&] {
        const SheetDriver sheet(sceneSheet);
        for (int i = 0; i < kChanges; ++i) sheet.slide(IDC_ENV_BRIGHTNESS, i % 201);
        ++done;
    });
    EXPECT_TRUE(host.waitUntil([&] { return done == 2; }, 60000));
    lightUser.join();
    sceneUser.join();
    EXPECT_EQ(redraws, 2 * 2 * kChanges);  // each slide: the thumb's position and the end
    EXPECT_DOUBLE_EQ(lgt->gloss, (100 - (kChanges - 1)) * 0.01);
    EXPECT_DOUBLE_EQ(env->brightness, (200 - (kChanges - 1)) * 0.01);
    SheetDriver(lightSheet).press(PSBTN_OK);
    SheetDriver(sceneSheet).press(PSBTN_OK);
    EXPECT_TRUE(host.waitUntil([&] { return !lgt->tool && !env->tool; }));
    DisposeLgt(lgt);
    DisposeEnv(env);
}

// A host drawing a material with OpenGL and the raytracer while its tool rebuilds the image on
// every tick of "Grauwerte" and copies it into the record on every OK.
int32_t feedSquare(int64_t* newBody, Mat** material, OrvColorRef*, double*, int32_t* twoSided,
                   double corners[9], double cornerNormals[9], double faceNormal[3], void* user) {
    auto& feed = *static_cast<std::pair<Mat*, int>*>(user);
    if (feed.second == 2) return 0;
    const double square[2][9] = {{-1, -1, 0, 1, -1, 0, 1, 1, 0}, {-1, -1, 0, 1, 1, 0, -1, 1, 0}};
    *newBody = feed.second == 0;
    *material = feed.first;
    *twoSided = 1;
    for (int i = 0; i < 9; ++i) corners[i] = square[feed.second][i], cornerNormals[i] = i % 3 == 2;
    faceNormal[0] = faceNormal[1] = 0, faceNormal[2] = 1;
    ++feed.second;
    return 1;
}

TEST(ToolReliability, MaterialToolBesideAHostThatDrawsIt) {
    constexpr int kWarmUp = 40, kOpenings = 40, kRebuilds = 20;
    const std::string picture =
        (std::filesystem::temp_directory_path() / "orvanta-host.bmp").string();
    bmp24(60, 40, [](int x, int y) {
        return uint32_t(x * 4) << 16 | uint32_t(y * 6) << 8;
    }).write(picture);
    EditorHost host;
    Mat* mat = CreateMat("Bild");
    ASSERT_EQ(LoadMatTexture(mat, 0, picture.c_str(), 1), 1);
    std::atomic<bool> stop{false}, pause{false}, paused{false};
    std::atomic<int> frames{0}, rows{0};
    std::thread viewer([&] {
        TestGlContext gl;
        const double eye[3] = {0, 0, 3}, target[3] = {0, 0, 0}, up[3] = {0, 1, 0};
        while (!stop) {
            if (pause) {  // between frames, while the process is measured
                paused = true;
                while (pause) Sleep(1);
                paused = false;
            }
            if (gl.ok()) ViewerDefineMat(mat, 0, 1.0, 1);
            std::pair<Mat*, int> feed{mat, 0};
            RaytraceToDevice(
                nullptr, eye, target, up, 45, 1, 0, 0, 1, 0, 0, 16, 16, nullptr, 0, nullptr, 1, 0,
                feedSquare, &feed,
                [](const uint8_t*, int32_t, int32_t, void* count) {
                    ++*static_cast<std::atomic<int>*>(count);
                    return int32_t(1);
                },
                &rows);
            ++frames;
        }
    });
    auto run = [&](int openings) {
        for (int i = 0; i < openings; ++i) {
            if (OpenMatTool(host.window(), mat, 0, 0, EditorHost::applyCallback, &host) != 1)
                return;
            const SheetDriver sheet(host.sheet());
            sheet.selectPage(5);
            for (int k = 0; k < kRebuilds; ++k) sheet.click(IDC_TEXTURE_GREY);
            sheet.press(PSBTN_OK);
            host.waitUntil([mat] { return !mat->tool; });
            WaitMatTool(mat);
        }
    };
    auto measure = [&] {
        pause = true;
        while (!paused) Sleep(1);
        const ProcessUsage usage = usageNow();
        pause = false;
        return usage;
    };
    // Two rounds measured after a warm-up: a leak grows in both, a settling heap in one.
    run(kWarmUp);
    const ProcessUsage first = measure();
    run(kOpenings);
    const ProcessUsage second = measure();
    run(kOpenings);
    const ProcessUsage third = measure();
    const auto grew = [](const ProcessUsage& a, const ProcessUsage& b) {
        return int64_t(b.pagefile) - int64_t(a.pagefile);
    };
    const bool firstQuieter = grew(first, second) <= grew(second, third);
    const ProcessUsage& before = firstQuieter ? first : second;
    const ProcessUsage& after = firstQuieter ? second : third;
    stop = true;
    viewer.join();
    std::printf("%d material tool openings, %d rebuilds, %d host frames: %s; then %s\n", kOpenings,
                kOpenings * kRebuilds, frames.load(), usageChange(first, second).c_str(),
                usageChange(second, third).c_str());
    EXPECT_GT(frames, kOpenings);
    EXPECT_GE(rows, 16 * frames);  // every frame whole
    EXPECT_EQ(mat->slots[0].side, 64u);
    expectFlat(before, after);
    DisposeMat(mat);
}

}  // namespace
