// The tools over many openings and updates: 1,000 open/close cycles of the transmission tool
// (Cancel, OK, the close message and Dispose in turn), and 500 raytraced preview pictures each
// started and cancelled by the next change, leave the process's handles, GDI and USER objects,
// threads and memory as they were; a light tool and a scene tool edited at once while the host
// reads both records on every callback.
#include <windows.h>

#include <gtest/gtest.h>
#include <prsht.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "environment_page_ids.h"
#include "light_page_ids.h"
#include "orvanta.h"
#include "preview_ids.h"
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

// Opens the tool, waits for its sheet, ends it the way ending says (Cancel, OK, a close
// message, or disposing of the record while the sheet is open) and waits for the tool.
bool cycle(EditorHost& host, Trn*& trn, int ending) {
    if (OpenTrnTool(host.window(), trn, EditorHost::applyCallback, &host) != 1) return false;
    const HWND sheet = host.sheet();
    if (!sheet) return false;
    if (ending == 3) {
        DisposeTrn(trn);
        trn = CreateTrn("Zyklus");
        return !IsWindow(sheet);
    }
    const int buttons[] = {PSBTN_CANCEL, PSBTN_OK};
    if (ending < 2) SheetDriver(sheet).press(buttons[ending]);
    if (ending == 2) SheetDriver(sheet).close();
    return host.waitUntil([trn] { return !trn->tool; }) && WaitTrnTool(trn) == 1;
}

TEST(ToolReliability, OpenCloseCyclesLeaveTheProcessAsItWas) {
    constexpr int kCycles = 1000;
    EditorHost host;
    Trn* trn = CreateTrn("Zyklus");
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(cycle(host, trn, i % 4));  // warm-up
    const ProcessUsage before = usageNow();
    int failed = 0;
    for (int i = 0; i < kCycles; ++i) failed += !cycle(host, trn, i % 4);
    const ProcessUsage after = usageNow();
    std::printf("%d transmission tool cycles: %s\n", kCycles, usageChange(before, after).c_str());
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(host.calls().size(), size_t(100 + kCycles) / 4);  // OK once in four
    expectFlat(before, after);
    EXPECT_TRUE(host.sheets().empty());
    DisposeTrn(trn);
}

// Every change of a raytraced page stops the picture being traced (within a row) and starts
// the next; the rows of a stopped picture never reach the control, not even a destroyed one.
TEST(ToolReliability, RaytracedPreviewsStartedAndCancelledLeaveNothingBehind) {
    constexpr int kUpdates = 500;
    EditorHost host;
    Lgt* lgt = CreateLgt("Zyklus");
    auto run = [&](int updates) {
        if (OpenLgtTool(host.window(), lgt, 0, 0, EditorHost::applyCallback, &host) != 1) return;
        const SheetDriver sheet(host.sheet());
        sheet.click(IDC_PREVIEW_RAYTRACE);
        for (int i = 0; i < updates; ++i) sheet.drag(IDC_LIGHT_GLOSS, i % 101);
        sheet.press(PSBTN_OK);  // the last picture still being traced
        host.waitUntil([lgt] { return !lgt->tool; });
        WaitLgtTool(lgt);
    };
    run(kUpdates);  // warm-up: the heap grows to its working size over the first few hundred
    const ProcessUsage before = usageNow();
    run(kUpdates);
    const ProcessUsage after = usageNow();
    std::printf("%d raytraced preview updates: %s\n", kUpdates, usageChange(before, after).c_str());
    EXPECT_DOUBLE_EQ(lgt->gloss, (100 - (kUpdates - 1) % 101) * 0.01);
    expectFlat(before, after);
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

}  // namespace
