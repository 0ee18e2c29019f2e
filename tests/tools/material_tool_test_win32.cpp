// The material tool under Wine: its sheet in both modes, the sliders both ways, the texture
// page working on its own copy of the slot until OK, Cancel, and DisposeMat on an open tool.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <prsht.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "appearance/bmp_writer.h"
#include "colour_page_ids.h"
#include "material_page_ids.h"
#include "orvanta.h"
#include "preview_ids.h"
#include "support/box_watch.h"
#include "texture_text_ids.h"
#include "tools/editor_harness_win32.h"

namespace {

namespace fs = std::filesystem;

enum { kLightPage = 4, kTexturePage = 5, kPositionPage = 6 };

struct MaterialTool : OpenTool<Mat> {
    explicit MaterialTool(const Prepare& prepare = nullptr)
        : OpenTool(CreateMat("Stahl"), prepare) {}
    const OrvTextureSlot& surface() const { return record->slots[0]; }
};

// A 3 x 2 red bitmap: not square, so loading it asks or follows `padded`.
std::string redPicture() {
    const fs::path path = fs::temp_directory_path() / "orvanta-red.bmp";
    bmp24(3, 2, [](int, int) { return 0xFF0000u; }).write(path.string());
    return path.string();
}

// A dialog owned by owner with one of titles.
HWND titled(HWND owner, const std::vector<std::string>& titles) {
    return ownedDialog(owner, [&](HWND w) {
        return std::find(titles.begin(), titles.end(), windowText(w)) != titles.end();
    });
}

const std::vector<std::string> kImageTitles = {"Bild laden", "Load Image"};
const std::vector<std::string> kTextTitles = {"Texturtext", "Texture Text"};

// Texture pixel (column, row) of a slot, row 0 the image's bottom row, as 0x00BBGGRR.
uint32_t texel(const OrvTextureSlot& slot, uint32_t column, uint32_t row) {
    const uint8_t* p = slot.pixels + 4 * (size_t(row) * slot.side + column);
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
}

// ---- the sheet -----------------------------------------------------------------------------

TEST(MaterialTool, SheetShowsItsPagesInTheUsersLanguage) {
    const std::vector<std::string> titles[2] = {
        {"Diffus", "Glanz", "Ambient", "Emission", "Licht", "Textur", "Position"},
        {"Diffuse", "Gloss", "Ambient", "Emission", "Light", "Texture", "Position"}};
    const std::vector<std::string> expertTitles[2] = {
        {"Oberfl\344che", "Reflektion", "Transparenz", "Struktur", "Position"},
        {"Surface", "Reflection", "Transparency", "Structure", "Position"}};
    const int language = german() ? 0 : 1;
    const std::string picture = redPicture();
    {
        MaterialTool tool([&](Mat& m) { LoadMatTexture(&m, 0, picture.c_str(), 1); });
        EXPECT_EQ(windowText(tool.sheet.sheet()), german() ? "Materialwerkzeug" : "Material Tool");
        EXPECT_EQ(tool.sheet.pageCount(), 7);
        for (int page = 0; page < 7; ++page) {
            EXPECT_EQ(tool.sheet.pageTitle(page), titles[language][page]);
            tool.sheet.selectPage(page);
            tool.sheet.screenshot("material_tool_" + std::to_string(page) + "_" + shownLanguage());
        }
        tool.sheet.selectPage(kTexturePage);  // "Bild": the slot's own image
        EXPECT_EQ(tool.sheet.text(IDC_PREVIEW_COLOUR), german() ? "&Bild" : "&Image");
        tool.sheet.click(IDC_PREVIEW_COLOUR);
        EXPECT_EQ(tool.sheet.controlPixel(IDC_PREVIEW, 1, 1), RGB(255, 0, 0));
        EXPECT_EQ(tool.sheet.controlPixel(IDC_PREVIEW, 1, 3), RGB(0, 0, 0));  // padded below
        tool.sheet.screenshot("material_tool_texture_image_" + shownLanguage());
        tool.sheet.click(IDC_TEXTURE_TEXT);
        const HWND text = titled(tool.sheet.sheet(), kTextTitles);
        ASSERT_NE(text, nullptr);
        SheetDriver(text, true).type(IDC_TEXT_TEXT, "Orvanta");
        SheetDriver(text, true).screenshot("texture_text_" + shownLanguage());
    }
    SetExpertMode(1);
    MaterialTool expert;
    SetExpertMode(0);
    EXPECT_EQ(expert.sheet.pageCount(), 10);
    for (int page = 5; page < 10; ++page) {
        EXPECT_EQ(expert.sheet.pageTitle(page), expertTitles[language][page - 5]);
        expert.sheet.selectPage(page);
        expert.sheet.screenshot("material_tool_expert_" + std::to_string(page) + "_" +
                                shownLanguage());
    }
}

// ---- sliders -------------------------------------------------------------------------------

TEST(MaterialTool, SlidersMapBothWays) {
    MaterialTool tool([](Mat& m) {
        m.shininess = 25, m.opacity = 0.25, m.reflection = 0.25, m.refraction = 1.5;
        m.slots[0].size = 0.5;  // a tile edge of 1
        m.textureRotation = {30, 0, 0};
        m.texturePosition = {0.25, 0, 0};
    });
    const struct {
        int page, slider, position;
    } opened[] = {
        {kLightPage, IDC_MATERIAL_GLOSS, 50},        {kLightPage, IDC_MATERIAL_TRANSPARENCY, 25},
        {kLightPage, IDC_MATERIAL_REFLECTION, 75},   {kLightPage, IDC_MATERIAL_REFRACTION, 100},
        {kPositionPage, IDC_POSITION_ROTATE_X, -30}, {kPositionPage, IDC_POSITION_MOVE_X, -25},
    };
    for (const auto& o : opened) {
        SCOPED_TRACE(o.slider);
        tool.sheet.selectPage(o.page);
        EXPECT_EQ(tool.sheet.sliderPosition(o.slider), o.position);
    }
    // One position of each slider: the scales themselves are PageValues' (native).
    const std::vector<SliderCase> cases = {
        {kLightPage, IDC_MATERIAL_GLOSS, 50, 25, "25.00", IDC_MATERIAL_GLOSS_SHOWN},
        {kLightPage, IDC_MATERIAL_TRANSPARENCY, 100, 1, "0%", IDC_MATERIAL_TRANSPARENCY_SHOWN},
        {kLightPage, IDC_MATERIAL_REFLECTION, 0, 1, "100%", IDC_MATERIAL_REFLECTION_SHOWN},
        {kLightPage, IDC_MATERIAL_REFRACTION, 0, 2.5, "2.50", IDC_MATERIAL_REFRACTION_SHOWN},
        {kPositionPage, IDC_POSITION_ROTATE_X, -180, 180, "180", IDC_POSITION_ROTATE_X_SHOWN},
        {kPositionPage, IDC_POSITION_ROTATE_Z, 45, -45, "-45", IDC_POSITION_ROTATE_Z_SHOWN},
        {kPositionPage, IDC_POSITION_MOVE_X, 100, -1, "-1.00", IDC_POSITION_MOVE_X_SHOWN},
        {kPositionPage, IDC_POSITION_MOVE_Y, -50, 0.5, "0.50", IDC_POSITION_MOVE_Y_SHOWN},
    };
    slideAll<Mat>(tool, cases, [](const Mat& m, const SliderCase& c) {
        switch (c.slider) {
            case IDC_MATERIAL_GLOSS: return m.shininess;  // 1053 on the light page only
            case IDC_MATERIAL_TRANSPARENCY: return m.opacity;
            case IDC_MATERIAL_REFLECTION: return c.page == kLightPage ? m.reflection : 0.0;
            case IDC_MATERIAL_REFRACTION: return m.refraction;
            case IDC_POSITION_ROTATE_X: return m.textureRotation.x;
            case IDC_POSITION_ROTATE_Z: return m.textureRotation.z;
            case IDC_POSITION_MOVE_X: return m.texturePosition.x;
            default: return m.texturePosition.y;
        }
    });
    tool.sheet.selectPage(kLightPage);
    tool.sheet.click(IDC_MATERIAL_CAST_SHADOW);
    tool.sheet.click(IDC_MATERIAL_RECEIVE_SHADOW);
    EXPECT_EQ(tool.record->castShadow, 0u);
    EXPECT_EQ(tool.record->receiveShadow, 0u);
    tool.sheet.click(IDC_MATERIAL_RECEIVE_SHADOW);
    EXPECT_EQ(tool.record->receiveShadow, 1u);
    tool.sheet.selectPage(kPositionPage);
    tool.sheet.click(IDC_POSITION_ZERO);
    EXPECT_EQ(tool.record->textureRotation.x, 0);
    EXPECT_EQ(tool.record->texturePosition.y, 0);
    EXPECT_EQ(tool.sheet.sliderPosition(IDC_POSITION_MOVE_Y), 0);
    EXPECT_EQ(tool.sheet.text(IDC_POSITION_ROTATE_Z_SHOWN), "0");
}

// "Wert", "Größe" and "Höhe/Breite" change the page's slot only; OK brings them to the record.
TEST(MaterialTool, TextureSlidersReachTheRecordOnOk) {
    MaterialTool tool([](Mat& m) { m.slots[0].size = 1.5, m.slots[0].intensity = 0.5; });
    tool.sheet.selectPage(kTexturePage);
    EXPECT_EQ(tool.sheet.sliderPosition(IDC_TEXTURE_SIZE), 50);  // the reference length is 3
    EXPECT_EQ(tool.sheet.sliderPosition(IDC_TEXTURE_INTENSITY), 50);
    const struct {
        int slider, position;  // 0: type the edge
        const char *shown, *edge;
    } steps[] = {
        {IDC_TEXTURE_SIZE, 1, "2.00", "6"},    {IDC_TEXTURE_SIZE, 100, "0.02", "0.06"},
        {IDC_TEXTURE_SIZE, 0, "0.02", "0.06"},                       // the top changes nothing
        {IDC_TEXTURE_SIZE, 51, "1.00", "3"},   {0, 0, "1.00", "4"},  // R becomes 4
        {IDC_TEXTURE_SIZE, 26, "1.50", "6"},   {IDC_TEXTURE_INTENSITY, 75, "25%", nullptr},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(testing::Message() << s.slider << " at " << s.position);
        if (s.slider) {
            tool.sheet.slide(s.slider, s.position);
        } else {
            tool.sheet.type(IDC_TEXTURE_EDGE, "4");
            EXPECT_EQ(tool.sheet.sliderPosition(IDC_TEXTURE_SIZE), 50);
        }
        const int display = s.slider == IDC_TEXTURE_INTENSITY ? IDC_TEXTURE_INTENSITY_SHOWN
                                                              : IDC_TEXTURE_SIZE_SHOWN;
        EXPECT_EQ(tool.sheet.text(display), s.shown);
        if (s.edge) {
            EXPECT_EQ(tool.sheet.text(IDC_TEXTURE_EDGE), s.edge);
        }
    }
    EXPECT_EQ(tool.surface().size, 1.5);
    EXPECT_EQ(tool.host.calls().size(), 0u);
    tool.sheet.press(PSBTN_OK);
    ASSERT_TRUE(tool.closed());
    EXPECT_DOUBLE_EQ(tool.surface().size, 3.0);
    EXPECT_DOUBLE_EQ(tool.surface().intensity, 0.25);
}

// ---- the texture page's boxes and buttons --------------------------------------------------

// Every box and radio on a padded 3 x 2 picture: the baked-in ones rebuild the image without
// asking again; OK copies the fields and a new buffer, grey of the inverted red: 170.
TEST(MaterialTool, TextureBoxesRebuildWithoutAskingAgain) {
    const std::string picture = redPicture();
    MaterialTool tool([&](Mat& m) { ASSERT_EQ(LoadMatTexture(&m, 0, picture.c_str(), 1), 1); });
    const uint8_t* before = tool.surface().pixels;
    tool.sheet.selectPage(kTexturePage);
    EXPECT_EQ(tool.sheet.text(IDC_TEXTURE_SOURCE), picture);
    const struct {
        int id;
        uint32_t OrvTextureSlot::*field;
        uint32_t value;
    } clicks[] = {
        {IDC_TEXTURE_GREY, &OrvTextureSlot::grey, 1},
        {IDC_TEXTURE_INVERTED, &OrvTextureSlot::inverted, 1},
        {IDC_TEXTURE_MIRROR_X, &OrvTextureSlot::mirrorX, 1},
        {IDC_TEXTURE_MIRROR_Y, &OrvTextureSlot::mirrorY, 1},
        {IDC_TEXTURE_TILE_X, &OrvTextureSlot::tileX, 0},
        {IDC_TEXTURE_TILE_Y, &OrvTextureSlot::tileY, 0},
        {IDC_TEXTURE_COVER, &OrvTextureSlot::mode, 1},
        {IDC_TEXTURE_NEAREST, &OrvTextureSlot::filter, 1},
        {IDC_TEXTURE_PLANE, &OrvTextureSlot::projection, 0},
        {IDC_TEXTURE_CYLINDER, &OrvTextureSlot::projection, 2},
        {IDC_TEXTURE_SPHERE, &OrvTextureSlot::projection, 3},
    };
    BoxWatch questions;
    for (const auto& c : clicks) {
        tool.sheet.click(c.id);
        EXPECT_EQ(tool.sheet.checked(c.id), c.value != 0 || c.field == &OrvTextureSlot::projection);
    }
    EXPECT_TRUE(questions.stop().empty());
    EXPECT_EQ(tool.surface().pixels, before);  // the record waits for OK
    EXPECT_EQ(tool.surface().grey, 0u);
    tool.sheet.press(PSBTN_OK);
    ASSERT_TRUE(tool.closed());
    const OrvTextureSlot& s = tool.surface();
    for (const auto& c : clicks) {  // the last click on each field holds
        bool last = true;
        for (const auto* later = &c + 1; later != std::end(clicks); ++later)
            last = last && later->field != c.field;
        if (last) {
            EXPECT_EQ(s.*c.field, c.value) << c.id;
        }
    }
    ASSERT_NE(s.pixels, nullptr);
    EXPECT_NE(s.pixels, before);
    EXPECT_EQ(s.side, 4u);
    EXPECT_EQ(s.pixelBytes, 64u);
    // Mirrored top to bottom, the red rows are at the bottom, the black padding on top.
    EXPECT_EQ(texel(s, 2, 0), 0xAAAAAAu);
    EXPECT_EQ(texel(s, 3, 3), 0xFFFFFFu);
    EXPECT_EQ(tool.reasons(1), 0);
}

// "Bild" on an empty slot: the file dialog, then the not-square question answered Yes.
TEST(MaterialTool, ImageButtonLoadsAPictureAfterTheQuestion) {
    const std::string picture = redPicture();
    MaterialTool tool;
    tool.sheet.selectPage(kTexturePage);
    const HWND sheet = tool.sheet.sheet();
    std::atomic<bool> asked{false};
    std::thread user([&] {
        const HWND files = titled(sheet, kImageTitles);
        if (!files) return;
        chooseFile(files, picture);
        for (int i = 0; i < 500 && IsWindow(files); ++i) Sleep(10);
        if (HWND question = titled(sheet, kImageTitles)) {
            asked = GetDlgItem(question, IDYES) != nullptr;
            PostMessageA(question, WM_COMMAND, IDYES, 0);
        }
    });
    tool.sheet.click(IDC_TEXTURE_IMAGE);
    user.join();
    EXPECT_TRUE(asked);
    EXPECT_EQ(tool.sheet.text(IDC_TEXTURE_SOURCE), picture);
    tool.sheet.press(PSBTN_OK);
    ASSERT_TRUE(tool.closed());
    EXPECT_EQ(tool.surface().source, 1u);
    EXPECT_STREQ(tool.surface().imagePath, picture.c_str());
    EXPECT_EQ(tool.surface().padded, 1u);
    EXPECT_EQ(tool.surface().side, 4u);
}

// The text dialog: text, size and placement drawn at once; "Hintergrund" through the colour
// dialog; "Abbrechen" gives back the fields as the dialog opened; "Entfernen" empties the slot.
TEST(MaterialTool, TextDialogDrawsTheSlotsText) {
    MaterialTool tool;
    tool.sheet.selectPage(kTexturePage);
    tool.sheet.click(IDC_TEXTURE_TEXT);
    HWND window = titled(tool.sheet.sheet(), kTextTitles);
    ASSERT_NE(window, nullptr);
    SheetDriver text(window, true);
    // Typed: a multi-line edit tells of a change only then, not when its text is set.
    SendMessageA(GetDlgItem(window, IDC_TEXT_TEXT), EM_REPLACESEL, FALSE,
                 reinterpret_cast<LPARAM>("Orvanta\r\nZwei"));
    text.type(IDC_TEXT_SIZE, "64");
    text.click(IDC_TEXT_CENTRE);
    text.click(IDC_TEXT_BOTTOM);
    EXPECT_EQ(tool.sheet.text(IDC_TEXTURE_SOURCE), "Orvanta  Zwei");
    std::thread user([&] {
        if (HWND colours = ownedDialog(window)) {
            const char* typed[] = {"0", "0", "255"};
            for (int i = 0; i < 3; ++i) SetDlgItemTextA(colours, 706 + i, typed[i]);
            SendMessageA(GetDlgItem(colours, IDOK), BM_CLICK, 0, 0);
        }
    });
    text.click(IDC_TEXT_BACKGROUND);
    user.join();
    text.click(IDC_TEXT_OK);
    EXPECT_FALSE(IsWindow(window));

    tool.sheet.click(IDC_TEXTURE_TEXT);  // again, and cancelled
    window = titled(tool.sheet.sheet(), kTextTitles);
    ASSERT_NE(window, nullptr);
    SheetDriver again(window, true);
    tool.sheet.click(IDC_PREVIEW_SHOW_ACTIVE);  // off: typing is drawn when the box is left
    SendMessageA(GetDlgItem(window, IDC_TEXT_TEXT), EM_REPLACESEL, FALSE,
                 reinterpret_cast<LPARAM>("Weg"));
    EXPECT_EQ(tool.sheet.text(IDC_TEXTURE_SOURCE), "Orvanta  Zwei");
    again.leave(IDC_TEXT_TEXT);
    EXPECT_NE(tool.sheet.text(IDC_TEXTURE_SOURCE), "Orvanta  Zwei");
    again.type(IDC_TEXT_SIZE, "8");
    again.click(IDC_TEXT_TOP);
    again.click(IDC_TEXT_CANCEL);
    EXPECT_FALSE(IsWindow(window));
    tool.sheet.press(PSBTN_OK);
    ASSERT_TRUE(tool.closed());
    const OrvTextureSlot& s = tool.surface();
    EXPECT_EQ(s.source, 2u);
    EXPECT_STREQ(s.text, "Orvanta\r\nZwei");
    EXPECT_EQ(s.textSize, 64u);
    EXPECT_EQ(s.textAlignH, 1u);
    EXPECT_EQ(s.textAlignV, 8u);
    EXPECT_EQ(s.textBackground, 0xFF0000u);  // blue as a Win32 colour
    ASSERT_EQ(s.side, 64u);
    EXPECT_EQ(texel(s, 0, 63), 0xFF0000u);  // the top left corner: background

    MaterialTool removed([&](Mat& m) {
        std::memcpy(&m.slots[0], &s, sizeof s);  // the text slot without the first one's pixels
        m.slots[0].pixels = nullptr;
        m.slots[0].pixelBytes = 0;
    });
    removed.sheet.selectPage(kTexturePage);
    removed.sheet.click(IDC_TEXTURE_REMOVE);
    EXPECT_EQ(removed.sheet.text(IDC_TEXTURE_SOURCE), "");
    removed.sheet.press(PSBTN_OK);
    ASSERT_TRUE(removed.closed());
    EXPECT_EQ(removed.surface().source, 0u);
    EXPECT_EQ(removed.surface().pixels, nullptr);
}

// ---- the host's side -----------------------------------------------------------------------

// Changes on every page, then Cancel: the material equals a copy taken before the tool opened,
// and the host hears of the restore with reason 1. The texture page called nothing.
TEST(MaterialTool, CancelGivesBackTheMaterialAsItWas) {
    const std::string picture = redPicture();
    MaterialTool tool([&](Mat& m) { LoadMatTexture(&m, 0, picture.c_str(), 0); });
    uint32_t size = 0;
    GetMat(tool.record, nullptr, &size);
    std::vector<uint8_t> before(size);
    GetMat(tool.record, before.data(), &size);
    tool.sheet.slide(IDC_COLOUR_RED, 0);
    tool.sheet.selectPage(kLightPage);
    tool.sheet.click(IDC_MATERIAL_CAST_SHADOW);
    tool.sheet.selectPage(kPositionPage);
    tool.sheet.slide(IDC_POSITION_ROTATE_Y, 90);
    const int live = tool.reasons(1);
    EXPECT_EQ(live, 5);  // two notifications per slide, one per click
    tool.sheet.selectPage(kTexturePage);
    tool.sheet.click(IDC_TEXTURE_GREY);
    tool.sheet.slide(IDC_TEXTURE_INTENSITY, 100);
    EXPECT_EQ(tool.reasons(1), live);
    EXPECT_EQ(tool.record->castShadow, 0u);
    EXPECT_FALSE(MatEqual(tool.record, 0, before.data(), 1));
    tool.sheet.press(PSBTN_CANCEL);
    ASSERT_TRUE(tool.closed());
    EXPECT_TRUE(MatEqual(tool.record, 0, before.data(), 1));
    EXPECT_EQ(tool.reasons(1), live + 1);
    EXPECT_EQ(tool.reasons(0), 0);
}

}  // namespace
