// Localised dialogs, window trees and menus from the test program's own resources, and the
// DLL loading the translation file beside itself when it is attached.
#include "i18n/localise_win32.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "i18n/localise.h"
#include "i18n_test_support.h"
#include "localise_test_ids.h"
#include "orvanta.h"

void* stringTableModule() {
    return GetModuleHandleA("OrvantaDLL.dll");
}

namespace {

const char kTranslations[] =
    "$990.001 Material Tool\n$990.002 Gloss\n$990.003 Width\n$990.004 Close\n"
    "$990.020 File\n$990.021 Open\n$990.022 Recent\n$990.023 Clear List\n"
    "$990.030 Outer $990.031\n$990.031 Nested\n$990.032 Below\n";

std::string windowText(HWND window) {
    char text[orv::kLocalisedMax] = {};
    GetWindowTextA(window, text, int(sizeof text));
    return text;
}

std::string menuText(HMENU menu, int position) {
    char text[orv::kLocalisedMax] = {};
    GetMenuStringA(menu, UINT(position), text, int(sizeof text), MF_BYPOSITION);
    return text;
}

INT_PTR CALLBACK passiveDialog(HWND, UINT, WPARAM, LPARAM) {
    return FALSE;
}

class LocaliseWin32 : public ::testing::Test {
protected:
    void SetUp() override {
        folder_.write("Orvanta.ltx", kTranslations);
        orv::loadTranslationTable(folder_.file("Orvanta.dll").c_str());
    }
    void TearDown() override { orv::freeTranslationTable(); }
    TempFolder folder_;
};

TEST_F(LocaliseWin32, DialogCaptionsAreTranslatedOrLoseTheirTag) {
    HWND dialog = orv::createLocalisedDialog(GetModuleHandleA(nullptr), IDD_LOCALISE_TEST, nullptr,
                                             passiveDialog, 0);
    ASSERT_NE(dialog, nullptr) << "CreateDialogParam failed, error " << GetLastError();
    EXPECT_EQ(windowText(dialog), "Material Tool");
    const struct {
        int id;
        const char* text;
    } controls[] = {
        {IDC_TRANSLATED, "Gloss"},  {IDC_WITH_UNIT, "Width mm"}, {IDC_UNTRANSLATED, "H\xF6he mm"},
        {IDC_UNTAGGED, "Preis$ 5"}, {IDC_BUTTON, "Close"},
    };
    for (const auto& c : controls)
        EXPECT_EQ(windowText(GetDlgItem(dialog, c.id)), c.text) << "control " << c.id;
    DestroyWindow(dialog);
}

TEST_F(LocaliseWin32, WindowTreeIsLocalisedOnceDownToTheGrandchildren) {
    auto create = [](const char* text, DWORD style, HWND parent) {
        return CreateWindowExA(0, "STATIC", text, style, 0, 0, 100, 20, parent, nullptr,
                               GetModuleHandleA(nullptr), nullptr);
    };
    HWND top = create("Fenster $990.030", WS_POPUP, nullptr);
    HWND child = create("Breite $990.003 mm", WS_CHILD, top);
    HWND grandchild = create("Unten $990.032", WS_CHILD, child);
    ASSERT_TRUE(top && child && grandchild);
    orv::localiseWindow(top);
    EXPECT_EQ(windowText(top), "Outer $990.031");  // a translation is not translated again
    EXPECT_EQ(windowText(child), "Width mm");
    EXPECT_EQ(windowText(grandchild), "Below");
    DestroyWindow(top);
}

TEST_F(LocaliseWin32, MenuItemsAndSubmenusAreLocalised) {
    HMENU menu = orv::loadLocalisedMenu(GetModuleHandleA(nullptr), IDM_LOCALISE_TEST);
    ASSERT_NE(menu, nullptr) << "LoadMenu failed, error " << GetLastError();
    HMENU file = GetSubMenu(menu, 0);
    ASSERT_NE(file, nullptr);
    HMENU recent = GetSubMenu(file, 2);
    ASSERT_NE(recent, nullptr);

    EXPECT_EQ(menuText(menu, 0), "File");
    const struct {
        HMENU menu;
        int position;
        UINT id;
        const char* text;
    } items[] = {
        {file, 0, IDM_OPEN, "Open"},
        {file, 3, IDM_EXIT, "Beenden"},
        {file, 4, IDM_ABOUT,
         "\xDC"
         "ber"},
        {recent, 0, IDM_CLEAR, "Clear List"},
    };
    for (const auto& item : items) {
        EXPECT_EQ(menuText(item.menu, item.position), item.text) << "item " << item.id;
        EXPECT_EQ(GetMenuItemID(item.menu, item.position), item.id);
    }
    EXPECT_EQ(menuText(file, 2), "Recent");
    EXPECT_EQ(GetMenuItemCount(file), 5);
    EXPECT_TRUE(GetMenuState(file, 1, MF_BYPOSITION) & MF_SEPARATOR);
    DestroyMenu(menu);
}

// A copy of the DLL in a folder of its own, with a translation file beside it: the copy reads
// the file when it is attached, so its default scene name is the translated string 106.
TEST(LocalisationAttach, DllReadsTheTranslationFileBesideItself) {
    HMODULE dll = GetModuleHandleA("OrvantaDLL.dll");
    ASSERT_NE(dll, nullptr);
    char dllPath[MAX_PATH] = {};
    ASSERT_GT(GetModuleFileNameA(dll, dllPath, MAX_PATH), 0u);

    TempFolder folder;
    const std::string copyPath = folder.file("OrvantaDLL.dll");
    ASSERT_TRUE(CopyFileA(dllPath, copyPath.c_str(), FALSE)) << GetLastError();
    folder.write("OrvantaDLL.ltx", "$000.106 Scene\r\n$000.155 Out of memory\r\n");

    HMODULE copy = LoadLibraryA(copyPath.c_str());
    ASSERT_NE(copy, nullptr) << "LoadLibrary failed, error " << GetLastError();
    ASSERT_NE(copy, dll) << "the copy is the already loaded DLL";
    const auto createEnv = reinterpret_cast<decltype(&CreateEnv)>(
        reinterpret_cast<void*>(GetProcAddress(copy, "CreateEnv")));
    const auto disposeEnv = reinterpret_cast<decltype(&DisposeEnv)>(
        reinterpret_cast<void*>(GetProcAddress(copy, "DisposeEnv")));
    ASSERT_TRUE(createEnv && disposeEnv);
    Env* env = createEnv(nullptr);
    ASSERT_NE(env, nullptr);
    EXPECT_STREQ(reinterpret_cast<const char*>(env), "Scene");  // the name opens the record
    disposeEnv(env);
    FreeLibrary(copy);
}

}  // namespace
