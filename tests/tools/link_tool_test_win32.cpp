// The link tool under Wine: which links get a page, ObjInLnkTool, the page's fields from a
// table, the drive dialog's phases against the same phases as info text, and drive files.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <prsht.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "link_page_ids.h"
#include "orvanta.h"
#include "support/box_watch.h"
#include "support/temp_folder.h"
#include "tools/editor_harness_win32.h"

namespace {

// Links from body 1 to body 2 (link object 7), named as given.
struct Links {
    std::vector<Lnk*> links;
    explicit Links(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            Lnk* link = CreateLnk(name);
            const OrvVec3 a = {1, 0, 0}, b = {0, 0, 0};
            SetLnk(link, &a, &b, nullptr, 0, 1, 2, 7);
            links.push_back(link);
        }
    }
    ~Links() {
        for (Lnk* link : links) DisposeLnk(link);
    }
    Lnk* operator[](size_t i) const { return links[i]; }
};

// The sheet over host that has page count pages (another sheet may be open beside it).
HWND sheetWithPages(EditorHost& host, int count) {
    HWND found = nullptr;
    host.waitUntil([&] {
        for (HWND s : host.sheets())
            if (IsWindowVisible(s) && SheetDriver(s).pageCount() == count) found = s;
        return found != nullptr;
    });
    return found;
}

TEST(LinkTool, SelectsLinksWithoutToolAndTellsWhoIsInIt) {
    EditorHost host;
    Links l({"Kurbel", "Schieber", "Pleuel"});
    Lnk* first = l[0];
    ASSERT_EQ(ToolCalls::openLinks(host, &first, 1, 0, 1), 1);
    const HWND alone = sheetWithPages(host, 1);
    ASSERT_NE(alone, nullptr);
    EXPECT_EQ(ToolCalls::openLinks(host, &first, 1), 0);  // has its tool

    ASSERT_EQ(ToolCalls::openLinks(host, l.links.data(), 3), 1);
    const HWND both = sheetWithPages(host, 2);
    ASSERT_NE(both, nullptr);
    const SheetDriver sheet(both);
    EXPECT_EQ(windowText(both), german() ? "Verbindungswerkzeug" : "Link Tool");
    EXPECT_EQ(sheet.pageTitle(0), "Schieber");
    EXPECT_EQ(sheet.pageTitle(1), "Pleuel");
    EXPECT_EQ(l[1]->tool, l[2]->tool);
    EXPECT_NE(l[1]->tool, l[0]->tool);
    for (uint64_t object : {1, 2, 7}) EXPECT_EQ(ObjInLnkTool(object), 1) << object;
    for (uint64_t object : {0, 3}) EXPECT_EQ(ObjInLnkTool(object), 0) << object;

    // Closing tells the host once with no record, unless it asked not to be told.
    SheetDriver(alone).press(PSBTN_OK);
    EXPECT_TRUE(host.waitUntil([&] { return !l[0]->tool; }));
    sheet.press(PSBTN_CANCEL);
    EXPECT_TRUE(host.waitUntil([&] { return !l[1]->tool && !l[2]->tool; }));
    EXPECT_EQ(WaitLnkTool(l[1]), 1);
    const std::vector<ApplyCall> calls = host.calls();
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const ApplyCall& c) { return !c.record && c.reason == 0; }),
              1);
    EXPECT_EQ(ObjInLnkTool(1), 0);

    // Followers are skipped on request; none left opens nothing.
    l[1]->follow = l[2]->follow = 1;
    EXPECT_EQ(ToolCalls::openLinks(host, l.links.data() + 1, 2, 1), 0);
    EXPECT_EQ(ToolCalls::openLinks(host, l.links.data(), 0), 0);
    ASSERT_EQ(ToolCalls::openLinks(host, l.links.data(), 3, 1), 1);
    EXPECT_NE(sheetWithPages(host, 1), nullptr);
    EXPECT_EQ(l[1]->tool, nullptr);
    SheetDriver(host.sheet()).press(PSBTN_CANCEL);
    EXPECT_TRUE(host.waitUntil([&] { return !l[0]->tool; }));
}

// What the user does on the page, and what the link and the page then hold.
TEST(LinkTool, ThePageWritesTheLiveLink) {
    struct Step {
        int id;
        const char* typed;  // null: a click; "#n": the slider to position n
        double Lnk::*field;
        double value;
        const char* shown;  // the current value's number afterwards, or null
        int slider;         // its slider's position afterwards, or -1
    };
    const Step steps[] = {
        {IDC_LNK_LIN_MAX, "10", &Lnk::linMax, 10, "0", 0},
        {IDC_LNK_LIN_STEP, "0,5", &Lnk::linStep, 0.5, "0", 0},
        {IDC_LNK_LIN_SLIDER, "#7", &Lnk::linCur, 3.5, "3.5", 7},
        {IDC_LNK_LIN_CUR, "12", &Lnk::linCur, 10, "10", 20},  // clamped to the maximum
        {IDC_LNK_LIN_MAX, "4", &Lnk::linCur, 4, "4", 8},      // the value follows
        {IDC_LNK_LIN_MIN, "5", &Lnk::linMin, 0, "4", 8},      // refused: above the maximum
        {IDC_LNK_LIN_STEP, "0", &Lnk::linStep, 0.5, "4", 8},  // refused
        {IDC_LNK_ROT_CUR, "-200", &Lnk::rotCur, -180, "-180", 0},
        {IDC_LNK_ROT_STEP, "15", &Lnk::rotStep, 15, "-180", 0},
        {IDC_LNK_ROT_SLIDER, "#13", &Lnk::rotCur, 15, "15", 13},
        {IDC_LNK_RATIO, "1/4", &Lnk::ratio, 0.25, nullptr, -1},
        {IDC_LNK_RESET, nullptr, &Lnk::rotCur, 0, "0", 0},
    };
    EditorHost host;
    Links l({"Kurbel"});
    Lnk* link = l[0];
    ASSERT_EQ(ToolCalls::openLinks(host, &link, 1, 0, 1), 1);
    const SheetDriver sheet(host.sheet());
    EXPECT_EQ(sheet.text(IDC_LNK_ROT_MIN), "-180");
    sheet.screenshot("link_tool_" + shownLanguage());
    BoxWatch boxes;
    for (const Step& s : steps) {
        SCOPED_TRACE(s.id);
        if (!s.typed)
            sheet.click(s.id);
        else if (s.typed[0] == '#')
            sheet.slide(s.id, std::atoi(s.typed + 1));
        else
            sheet.type(s.id, s.typed);
        EXPECT_EQ(link->*s.field, s.value);
        const int axis = s.id >= IDC_LNK_ROT && s.id < IDC_LNK_COUPLED ? IDC_LNK_ROT_DELTA : 0;
        if (s.shown) {
            EXPECT_EQ(sheet.text(IDC_LNK_LIN_CUR + axis), s.shown);
        }
        if (s.slider >= 0) {
            EXPECT_EQ(sheet.sliderPosition(IDC_LNK_LIN_SLIDER + axis), s.slider);
        }
    }
    EXPECT_EQ(sheet.text(IDC_LNK_LIN_MIN), "0");  // the refused minimum restored
    const std::vector<ShownBox> shown = boxes.stop();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].text, german() ? "Das Minimum darf nicht gr\366\337er als das Maximum sein."
                                      : "The minimum must not be greater than the maximum.");
    EXPECT_EQ(link->linCur, 0);  // reset both axes
    EXPECT_EQ(link->linStep, 0.5);

    // The switches, the Lin switch greying its group.
    for (int id : {IDC_LNK_COUPLED, IDC_LNK_FOLLOW, IDC_LNK_COLLCHECK, IDC_LNK_LIN})
        sheet.click(id);
    EXPECT_EQ(link->coupled, 1);
    EXPECT_EQ(link->follow, 1);
    EXPECT_EQ(link->collCheck, 1);
    EXPECT_EQ(link->lin, 0);
    EXPECT_FALSE(sheet.enabled(IDC_LNK_LIN_SLIDER));
    EXPECT_TRUE(sheet.enabled(IDC_LNK_ROT_SLIDER));
    EXPECT_EQ(host.calls().size(), std::size(steps) - 2 + 4);  // all but the refused, the switches
    for (const ApplyCall& c : host.calls()) EXPECT_EQ(c.reason, 1);

    // Cancel brings all of it back and tells the host with reason 1.
    const size_t before = host.calls().size();
    sheet.press(PSBTN_CANCEL);
    EXPECT_TRUE(host.waitUntil([&] { return !link->tool; }));
    EXPECT_EQ(link->linMax, 1);
    EXPECT_EQ(link->lin, 1);
    EXPECT_EQ(link->ratio, 0);
    ASSERT_EQ(host.calls().size(), before + 1);
    EXPECT_EQ(host.calls().back().reason, 1);
}

// ---- the drive dialog ----------------------------------------------------------------------

// The dialog owned by owner that holds control id (not a message box).
HWND dialogWith(HWND owner, int id) {
    return ownedDialog(owner, [id](HWND w) { return GetDlgItem(w, id) && !isMessageBox(w); });
}

// Presses a button of a modal dialog without waiting for what it opens.
void post(HWND dialog, int id) {
    PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

// Types into the cell being edited and presses Enter: the cell is taken, the next one edited.
void cell(HWND dialog, const char* text) {
    if (text[0] == '#')
        SendDlgItemMessageA(dialog, IDC_DRV_CELL, CB_SETCURSEL, std::atoi(text + 1), 0);
    else
        SetDlgItemTextA(dialog, IDC_DRV_CELL, text);
    SendMessageA(dialog, WM_COMMAND, IDOK, 0);
}

std::string listText(HWND dialog, int row, int column) {
    char text[64] = "";
    LVITEMA item = {};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = sizeof text;
    SendDlgItemMessageA(dialog, IDC_DRV_LIST, LVM_GETITEMTEXTA, row,
                        reinterpret_cast<LPARAM>(&item));
    return text;
}

// Chooses path in the file dialog that owner opens.
void chooseFileOf(HWND owner, const std::string& path) {
    const HWND files = dialogWith(owner, IDOK);
    ASSERT_NE(files, nullptr);
    chooseFile(files, path);
    pumpUntil([&] { return !IsWindow(files); });
}

TEST(LinkTool, TheDriveDialogEditsPhasesAsTheInfoTextGivesThem) {
    EditorHost host;
    Links l({"Kurbel", "Vergleich"});
    Lnk* link = l[0];
    link->rot = 0;
    ASSERT_EQ(ToolCalls::openLinks(host, &link, 1, 0, 1), 1);
    const SheetDriver sheet(host.sheet());
    post(sheet.page(), IDC_LNK_LIN_DRIVE);
    const HWND drive = dialogWith(sheet.sheet(), IDC_DRV_LIST);
    ASSERT_NE(drive, nullptr);
    const SheetDriver dialog(drive, true);

    // Two phases typed in place, a third inserted, moved down and deleted again.
    dialog.click(IDC_DRV_ADD);
    for (const char* typed : {"2", "0,5", "#1", "3"}) cell(drive, typed);
    dialog.click(IDC_DRV_ADD);  // a copy of the phase selected
    cell(drive, "-2");
    SendMessageA(drive, WM_COMMAND, IDCANCEL, 0);  // Escape drops the cell, not the dialog
    dialog.click(IDC_DRV_INSERT);
    cell(drive, "7");
    SendMessageA(drive, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(listText(drive, 1, 1), "7");
    dialog.click(IDC_DRV_DOWN);
    EXPECT_EQ(listText(drive, 2, 1), "7");
    dialog.click(IDC_DRV_DELETE);
    SetDlgItemTextA(drive, IDC_DRV_DAMPING, "0,25");
    EXPECT_EQ(listText(drive, 1, 3), german() ? "sinus" : "sine");
    EXPECT_EQ(SendDlgItemMessageA(drive, IDC_DRV_LIST, LVM_GETITEMCOUNT, 0, 0), 2);
    dialog.screenshot("drive_dialog_" + shownLanguage());
    EXPECT_EQ(link->linDrive.count, 0);  // nothing reaches the link before OK
    SendMessageA(drive, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(host.waitUntil([&] { return !IsWindow(drive); }));
    EXPECT_EQ(host.calls().size(), 1u);

    // The same phases as keys in front of the link's own text (the first of a key counts).
    std::string info = "LDP=2;LW1=2;LT1=0.5;LF1=1;LH1=3;LW2=-2;LT2=0.5;LF2=1;LH2=3;LDD=0.25;Rot=0;";
    std::string own(GetLnkInfoSize(l[1]), '\0');
    GetLnkInfo(l[1], &own[0]);
    PutLnkInfo(l[1], (info + own).c_str());  // 1 only with rotational phases
    EXPECT_EQ(std::memcmp(&link->linDrive, &l[1]->linDrive, sizeof link->linDrive), 0);

    // Drive files: written as a spreadsheet reads them, a bad one refused with its line.
    TempFolder folder;
    post(sheet.page(), IDC_LNK_LIN_DRIVE);
    const HWND again = dialogWith(sheet.sheet(), IDC_DRV_LIST);
    ASSERT_NE(again, nullptr);
    post(again, IDC_DRV_SAVE);
    chooseFileOf(again, folder.file("kurbel.csv"));
    std::string written;
    host.waitUntil([&] {  // written once the file dialog has returned
        std::stringstream text;
        text << std::ifstream(folder.file("kurbel.csv"), std::ios::binary).rdbuf();
        written = text.str();
        return !written.empty();
    });
    EXPECT_EQ(written, "2;0.5;1;3\r\n-2;0.5;1;3\r\n");

    post(again, IDC_DRV_LOAD);
    chooseFileOf(again, folder.write("bad.drv", "1;1;0;0\n\n1;2;7;0\n"));
    const HWND box = ownedDialog(again, isMessageBox);
    ASSERT_NE(box, nullptr);
    const std::string said = windowText(GetDlgItem(box, 0xFFFF));
    EXPECT_NE(said.find(german() ? "Zeile 3" : "line 3"), std::string::npos) << said;
    PostMessageA(box, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(host.waitUntil([&] { return !IsWindow(box); }));
    EXPECT_EQ(listText(again, 0, 1), "2");  // unchanged
    post(again, IDC_DRV_LOAD);
    chooseFileOf(again, folder.write("good.drv", "1,5;2;4;0\r\n"));
    EXPECT_TRUE(host.waitUntil([&] { return listText(again, 0, 1) == "1.5"; }));
    EXPECT_EQ(SendDlgItemMessageA(again, IDC_DRV_LIST, LVM_GETITEMCOUNT, 0, 0), 1);
    // The generator: there and back over the period, a period of 0 refused.
    SetDlgItemTextA(again, IDC_DRV_GEN_PATH, "30");
    SetDlgItemTextA(again, IDC_DRV_GEN_PERIOD, "2");
    SendDlgItemMessageA(again, IDC_DRV_GEN_FUNCTION, CB_SETCURSEL, 2, 0);
    SheetDriver(again, true).click(IDC_DRV_GENERATE);
    EXPECT_EQ(SendDlgItemMessageA(again, IDC_DRV_LIST, LVM_GETITEMCOUNT, 0, 0), 2);
    EXPECT_EQ(listText(again, 1, 1) + listText(again, 1, 2) + listText(again, 1, 3),
              german() ? "-301cosinus" : "-301cosine");
    SendMessageA(again, WM_COMMAND, IDCANCEL, 0);  // the link keeps its two phases
    sheet.press(PSBTN_OK);
    EXPECT_TRUE(host.waitUntil([&] { return !link->tool; }));
    EXPECT_EQ(link->linDrive.count, 2);
}

}  // namespace
