// The light and scene tools and the preview beside every page, under Wine: sliders, boxes and
// buttons driven from tables, the host's callbacks counted, the preview's pixels read back.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <prsht.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "colour_page_ids.h"
#include "environment_page_ids.h"
#include "light_page_ids.h"
#include "orvanta.h"
#include "preview_ids.h"
#include "tools/editor_harness_win32.h"

namespace {

struct LightTool : OpenTool<Lgt> {
    explicit LightTool(const Prepare& prepare = nullptr) : OpenTool(CreateLgt("Lampe"), prepare) {}
};

struct SceneTool : OpenTool<Env> {
    explicit SceneTool(bool full = true, const Prepare& prepare = nullptr)
        : OpenTool(CreateEnv("Halle"), prepare,
                   full ? Opener(ToolCalls::open) : ToolCalls::openShort) {}
};

// ---- the sheets ----------------------------------------------------------------------------

TEST(SceneTools, SheetsShowTheirPagesInTheUsersLanguage) {
    const char* lightTitles[2][3] = {{"Typ", "Spot", "Farbe"}, {"Type", "Spot", "Colour"}};
    const char* sceneTitles[2][5] = {
        {"Lichtquellen", "Ambient", "Hintergrund", "Nebel 1", "Nebel 2"},
        {"Lights", "Ambient", "Background", "Fog 1", "Fog 2"}};
    const int language = german() ? 0 : 1;
    const char* modes[] = {"colour", "shaded", "raytrace"};
    const int modeButtons[] = {IDC_PREVIEW_COLOUR, IDC_PREVIEW_SHADED, IDC_PREVIEW_RAYTRACE};
    auto shootPages = [&](const SheetDriver& sheet, int pages, const std::string& tool) {
        for (int page = 0; page < pages; ++page) {
            sheet.selectPage(page);
            for (int mode = 0; mode < 3; ++mode) {
                sheet.click(modeButtons[mode]);
                if (mode == 2) Sleep(1500);  // the raytraced rows arrive
                sheet.screenshot(tool + "_" + std::to_string(page) + "_" + modes[mode] + "_" +
                                 shownLanguage());
            }
        }
    };
    {
        LightTool light;
        EXPECT_EQ(windowText(light.sheet.sheet()),
                  german() ? "Lichtquellenwerkzeug" : "Light Tool");
        for (int i = 0; i < 3; ++i) EXPECT_EQ(light.sheet.pageTitle(i), lightTitles[language][i]);
        EXPECT_EQ(light.sheet.text(IDC_PREVIEW_SHADED), german() ? "&Schattiert" : "S&haded");
        shootPages(light.sheet, 3, "light_tool");
        light.sheet.click(IDC_PREVIEW_CUBE);  // the cube, shaded and raytraced
        for (int mode = 1; mode < 3; ++mode) {
            light.sheet.click(modeButtons[mode]);
            if (mode == 2) Sleep(1500);
            light.sheet.screenshot(std::string("light_tool_cube_") + modes[mode]);
        }
    }
    {
        SceneTool scene;
        EXPECT_EQ(windowText(scene.sheet.sheet()),
                  german() ? "Szenenwerkzeug Halle" : "Scene Tool Halle");
        for (int i = 0; i < 5; ++i) EXPECT_EQ(scene.sheet.pageTitle(i), sceneTitles[language][i]);
        shootPages(scene.sheet, 5, "scene_tool");
    }
    SceneTool shortSheet(false);
    EXPECT_EQ(shortSheet.sheet.pageCount(), 2);
}

// ---- sliders: what each shows on opening, and the field each sets --------------------------

// Positions read on opening: the inverse mappings.
struct Opened {
    int page, slider, position;
};

template <typename Record>
void expectOpened(OpenTool<Record>& tool, const std::vector<Opened>& opened) {
    for (const Opened& o : opened) {
        SCOPED_TRACE(o.slider);
        tool.sheet.selectPage(o.page);
        EXPECT_EQ(tool.sheet.sliderPosition(o.slider), o.position);
    }
}

// (3, 0, 4) at distance 10, rescaled twice: x 6 and z 40 / sqrt(52), then again from there.
constexpr double kRescaledX = 7.342823073671613, kRescaledZ = 6.0277021994238655;

TEST(SceneTools, LightSlidersOpenAtTheRecordAndSetTheirFields) {
    LightTool tool([](Lgt& l) {
        l.gloss = 0.25, l.angle = 30, l.sharpness = 32, l.falloff = 0.5;
        l.position = {3, 0, 4}, l.target = {0, 0, 0};  // distance 5
        l.color = {0.2, 0.4, 0.6};
    });
    expectOpened(tool, {{0, IDC_LIGHT_GLOSS, 75},
                        {1, IDC_SPOT_DISTANCE, 50},
                        {1, IDC_SPOT_ANGLE, 60},
                        {1, IDC_SPOT_SHARPNESS, 96},
                        {1, IDC_SPOT_FALLOFF, 50},
                        {2, IDC_COLOUR_RED, 80},
                        {2, IDC_COLOUR_GREEN, 60},
                        {2, IDC_COLOUR_BLUE, 40},
                        {2, IDC_COLOUR_HUE, 150},
                        {2, IDC_COLOUR_SATURATION, 33},
                        {2, IDC_COLOUR_VALUE, 40}});
    EXPECT_EQ(tool.sheet.text(IDC_COLOUR_HUE_SHOWN), "210");
    EXPECT_EQ(tool.sheet.text(IDC_COLOUR_SATURATION_SHOWN), "66%");  // 0.666.. x 100 truncated
    tool.sheet.selectPage(1);
    EXPECT_EQ(tool.sheet.text(IDC_SPOT_DISTANCE_SHOWN), "5.0");
    const std::vector<SliderCase> cases = {
        {0, IDC_LIGHT_GLOSS, 30, 0.7, nullptr, 0},
        {1, IDC_SPOT_ANGLE, 45, 45, "45", IDC_SPOT_ANGLE_SHOWN},
        {1, IDC_SPOT_SHARPNESS, 64, 64, "50%", IDC_SPOT_SHARPNESS_SHOWN},
        {1, IDC_SPOT_FALLOFF, 75, 0.25, "25%", IDC_SPOT_FALLOFF_SHOWN},
        // Once per notification (the thumb's position, then the end): from (3, 0, 4) x 6, z
        // rescaled with x already 6, then once more from there; close to 10, not exactly.
        {1, IDC_SPOT_DISTANCE, 0, kRescaledZ, "9.5", IDC_SPOT_DISTANCE_SHOWN},
        {1, IDC_SPOT_DISTANCE, 100, kUnchecked, "9.5", IDC_SPOT_DISTANCE_SHOWN},  // 0: stays
    };
    slideAll<Lgt>(tool, cases, [](const Lgt& l, const SliderCase& c) {
        switch (c.slider) {
            case IDC_LIGHT_GLOSS: return l.gloss;
            case IDC_SPOT_ANGLE: return l.angle;
            case IDC_SPOT_SHARPNESS: return l.sharpness;
            case IDC_SPOT_FALLOFF: return l.falloff;
            default: return l.position.z;  // the distance: z after the rescaling
        }
    });
    EXPECT_NEAR(tool.record->position.x, kRescaledX, 1e-12);
}

TEST(SceneTools, SceneSlidersOpenAtTheRecordAndSetTheirFields) {
    SceneTool tool(true, [](Env& e) {
        e.brightness = 0.8, e.fogDensity = 0.25, e.fogNear = 2.25, e.fogFar = 7.5;
    });
    expectOpened(tool, {{0, IDC_ENV_BRIGHTNESS, 120},
                        {3, IDC_FOG_DENSITY, 75},
                        {3, IDC_FOG_NEAR, 75},
                        {1, IDC_COLOUR_VALUE, 82}});  // ambient 0.18 grey
    const std::vector<SliderCase> cases = {
        {0, IDC_ENV_BRIGHTNESS, 0, 2.0, "200%", IDC_ENV_BRIGHTNESS_SHOWN},
        {3, IDC_FOG_DENSITY, 90, 0.1, "10%", IDC_FOG_DENSITY_SHOWN},
        {3, IDC_FOG_NEAR, 50, 2.5, "2.50", IDC_FOG_NEAR_SHOWN},
        {3, IDC_FOG_NEAR, 100, 2.0, "2.00", IDC_FOG_NEAR_SHOWN},
        {3, IDC_FOG_FAR, 0, 8.0, "8.00", IDC_FOG_FAR_SHOWN},  // the top: a fraction of 1, once
    };
    slideAll<Env>(tool, cases, [](const Env& e, const SliderCase& c) {
        if (c.page == 0) return e.brightness;
        switch (c.slider) {
            case IDC_FOG_DENSITY: return e.fogDensity;
            case IDC_FOG_NEAR: return e.fogNear;
            default: return e.fogFar;
        }
    });
}

// The six colour sliders in step, on the light's "Farbe" page.
TEST(SceneTools, ColourSlidersStayInStep) {
    LightTool tool([](Lgt& l) { l.color = {1, 0, 0}; });
    tool.sheet.selectPage(2);
    struct Step {
        int slider, position;
        OrvVec3 colour;
        int hue, saturation;  // the HSV sliders' positions afterwards
        const char* hueShown;
    } steps[] = {
        {IDC_COLOUR_GREEN, 0, {1, 1, 0}, 300, 0, "60"},  // red wins the tie: 60 degrees
        {IDC_COLOUR_RED, 100, {0, 1, 0}, 240, 0, "120"},
        {IDC_COLOUR_HUE, 120, {0, 0, 1}, 120, 0, "240"},
        {IDC_COLOUR_HUE, 0, {0, 0, 1}, 120, 0, "240"},           // a full turn leaves the colour
        {IDC_COLOUR_SATURATION, 100, {1, 1, 1}, 360, 100, "0"},  // grey snaps hue and saturation
        {IDC_COLOUR_HUE, 200, {1, 1, 1}, 360, 100, "0"},         // and stays grey
        {IDC_COLOUR_VALUE, 50, {0.5, 0.5, 0.5}, 360, 100, "0"},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(testing::Message() << s.slider << " at " << s.position);
        tool.sheet.slide(s.slider, s.position);
        EXPECT_NEAR(tool.record->color.x, s.colour.x, 1e-12);
        EXPECT_NEAR(tool.record->color.y, s.colour.y, 1e-12);
        EXPECT_NEAR(tool.record->color.z, s.colour.z, 1e-12);
        EXPECT_EQ(tool.sheet.sliderPosition(IDC_COLOUR_HUE), s.hue);
        EXPECT_EQ(tool.sheet.sliderPosition(IDC_COLOUR_SATURATION), s.saturation);
        EXPECT_EQ(tool.sheet.text(IDC_COLOUR_HUE_SHOWN), s.hueShown);
    }
    EXPECT_EQ(tool.sheet.text(IDC_COLOUR_VALUE_SHOWN), "50%");
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(tool.sheet.page(), IDC_COLOUR_COPY_DIFFUSE)));
}

// ---- boxes and buttons ---------------------------------------------------------------------

TEST(SceneTools, BoxesAndButtonsSetTheirFields) {
    LightTool light;
    light.sheet.click(IDC_LIGHT_POINT);
    EXPECT_EQ(light.record->type, 2);
    light.sheet.click(IDC_LIGHT_PARALLEL);
    EXPECT_EQ(light.record->type, 0);
    const int live = light.reasons(1);
    light.sheet.click(IDC_LIGHT_SHADOW);
    EXPECT_EQ(light.record->shadow, 0u);
    EXPECT_EQ(light.reasons(1), live + 1);  // a box calls the host back at once

    SceneTool scene(true, [](Env& e) {
        e.standardLights = 1 | 2 | 128;
        e.fogNear = 0.5;
    });
    scene.sheet.click(IDC_ENV_TOP);
    EXPECT_EQ(scene.record->standardLights, 1u | 2 | 32 | 128);
    scene.sheet.click(IDC_ENV_STANDARD);  // off: the seven boxes disabled, their bits kept
    EXPECT_EQ(scene.record->standardLights, 2u | 32 | 128);
    for (int id : {IDC_ENV_CAMERA, IDC_ENV_FRONT, IDC_ENV_BOTTOM, IDC_ENV_LIGHTS_GROUP})
        EXPECT_FALSE(scene.sheet.enabled(id)) << id;
    scene.sheet.click(IDC_ENV_STANDARD);
    EXPECT_TRUE(scene.sheet.enabled(IDC_ENV_FRONT));

    scene.sheet.selectPage(3);
    const struct {
        int button;
        double nearDistance, farDistance;
        int32_t type;
    } fog[] = {
        {IDC_FOG_NEAR_LESS, 0.5, 10, 0},  // nothing below the whole part 0
        {IDC_FOG_NEAR_MORE, 1.5, 10, 0}, {IDC_FOG_FAR_LESS, 1.5, 9, 0},
        {IDC_FOG_FAR_MORE, 1.5, 10, 0},  {IDC_FOG_EXP2, 1.5, 10, 2},
        {IDC_FOG_EXP, 1.5, 10, 1},       {IDC_FOG_LINEAR, 1.5, 10, 0},
    };
    for (const auto& f : fog) {
        scene.sheet.click(f.button);
        EXPECT_EQ(scene.record->fogNear, f.nearDistance) << f.button;
        EXPECT_EQ(scene.record->fogFar, f.farDistance) << f.button;
        EXPECT_EQ(scene.record->fogType, f.type) << f.button;
    }
    scene.sheet.click(IDC_FOG_EXP);  // "Nah", "Fern" and their buttons only for linear fog
    for (int id : {IDC_FOG_NEAR, IDC_FOG_FAR_MORE}) EXPECT_FALSE(scene.sheet.enabled(id));
}

// ---- the host's callbacks ------------------------------------------------------------------

TEST(SceneTools, HostHearsOfLiveChangesOkAndCancel) {
    {
        LightTool tool;
        tool.sheet.slide(IDC_LIGHT_GLOSS, 20);  // thumb position and end: two live changes
        EXPECT_EQ(tool.reasons(1), 2);
        tool.sheet.drag(IDC_LIGHT_GLOSS, 10);  // "Anz. akt." on: the host follows the thumb
        EXPECT_EQ(tool.reasons(1), 3);
        tool.sheet.click(IDC_PREVIEW_SHOW_ACTIVE);
        tool.sheet.drag(IDC_LIGHT_GLOSS, 40);  // off: the preview follows, the host does not
        EXPECT_EQ(tool.reasons(1), 3);
        EXPECT_EQ(tool.record->gloss, 0.6);
        tool.sheet.selectPage(1);
        tool.sheet.press(PSBTN_OK);  // Apply on every page created
        EXPECT_TRUE(tool.closed());
        EXPECT_EQ(tool.reasons(0), 2);
        EXPECT_EQ(tool.record->gloss, 0.6);
    }
    for (bool close : {false, true}) {
        SceneTool tool;
        Env before = *tool.record;
        before.tool = nullptr;
        tool.sheet.slide(IDC_ENV_BRIGHTNESS, 10);
        tool.sheet.click(IDC_ENV_FRONT);
        tool.sheet.selectPage(4);
        tool.sheet.slide(IDC_COLOUR_RED, 0);
        const int live = tool.reasons(1);
        if (close)
            tool.sheet.close();
        else
            tool.sheet.press(PSBTN_CANCEL);
        EXPECT_TRUE(tool.closed());
        EXPECT_EQ(memcmp(&before, tool.record, sizeof before), 0);  // the snapshot restored
        EXPECT_EQ(tool.reasons(1), live + 1);  // and the host told to redraw it
        EXPECT_EQ(tool.reasons(0), 0);
    }
}

// ---- the preview's pictures ----------------------------------------------------------------

TEST(SceneTools, PreviewShowsTheColourAndARedSphere) {
    LightTool tool([](Lgt& l) { l.color = {1, 0, 0}, l.position = {0, 0, 4}; });
    tool.sheet.selectPage(2);
    tool.sheet.click(IDC_PREVIEW_COLOUR);
    EXPECT_FALSE(tool.sheet.enabled(IDC_PREVIEW_SPHERE));
    EXPECT_FALSE(tool.sheet.enabled(IDC_PREVIEW_LOCAL_LIGHT));
    tool.sheet.slide(IDC_COLOUR_GREEN, 50);  // (1, 0.5, 0): 255, 127, 0
    EXPECT_EQ(tool.sheet.controlPixel(IDC_PREVIEW, 40, 40), RGB(255, 127, 0));
    tool.sheet.slide(IDC_COLOUR_GREEN, 100);

    RECT box;
    GetClientRect(GetDlgItem(tool.sheet.page(), IDC_PREVIEW), &box);
    const int cx = box.right / 2, cy = box.bottom / 2;
    for (int mode : {IDC_PREVIEW_SHADED, IDC_PREVIEW_RAYTRACE}) {
        SCOPED_TRACE(mode);
        tool.sheet.click(mode);
        if (mode == IDC_PREVIEW_SHADED)
            tool.sheet.click(IDC_PREVIEW_LOCAL_LIGHT);  // the light itself
        EXPECT_TRUE(tool.sheet.enabled(IDC_PREVIEW_SPHERE));
        // Red where the sphere is (ambient grey and the highlight add a little of the others).
        COLORREF centre = 0;
        auto red = [&] {
            centre = tool.sheet.controlPixel(IDC_PREVIEW, cx, cy);
            return GetRValue(centre) > std::max(GetGValue(centre), GetBValue(centre)) + 80;
        };
        EXPECT_TRUE(tool.host.waitUntil(red, 5000))
            << std::hex << centre;  // the raytraced rows arrive
        tool.sheet.screenshot(std::string("red_light_") +
                              (mode == IDC_PREVIEW_SHADED ? "shaded" : "raytrace"));
        EXPECT_EQ(tool.sheet.controlPixel(IDC_PREVIEW, 2, 2), RGB(255, 255, 255));  // background
    }
}

// MatPreview into a white bitmap: the diffuse colour, or the surface image upright and cropped
// on light grey. The image (side 4) has pixel (x, row) = (60 x, 60 row, 200), bottom row first.
TEST(SceneTools, MatPreviewDrawsTheFlatThumbnail) {
    Mat* mat = CreateMat("Probe");
    mat->diffuse = {0.5, 0.25, 1};
    std::vector<uint8_t> image(4 * 4 * 4);
    for (int row = 0; row < 4; ++row) {
        for (int x = 0; x < 4; ++x) {
            uint8_t* p = &image[4 * (row * 4 + x)];
            p[0] = uint8_t(60 * x), p[1] = uint8_t(60 * row), p[2] = 200, p[3] = 255;
        }
    }
    const struct {
        bool textured;
        int size, x, y;  // a device pixel, relative to the square at (2, 3)
        COLORREF expected;
    } cases[] = {
        {false, 6, 0, 0, RGB(127, 63, 255)},  {false, 6, 5, 5, RGB(127, 63, 255)},
        {false, 6, 6, 6, RGB(255, 255, 255)},  // outside the square
        {true, 6, 1, 0, RGB(60, 180, 200)},    // the top row shows the image's last row
        {true, 6, 3, 3, RGB(180, 0, 200)},    {true, 6, 4, 0, RGB(192, 192, 192)},
        {true, 6, 5, 5, RGB(192, 192, 192)},  // the image is smaller: grey around it
        {true, 2, 1, 1, RGB(60, 120, 200)},   // larger: cropped, not scaled
        {true, 2, 2, 0, RGB(255, 255, 255)},
    };
    const MemoryPicture picture(16, 16);
    const HDC dc = picture.dc();
    for (const auto& c : cases) {
        mat->slots[0].pixels = c.textured ? image.data() : nullptr;
        mat->slots[0].side = c.textured ? 4 : 0;
        mat->slots[0].pixelBytes = c.textured ? uint32_t(image.size()) : 0;
        PatBlt(dc, 0, 0, 16, 16, WHITENESS);
        EXPECT_EQ(MatPreview(mat, 2, 3, c.size, dc), 1);
        EXPECT_EQ(GetPixel(dc, 2 + c.x, 3 + c.y), c.expected)
            << c.textured << " " << c.size << " " << c.x << "," << c.y;
    }
    mat->slots[0].pixels = nullptr;  // the test's own buffer
    mat->slots[0].side = mat->slots[0].pixelBytes = 0;
    DisposeMat(mat);
}

// "Auswahl": the system's colour dialog, opened with the page's colour; its choice is stored.
// A user in another thread types red, green and blue into it and presses OK.
TEST(SceneTools, ChoosingAColourStoresIt) {
    LightTool tool([](Lgt& l) { l.color = {0.2, 0.4, 0.6}; });
    tool.sheet.selectPage(2);
    const HWND sheet = tool.sheet.sheet();
    std::string shown;
    std::thread user([&] {
        const HWND dialog = ownedDialog(sheet);
        if (!dialog) return;
        shown = windowText(GetDlgItem(dialog, 706));  // the dialog's red, green, blue edits
        const char* typed[] = {"255", "0", "51"};
        for (int i = 0; i < 3; ++i) SetDlgItemTextA(dialog, 706 + i, typed[i]);
        SendMessageA(GetDlgItem(dialog, IDOK), BM_CLICK, 0, 0);
    });
    tool.sheet.click(IDC_COLOUR_CHOOSE);
    user.join();
    EXPECT_EQ(shown, "51");  // 0.2 x 255
    EXPECT_DOUBLE_EQ(tool.record->color.x, 1.0);
    EXPECT_DOUBLE_EQ(tool.record->color.y, 0.0);
    EXPECT_DOUBLE_EQ(tool.record->color.z, 0.2);
    EXPECT_EQ(tool.sheet.sliderPosition(IDC_COLOUR_BLUE), 80);
    EXPECT_EQ(tool.reasons(1), 1);
}

}  // namespace
