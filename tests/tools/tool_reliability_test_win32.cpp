// The tools over many openings: 1,000 open/close cycles of the transmission tool leave the
// process's handles, GDI and USER objects, threads and memory as they were.
#include <windows.h>

#include <gtest/gtest.h>
#include <prsht.h>

#include <cstdio>

#include "orvanta.h"
#include "support/process_usage_win32.h"
#include "tools/editor_harness_win32.h"

namespace {

// Opens the tool, waits for its sheet, closes it the way ending says and waits for the tool.
bool cycle(EditorHost& host, Trn* trn, int ending) {
    if (OpenTrnTool(host.window(), trn, EditorHost::applyCallback, &host) != 1) return false;
    const HWND sheet = host.sheet();
    if (!sheet) return false;
    if (ending == 0) SheetDriver(sheet).press(PSBTN_CANCEL);
    if (ending == 1) SheetDriver(sheet).press(PSBTN_OK);
    if (ending == 2) SheetDriver(sheet).close();
    return host.waitUntil([trn] { return !trn->tool; }) && WaitTrnTool(trn) == 1;
}

TEST(ToolReliability, OpenCloseCyclesLeaveTheProcessAsItWas) {
    constexpr int kCycles = 1000;
    constexpr SIZE_T kMemorySlack = 2 << 20;
    EditorHost host;
    Trn* trn = CreateTrn("Zyklus");
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(cycle(host, trn, i % 3));  // warm-up
    const ProcessUsage before = usageNow();
    int failed = 0;
    for (int i = 0; i < kCycles; ++i) failed += !cycle(host, trn, i % 3);
    const ProcessUsage after = usageNow();
    std::printf("%d transmission tool cycles: %s\n", kCycles, usageChange(before, after).c_str());
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(host.calls().size(), size_t(10 + kCycles) / 3);  // OK once in three
    ASSERT_NE(before.handles, 0u);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.gdiObjects, before.gdiObjects + 4);
    EXPECT_LE(after.userObjects, before.userObjects + 4);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LE(after.workingSet, before.workingSet + kMemorySlack);
    EXPECT_LE(after.pagefile, before.pagefile + kMemorySlack);
    EXPECT_TRUE(host.sheets().empty());
    DisposeTrn(trn);
}

}  // namespace
