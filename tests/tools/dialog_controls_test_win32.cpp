// The control helpers on real controls: a hidden window with one child of each kind, found
// by id as in a dialog.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <string>

#include "support/box_recorder.h"
#include "tools/dialog_controls_win32.h"

namespace {

enum : int { kEdit = 101, kSlider, kPlainSlider, kCheck, kCombo, kLabel };

class DialogControls : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES};
        ASSERT_TRUE(InitCommonControlsEx(&controls));
        dialog_ = CreateWindowExA(0, "STATIC", "", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr,
                                  nullptr, nullptr, nullptr);
        ASSERT_NE(dialog_, nullptr);
        const struct {
            const char* cls;
            DWORD style;
            int id;
        } children[] = {
            {"EDIT", ES_AUTOHSCROLL, kEdit},
            {TRACKBAR_CLASSA, TBS_AUTOTICKS | TBS_ENABLESELRANGE, kSlider},
            {TRACKBAR_CLASSA, TBS_ENABLESELRANGE, kPlainSlider},
            {"BUTTON", BS_AUTO3STATE, kCheck},
            {"COMBOBOX", CBS_DROPDOWNLIST, kCombo},
            {"STATIC", SS_LEFT, kLabel},
        };
        for (const auto& c : children)
            ASSERT_NE(
                CreateWindowExA(0, c.cls, "", WS_CHILD | WS_VISIBLE | c.style, 0, 0, 200, 30,
                                dialog_, reinterpret_cast<HMENU>(INT_PTR(c.id)), nullptr, nullptr),
                nullptr)
                << c.cls;
    }
    void TearDown() override {
        if (dialog_) DestroyWindow(dialog_);
    }

    LRESULT send(int id, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
        return SendDlgItemMessageA(dialog_, id, message, wParam, lParam);
    }
    std::string text(int id) {
        char out[orv::kLocalisedMax] = "";
        GetDlgItemTextA(dialog_, id, out, int(sizeof out));
        return out;
    }

    HWND dialog_ = nullptr;
};

TEST_F(DialogControls, EditsAndSliders) {
    using F = orv::NumberFormat;
    const struct {
        double value;
        F format;
        const char* shown;
        double read;
    } edits[] = {
        {12.25, F::general, "12.25", 12.25},
        {1.5, F::twoDecimals, "1.50", 1.5},
        {0.5, F::percent, "50%", 50.0},
    };
    for (const auto& e : edits) {
        orv::setEditNumber(dialog_, kEdit, e.value, e.format);
        EXPECT_EQ(text(kEdit), e.shown);
        EXPECT_EQ(orv::readEditNumber(dialog_, kEdit), e.read) << e.shown;
    }
    SetDlgItemTextA(dialog_, kEdit, "1234567890123456789012345");
    EXPECT_EQ(orv::readEditNumber(dialog_, kEdit), 12345678901234567890.0);

    orv::setupSlider(dialog_, kSlider, 4.5, -10.5, 100.4);
    EXPECT_EQ(send(kSlider, TBM_GETRANGEMIN), -11);
    EXPECT_EQ(send(kSlider, TBM_GETRANGEMAX), 100);
    EXPECT_EQ(send(kSlider, TBM_GETPAGESIZE), 5);
    EXPECT_EQ(send(kSlider, TBM_GETNUMTICS), 2 + 22);  // the ends and every 5th from -11 on

    const struct {
        double value;
        int position;
    } positions[] = {{-2.5, -3}, {2.5, 3}, {2.4, 2}};
    for (const auto& p : positions) {
        orv::setSliderPosition(dialog_, kSlider, p.value);
        EXPECT_EQ(send(kSlider, TBM_GETPOS), p.position) << p.value;
        EXPECT_EQ(orv::sliderPosition(dialog_, kSlider), p.position) << p.value;
    }
    orv::setSliderSelection(dialog_, kSlider, 10.5, 19.5);
    EXPECT_EQ(send(kSlider, TBM_GETSELSTART), 11);
    EXPECT_EQ(send(kSlider, TBM_GETSELEND), 20);

    // Tics and a selection from before are cleared.
    orv::addSliderTic(dialog_, kPlainSlider, 3.5);
    orv::setSliderSelection(dialog_, kPlainSlider, 1, 2);
    orv::setupSliderWithoutTics(dialog_, kPlainSlider, 2.5, 0, 30);
    orv::addSliderTic(dialog_, kPlainSlider, 7.5);
    EXPECT_EQ(send(kPlainSlider, TBM_GETRANGEMIN), 0);
    EXPECT_EQ(send(kPlainSlider, TBM_GETRANGEMAX), 30);
    EXPECT_EQ(send(kPlainSlider, TBM_GETPAGESIZE), 3);
    EXPECT_EQ(send(kPlainSlider, TBM_GETSELSTART), 0);
    EXPECT_EQ(send(kPlainSlider, TBM_GETSELEND), 0);
    EXPECT_EQ(send(kPlainSlider, TBM_GETNUMTICS), 2 + 1);
    EXPECT_EQ(send(kPlainSlider, TBM_GETTIC, 0), 8);
}

TEST_F(DialogControls, ChecksCombosTextsAndErrors) {
    const struct {
        int32_t value;
        UINT state;
        int32_t read;
    } checks[] = {{1, BST_CHECKED, 1}, {0, BST_UNCHECKED, 0}, {-7, BST_CHECKED, 1}};
    for (const auto& c : checks) {
        orv::setCheck(dialog_, kCheck, c.value);
        EXPECT_EQ(IsDlgButtonChecked(dialog_, kCheck), c.state) << c.value;
        EXPECT_EQ(orv::readCheck(dialog_, kCheck), c.read) << c.value;
    }
    CheckDlgButton(dialog_, kCheck, BST_INDETERMINATE);
    EXPECT_EQ(orv::readCheck(dialog_, kCheck), 0);

    for (const char* item : {"a", "b", "c"})
        send(kCombo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item));
    for (int index : {2, 0, -1}) {
        orv::setComboSelection(dialog_, kCombo, index);
        EXPECT_EQ(send(kCombo, CB_GETCURSEL), index);
        EXPECT_EQ(orv::readComboSelection(dialog_, kCombo), index);
    }

    BoxRecorder boxes(orv::kIdOk);  // also makes the built-in string table reachable
    orv::setLocalisedText(dialog_, kLabel, 106);
    EXPECT_EQ(text(kLabel), "Szene");

    char* expected = nullptr;
    FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, ERROR_FILE_NOT_FOUND, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<LPSTR>(&expected), 0, nullptr);
    ASSERT_NE(expected, nullptr);
    const std::string expectedText = expected;
    LocalFree(expected);
    SetLastError(ERROR_FILE_NOT_FOUND);
    orv::reportLastError(dialog_);
    ASSERT_EQ(BoxRecorder::shown().size(), 1u);
    const ShownMessage& box = BoxRecorder::shown()[0];
    EXPECT_EQ(box.owner, dialog_);
    EXPECT_EQ(box.caption, "Error");
    EXPECT_EQ(box.text, expectedText);
    EXPECT_EQ(box.style, orv::kMbOk | orv::kMbIconInformation);
}

}  // namespace
