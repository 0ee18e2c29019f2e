// The transmission tool as a host and a user meet it, through the DLL under Wine: the page
// driven by messages from a table, Apply and Cancel, and the tool's life beside the host's
// (several at once, disposed of while open, waited for or not).
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <prsht.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "orvanta.h"
#include "tools/editor_harness_win32.h"
#include "transmission_page_ids.h"

namespace {

struct TrnTool : OpenTool<Trn> {
    explicit TrnTool(const Prepare& prepare = nullptr) : OpenTool(CreateTrn("Riemen"), prepare) {}
};

TEST(TransmissionTool, ThePageShowsTheRecordInTheUsersLanguage) {
    TrnTool t([](Trn& r) { r.linRot = 2.54; });
    const SheetDriver& sheet = t.sheet;
    EXPECT_EQ(windowText(sheet.sheet()),
              german() ? "\334bersetzungswerkzeug" : "Transmission Tool");
    EXPECT_EQ(sheet.pageTitle(0), "Riemen");
    EXPECT_EQ(sheet.text(IDC_TRN_ACTIVE), german() ? "aktiv" : "active");
    EXPECT_EQ(sheet.text(IDC_TRN_INVERT), german() ? "invers" : "inverse");
    EXPECT_EQ(windowText(GetDlgItem(sheet.sheet(), IDCANCEL)), german() ? "Abbrechen" : "Cancel");
    EXPECT_TRUE(sheet.checked(IDC_TRN_ACTIVE));
    EXPECT_FALSE(sheet.checked(IDC_TRN_INVERT));
    EXPECT_EQ(sheet.text(IDC_TRN_LINLIN), "1");
    EXPECT_EQ(sheet.text(IDC_TRN_LINROT), "2.54");
    EXPECT_NE(GetWindowLongA(sheet.sheet(), GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(sheet.sheet(), 0x3021)));  // no Apply-now button
    sheet.screenshot("transmission_tool_" + shownLanguage());
    // The host waits while the user closes the sheet.
    const Watchdog watchdog(20000);
    const HWND window = sheet.sheet();
    std::thread user([window] {
        Sleep(200);
        SheetDriver(window).press(PSBTN_CANCEL);
    });
    EXPECT_EQ(WaitTrnTool(t.record), 1);
    EXPECT_EQ(t.record->tool, nullptr);
    user.join();
}

// What the user does, and what the record and the page then hold.
TEST(TransmissionTool, EditsAndSwitchesWriteTheLiveRecord) {
    struct Step {
        int id;
        const char* typed;  // null: a click
        double Trn::*field;
        double value;
        const char* shown;
    };
    const Step steps[] = {
        {IDC_TRN_LINLIN, "1/2", &Trn::linLin, 0.5, "0.5"},
        {IDC_TRN_LINROT, "3,5", &Trn::linRot, 3.5, "3.5"},
        {IDC_TRN_ROTROT, "1 1/2 2", &Trn::rotRot, 3.5, "3.5"},
        {IDC_TRN_ROTLIN, "2\"", &Trn::rotLin, 50.8, "50.8"},
        {IDC_TRN_ROTLIN, "x", &Trn::rotLin, 0.0, "0"},
        {IDC_TRN_LINLIN, "123456789012345678901234", &Trn::linLin, 12345678901234567890.0,
         "1.234568E+19"},
    };
    TrnTool t;
    const SheetDriver& sheet = t.sheet;
    const EditorHost& host = t.host;
    for (const Step& s : steps) {
        SCOPED_TRACE(s.typed);
        sheet.type(s.id, s.typed);
        EXPECT_EQ(t.record->*s.field, s.value);
        EXPECT_EQ(sheet.text(s.id), s.shown);
    }
    // Leaving an edit untouched stores nothing: 1.234568E+19 is not read back.
    sheet.leave(IDC_TRN_LINLIN);
    EXPECT_EQ(t.record->linLin, 12345678901234567890.0);
    // A click stores both switches.
    t.record->invert = 7;
    sheet.click(IDC_TRN_ACTIVE);
    EXPECT_EQ(t.record->active, 0);
    EXPECT_EQ(t.record->invert, 0);
    sheet.click(IDC_TRN_INVERT);
    EXPECT_EQ(t.record->invert, 1);
    EXPECT_TRUE(host.calls().empty());  // the page calls back on Apply only

    sheet.press(PSBTN_OK);
    EXPECT_TRUE(t.closed());
    ASSERT_EQ(host.calls().size(), 1u);
    EXPECT_EQ(host.calls()[0].record, t.record);
    EXPECT_EQ(host.calls()[0].reason, 0);
    EXPECT_NE(host.calls()[0].thread, GetCurrentThreadId());
    EXPECT_EQ(t.record->linRot, 3.5);  // OK keeps the edits
}

// Cancel, the close box and a close message restore the values the tool opened with and
// call nothing; text typed and not yet left is committed by OK.
TEST(TransmissionTool, CancelRestoresAndOkCommitsWhatWasTyped) {
    enum Ending { cancel, closeMessage, ok };
    for (Ending ending : {cancel, closeMessage, ok}) {
        SCOPED_TRACE(ending);
        Trn before;
        TrnTool t([&](Trn& r) {
            r.rotLin = 0.25;
            before = r;  // before the tool opens
        });
        const SheetDriver& sheet = t.sheet;
        sheet.type(IDC_TRN_LINLIN, "7");
        sheet.click(IDC_TRN_INVERT);
        SendMessageA(GetDlgItem(sheet.page(), IDC_TRN_ROTLIN), WM_SETTEXT, 0,
                     reinterpret_cast<LPARAM>("9"));  // typed, still in the edit
        if (ending == cancel) sheet.press(PSBTN_CANCEL);
        if (ending == closeMessage) sheet.close();
        if (ending == ok) sheet.press(PSBTN_OK);
        EXPECT_TRUE(t.closed());
        if (ending == ok) {
            EXPECT_EQ(t.record->linLin, 7.0);
            EXPECT_EQ(t.record->rotLin, 9.0);
            EXPECT_EQ(t.host.calls().size(), 1u);
        } else {
            EXPECT_EQ(std::memcmp(&before, t.record, sizeof before), 0);
            EXPECT_TRUE(t.host.calls().empty());
        }
    }
}

TEST(TransmissionTool, OneToolPerRecordEachOnItsOwnThread) {
    struct Transmission {
        Trn* trn = CreateTrn("Riemen");
        ~Transmission() { DisposeTrn(trn); }
    };
    EditorHost host;
    Transmission a, b, c;
    Trn never;
    std::memset(&never, 0, sizeof never);
    EXPECT_EQ(WaitTrnTool(&never), 1);  // never had a tool: at once

    for (Trn* trn : {a.trn, b.trn, c.trn})
        EXPECT_EQ(OpenTrnTool(host.window(), trn, EditorHost::applyCallback, &host), 1);
    EXPECT_EQ(OpenTrnTool(host.window(), a.trn, nullptr, nullptr), 0);  // a has one
    ASSERT_TRUE(host.waitUntil([&] { return host.sheets().size() == 3; }));
    const std::vector<HWND> sheets = host.sheets();
    DWORD threads[3];
    for (int i = 0; i < 3; ++i) threads[i] = GetWindowThreadProcessId(sheets[size_t(i)], nullptr);
    EXPECT_NE(threads[0], threads[1]);
    EXPECT_NE(threads[1], threads[2]);
    EXPECT_NE(threads[0], GetCurrentThreadId());

    // Disposed of while open: the sheet goes, nothing is called, the record is not touched
    // after DisposeTrn returns (the sanitizer-free check: the thread has ended by then).
    DisposeTrn(b.trn);
    b.trn = CreateTrn("neu");
    EXPECT_EQ(host.sheets().size(), 2u);
    EXPECT_TRUE(host.calls().empty());

    // A host that never waits: the tool ends on its own once its sheet is closed.
    for (HWND sheet : host.sheets()) SheetDriver(sheet).press(PSBTN_CANCEL);
    EXPECT_TRUE(host.waitUntil([&] { return !a.trn->tool && !c.trn->tool; }));
    EXPECT_EQ(OpenTrnTool(host.window(), a.trn, nullptr, nullptr), 1);  // free again
    ASSERT_NE(host.sheet(), nullptr);
}

// A quit message ends the tool's loop without destroying the sheet: the thread still lets go
// of the record, and its windows go with it.
TEST(TransmissionTool, AQuitMessageEndsTheTool) {
    TrnTool t;
    const HWND sheet = t.sheet.sheet();
    PostThreadMessageA(GetWindowThreadProcessId(sheet, nullptr), WM_QUIT, 0, 0);
    EXPECT_TRUE(t.host.waitUntil([&] { return !t.record->tool && !IsWindow(sheet); }));
    EXPECT_EQ(OpenTrnTool(t.host.window(), t.record, nullptr, nullptr), 1);
    SheetDriver(t.host.sheet()).press(PSBTN_CANCEL);
    EXPECT_TRUE(t.closed());
}

// A callback that disposes of the record: the tool lets go of it and ends.
TEST(TransmissionTool, ACallbackMayDisposeOfItsRecord) {
    EditorHost host;
    Trn* trn = CreateTrn("kurz");
    const auto disposing = [](void*, void* record, void* data, int32_t) -> int32_t {
        DisposeTrn(static_cast<Trn*>(record));
        *static_cast<bool*>(data) = true;
        return 1;
    };
    bool called = false;
    ASSERT_EQ(OpenTrnTool(host.window(), trn, disposing, &called), 1);
    const HWND sheet = host.sheet();
    ASSERT_NE(sheet, nullptr);
    SheetDriver(sheet).press(PSBTN_OK);
    EXPECT_TRUE(host.waitUntil([&] { return called && host.sheets().empty(); }));
}

}  // namespace
