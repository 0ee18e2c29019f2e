// The material library window as a host opens it (OpenMatLib on a thread of the host's) and a
// user works it by messages: every command, the callback's reasons and answers, the duplicate
// refusal, the thumbnails switch, and the library file written back on closing.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "library_window_ids.h"
#include "orvanta.h"
#include "support/box_watch.h"
#include "support/stored_defaults.h"
#include "tools/editor_harness_win32.h"

namespace {

namespace fs = std::filesystem;

// What the host heard, and what it answers to a deletion.
struct HostLog {
    std::mutex lock;
    std::vector<int32_t> reasons;
    std::atomic<int32_t> allowDelete{1};
};

int32_t hostCallback(int32_t reason, Mat*, void* data) {
    auto& log = *static_cast<HostLog*>(data);
    std::lock_guard<std::mutex> hold(log.lock);
    log.reasons.push_back(reason);
    return reason == 1 ? log.allowDelete.load() : 1;
}

// A library file of the given materials, as GetMat writes them.
void writeLibrary(const fs::path& path, const std::vector<const char*>& names) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (size_t i = 0; i < names.size(); ++i) {
        Mat* mat = CreateMat(names[i]);
        mat->diffuse = {0.2 + 0.3 * double(i), 0.4, 0.8 - 0.3 * double(i)};
        uint32_t size = 0;
        GetMat(mat, nullptr, &size);
        std::vector<char> block(size);
        GetMat(mat, block.data(), &size);
        out.write(reinterpret_cast<const char*>(&size), 4);
        out.write(block.data(), size);
        DisposeMat(mat);
    }
}

// Entries in a library file, counted as loading reads them.
int entries(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
    int n = 0;
    for (size_t at = 0; at + 4 <= bytes.size(); ++n) {
        uint32_t size;
        std::memcpy(&size, &bytes[at], 4);
        at += 4 + size;
    }
    return n;
}

class LibraryWindow : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / "orvanta-library";
        fs::create_directories(folder_);
        file_ = folder_ / "Metalle.msl";
        writeLibrary(file_, {"Kupfer", "Zink"});
    }
    // Opens the window on a host thread with "LibName" set to libName.
    void open(const fs::path& libName) {
        const std::string text = libName.string();
        storeDefault("LibName", text.c_str(), uint32_t(text.size() + 1));
        host_ =
            std::thread([this] { result_ = OpenMatLib(nullptr, 1, 2, 3, 4, hostCallback, &log_); });
        // Shown once its lists are filled.
        for (int i = 0; i < 500 && !(window_ && IsWindowVisible(window_)); ++i, Sleep(10))
            window_ = FindWindowA("OrvantaDLL:MatLibMain", nullptr);
        ASSERT_NE(window_, nullptr);
    }
    void TearDown() override {
        if (IsWindow(window_)) PostMessageA(window_, WM_CLOSE, 0, 0);
        if (host_.joinable()) host_.join();
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    HWND list(int id) const { return GetDlgItem(window_, id); }
    int count(int id) const { return int(SendMessageA(list(id), LVM_GETITEMCOUNT, 0, 0)); }
    std::string name(int id, int item) const {
        char text[80] = "";
        LVITEMA data{};
        data.pszText = text;
        data.cchTextMax = sizeof text;
        SendMessageA(list(id), LVM_GETITEMTEXTA, item, reinterpret_cast<LPARAM>(&data));
        return text;
    }
    void select(int id, int item) const {
        LVITEMA data{};
        data.stateMask = data.state = LVIS_SELECTED | LVIS_FOCUSED;
        SendMessageA(list(id), LVM_SETITEMSTATE, item, reinterpret_cast<LPARAM>(&data));
    }
    std::vector<int32_t> reasons() {
        std::lock_guard<std::mutex> hold(log_.lock);
        return log_.reasons;
    }

    fs::path folder_, file_;
    HostLog log_;
    std::thread host_;
    std::atomic<int32_t> result_{-1};
    HWND window_ = nullptr;
};

TEST_F(LibraryWindow, CommandsKeepTheListsAndTellTheHost) {
    open(file_);
    const SheetDriver user(window_, true);
    ASSERT_EQ(count(IDC_LIB_LIBRARY), 2);
    EXPECT_EQ(name(IDC_LIB_LIBRARY, 0), "Kupfer");  // sorted by name
    Sleep(2000);                                    // the thumbnails are traced
    user.screenshot("material_library_thumbnails_" + shownLanguage());

    user.click(IDC_LIB_NEW);
    ASSERT_EQ(count(IDC_LIB_SCENE), 1);
    EXPECT_EQ(name(IDC_LIB_SCENE, 0), "Material");
    user.type(IDC_LIB_NAME, "Stahl");
    user.click(IDC_LIB_RENAME);
    EXPECT_EQ(name(IDC_LIB_SCENE, 0), "Stahl");

    // A copy goes once; the second would duplicate it.
    BoxWatch boxes;
    select(IDC_LIB_SCENE, 0);
    user.click(IDC_LIB_TO_LIBRARY);
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 3);
    select(IDC_LIB_SCENE, 0);
    user.click(IDC_LIB_TO_LIBRARY);
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 3);
    select(IDC_LIB_LIBRARY, 2);  // "Zink"
    user.click(IDC_LIB_TO_SCENE);
    EXPECT_EQ(count(IDC_LIB_SCENE), 2);
    EXPECT_EQ(boxes.stop().size(), 1u);

    select(IDC_LIB_SCENE, 0);
    user.click(IDC_LIB_ASSIGN);
    log_.allowDelete = 0;  // the host keeps its material
    select(IDC_LIB_SCENE, 0);
    user.click(IDC_LIB_DELETE);
    EXPECT_EQ(count(IDC_LIB_SCENE), 2);
    log_.allowDelete = 1;
    select(IDC_LIB_SCENE, 0);
    user.click(IDC_LIB_DELETE);
    EXPECT_EQ(count(IDC_LIB_SCENE), 1);
    select(IDC_LIB_LIBRARY, 0);
    user.click(IDC_LIB_DELETE);  // from the library: nobody is asked
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 2);
    EXPECT_EQ(user.text(IDC_LIB_NAME), "");

    user.click(IDC_LIB_THUMBNAILS);
    EXPECT_EQ(GetWindowLongA(list(IDC_LIB_LIBRARY), GWL_STYLE) & LVS_TYPEMASK, LVS_LIST);
    user.screenshot("material_library_list_" + shownLanguage());
    user.click(IDC_LIB_THUMBNAILS);

    user.click(IDC_LIB_CLOSE);
    host_.join();
    EXPECT_EQ(result_, 1);
    const std::vector<int32_t> heard = {0, 2, 0, 3, 1, 1, 4};
    EXPECT_EQ(reasons(), heard);
    // Written back from the start: two entries, then the old third's tail is read on into.
    EXPECT_GE(entries(file_), 2);
}

// A "LibName" whose file is gone opens nothing and says nothing; "Datei..." then opens another
// library (the file dialog answered by a user thread) and stores it as "LibName".
TEST_F(LibraryWindow, MissingFileIsSkippedAndAnotherChosen) {
    open(folder_ / "weg.msl");
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 0);
    const std::string chosen = file_.string();
    std::thread user([&] {
        if (const HWND dialog = ownedDialog(window_)) chooseFile(dialog, chosen);
    });
    SheetDriver(window_, true).click(IDC_LIB_FILE);
    user.join();
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 2);
    char stored[256] = "";
    DWORD size = sizeof stored;
    RegGetValueA(HKEY_CURRENT_USER, "Software\\OrvantaDLL", "LibName", RRF_RT_REG_SZ, nullptr,
                 stored, &size);
    EXPECT_EQ(fs::path(stored), file_);
    select(IDC_LIB_LIBRARY, 0);  // the Delete key in a list deletes
    SendMessageA(list(IDC_LIB_LIBRARY), WM_KEYDOWN, VK_DELETE, 0);
    EXPECT_EQ(count(IDC_LIB_LIBRARY), 1);
}

}  // namespace
