// The tools over many openings: 1,000 open/close cycles of the transmission tool (Cancel, OK,
// the close message and Dispose in turn) leave the process's handles, GDI and USER objects,
// threads and memory as they were.
#include <windows.h>

#include <gtest/gtest.h>
#include <prsht.h>

#include <cstdio>

#include "orvanta.h"
#include "support/process_usage_win32.h"
#include "tools/editor_harness_win32.h"

namespace {

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
    // Private memory may grow a little while the heap reaches its working size; the working
    // set also counts pages of code and data touched for the first time.
    constexpr SIZE_T kPrivateSlack = 2 << 20, kWorkingSetSlack = 4 << 20;
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
    ASSERT_NE(before.handles, 0u);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.gdiObjects, before.gdiObjects + 4);
    EXPECT_LE(after.userObjects, before.userObjects + 4);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_LE(after.workingSet, before.workingSet + kWorkingSetSlack);
    EXPECT_LE(after.pagefile, before.pagefile + kPrivateSlack);
    EXPECT_TRUE(host.sheets().empty());
    DisposeTrn(trn);
}

}  // namespace
