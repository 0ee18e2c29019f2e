// Choose bitmap file, driven by messages as a user would: the dialog opens in the folder stored
// as "TexDir", a file name typed relative to it is taken, the preview box shows the selected
// file, and after OK "TexDir" holds the process's current folder.
#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "appearance/bitmap_dialog.h"
#include "appearance/bmp_writer.h"
#include "core/library_module.h"
#include "i18n/i18n_test_support.h"
#include "settings/settings.h"

namespace {

namespace fs = std::filesystem;
using orv::settings::kLibrarySubkey;
using orv::settings::kUserHive;

std::string className(HWND window) {
    char name[32] = "";
    GetClassNameA(window, name, sizeof name);
    return name;
}

// The first top-level window (parent null) or descendant of parent that matches.
HWND findWindow(HWND parent, const std::function<bool(HWND)>& match) {
    std::pair<const std::function<bool(HWND)>*, HWND> search = {&match, nullptr};
    const WNDENUMPROC visit = [](HWND window, LPARAM data) -> BOOL {
        auto* s = reinterpret_cast<decltype(search)*>(data);
        if (!(*s->first)(window)) return TRUE;
        s->second = window;
        return FALSE;
    };
    const LPARAM data = reinterpret_cast<LPARAM>(&search);
    parent ? EnumChildWindows(parent, visit, data) : EnumWindows(visit, data);
    return search.second;
}

// The visible "Bild laden" dialog of this process, waited for up to 10 s.
HWND waitForDialog() {
    HWND dialog = nullptr;
    for (int i = 0; i < 1000 && !dialog; ++i, Sleep(10)) {
        dialog = findWindow(nullptr, [](HWND window) {
            DWORD process = 0;
            char text[64] = "";
            GetWindowThreadProcessId(window, &process);
            GetWindowTextA(window, text, sizeof text);
            return process == GetCurrentProcessId() && className(window) == "#32770" &&
                   std::strcmp(text, "Bild laden") == 0 && IsWindowVisible(window);
        });
    }
    return dialog;
}

std::string stored(const char* name) {
    char value[orv::settings::kStringBytes] = "";
    orv::settings::readString(kUserHive, kLibrarySubkey, name, value);
    return value;
}

class BitmapDialog : public ::testing::Test {
protected:
    void SetUp() override {
        savedModule_ = orv::libraryModule();
        orv::setLibraryModule(stringTableModule());  // template 242 and the strings
        const fs::path base = fs::temp_directory_path() / "orvanta-dialog";
        pictures_ = base / "pictures";
        current_ = base / "current";
        fs::create_directories(pictures_);
        fs::create_directories(current_);
        bmp24(8, 8, [](int, int) { return 0x2080E0u; }).write((pictures_ / "pick.bmp").string());
        savedCurrent_ = fs::current_path();
        fs::current_path(current_);
        orv::settings::writeString(kUserHive, kLibrarySubkey, "TexDir", pictures_.string().c_str());
    }
    void TearDown() override {
        fs::current_path(savedCurrent_);
        orv::settings::deleteValue(kUserHive, kLibrarySubkey, "TexDir");
        std::error_code ignored;
        fs::remove_all(pictures_.parent_path(), ignored);
        orv::setLibraryModule(savedModule_);
    }

    fs::path pictures_, current_, savedCurrent_;

private:
    void* savedModule_ = nullptr;
};

TEST_F(BitmapDialog, TypedNameIsTakenFromTheStoredFolderAndTheCurrentFolderIsStored) {
    std::atomic<bool> found{false}, previewed{false}, boxPresent{false};
    std::thread user([&] {
        HWND dialog = waitForDialog();
        if (!dialog) return;
        found = true;
        HWND box =
            findWindow(dialog, [](HWND w) { return GetDlgCtrlID(w) == orv::kBitmapPreviewBox; });
        boxPresent = box != nullptr;

        // Select the file in the list, as a click would: the preview shows its colour.
        if (HWND list =
                findWindow(dialog, [](HWND w) { return className(w) == "SysListView32"; })) {
            LVITEMA item = {};
            item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
            for (int i = 0; i < 200 && SendMessageA(list, LVM_GETITEMCOUNT, 0, 0) == 0; ++i)
                Sleep(10);
            SendMessageA(list, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&item));
            for (int i = 0; i < 200 && box && !previewed; ++i, Sleep(10)) {
                UpdateWindow(box);
                RECT r;
                GetClientRect(box, &r);
                HDC dc = GetDC(box);
                previewed = GetPixel(dc, r.right / 2, r.bottom / 2) == RGB(0x20, 0x80, 0xE0);
                ReleaseDC(box, dc);
            }
        }
        if (const char* hold = std::getenv("ORVANTA_HOLD_DIALOG_MS")) Sleep(DWORD(std::atoi(hold)));

        // Type the name (relative to the folder the dialog opened in) and press OK.
        SendMessageA(dialog, CDM_SETCONTROLTEXT, 0x480 /* edt1 */,
                     reinterpret_cast<LPARAM>("pick.bmp"));
        SendMessageA(dialog, CDM_SETCONTROLTEXT, 0x47C /* cmb13 */,
                     reinterpret_cast<LPARAM>("pick.bmp"));
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    });
    char path[orv::kBitmapPathChars] = "";
    const bool chosen = orv::chooseBitmapFile(nullptr, path);
    user.join();
    ASSERT_TRUE(found);
    EXPECT_TRUE(boxPresent);
    EXPECT_TRUE(previewed);
    ASSERT_TRUE(chosen);
    EXPECT_EQ(fs::path(path), pictures_ / "pick.bmp");
    // Not the chosen file's folder: the dialog leaves the current folder as it was.
    EXPECT_EQ(fs::path(stored("TexDir")), current_);
    EXPECT_EQ(fs::current_path(), current_);
}

TEST_F(BitmapDialog, CancelKeepsTheStoredFolder) {
    std::thread user([] {
        if (HWND dialog = waitForDialog()) PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    char path[orv::kBitmapPathChars] = "";
    EXPECT_FALSE(orv::chooseBitmapFile(nullptr, path));
    user.join();
    EXPECT_EQ(fs::path(stored("TexDir")), pictures_);
}

}  // namespace
