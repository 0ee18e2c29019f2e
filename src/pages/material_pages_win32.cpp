// The material tool: the four colour pages (dialog 185), "Licht" (109: gloss, transparency,
// reflection, refraction, shadows), one texture page per slot (110; only the surface outside
// expert mode) and "Position" (250: the texture's rotation and offset). Every page but the
// texture pages writes the live material; Cancel brings back the whole material as it was when
// the tool opened, images included.
#include <cmath>
#include <cstddef>
#include <iterator>

#include "appearance/material_copy.h"
#include "colour_page_ids.h"
#include "core/record_lifecycle.h"
#include "material_page_ids.h"
#include "pages/colour_page.h"
#include "pages/pages.h"
#include "pages/texture_page_win32.h"
#include "tools/dialog_controls_win32.h"
#include "tools/tool_block.h"

namespace orv {

namespace {

Mat& material(void* record) {
    return *static_cast<Mat*>(record);
}
const Mat& material(const void* record) {
    return *static_cast<const Mat*>(record);
}

// ---- "Licht" -------------------------------------------------------------------------------

constexpr SliderField kLightSliders[] = {
    {IDC_MATERIAL_GLOSS, IDC_MATERIAL_GLOSS_SHOWN, kGlossSlider, 10, NumberFormat::twoDecimals, 1,
     [](const void* r) { return std::sqrt(material(r).shininess); },
     [](void* r, double v) { material(r).shininess = v * v; },
     [](const void* r) { return material(r).shininess; }},
    {IDC_MATERIAL_TRANSPARENCY, IDC_MATERIAL_TRANSPARENCY_SHOWN, kOpacitySlider, 10,
     NumberFormat::percent, 1, [](const void* r) { return material(r).opacity; },
     [](void* r, double v) { material(r).opacity = v; },
     [](const void* r) { return 1 - material(r).opacity; }},
    {IDC_MATERIAL_REFLECTION, IDC_MATERIAL_REFLECTION_SHOWN, kPercentSlider, 10,
     NumberFormat::percent, 1, [](const void* r) { return material(r).reflection; },
     [](void* r, double v) { material(r).reflection = v; }, nullptr},
    {IDC_MATERIAL_REFRACTION, IDC_MATERIAL_REFRACTION_SHOWN, kRefractionSlider, 15,
     NumberFormat::twoDecimals, 1, [](const void* r) { return material(r).refraction - 1; },
     [](void* r, double v) { material(r).refraction = v + 1; },
     [](const void* r) { return material(r).refraction; }},
};

class MaterialLightPage final : public PreviewPage {
public:
    explicit MaterialLightPage(ToolBlock& tool)
        : PreviewPage(tool, Edited::material, kLightSliders, std::size(kLightSliders)) {}

private:
    void fillControls(void* record) override {
        setCheck(window(), IDC_MATERIAL_CAST_SHADOW, int32_t(material(record).castShadow));
        setCheck(window(), IDC_MATERIAL_RECEIVE_SHADOW, int32_t(material(record).receiveShadow));
    }

    void controlClicked(void* record, int id) override {
        if (!record) return;
        uint32_t* flag = id == IDC_MATERIAL_CAST_SHADOW      ? &material(record).castShadow
                         : id == IDC_MATERIAL_RECEIVE_SHADOW ? &material(record).receiveShadow
                                                             : nullptr;
        if (!flag) return;
        stopPreviewRaytrace(window());
        *flag = uint32_t(readCheck(window(), id));
        changed(false);
    }
};

// ---- "Position" ----------------------------------------------------------------------------

// The offset sliders move the texture by up to one tile edge of the surface slot either way.
double tileEdge(const void* r) {
    return 2 * std::fabs(material(r).slots[0].size);
}
double offsetShare(double offset, const void* r) {
    const double edge = tileEdge(r);
    return edge != 0 ? offset / edge : 0;
}
// The slider's value (minus the position x 0.01) times the tile edge, in that order.
double offsetOf(double share, const void* r) {
    return share * 2 * std::fabs(material(r).slots[0].size);
}

constexpr SliderField kPositionSliders[] = {
    {IDC_POSITION_ROTATE_X, IDC_POSITION_ROTATE_X_SHOWN, kRotationSlider, 15, NumberFormat::whole,
     1, [](const void* r) { return material(r).textureRotation.x; },
     [](void* r, double v) { material(r).textureRotation.x = v; }, nullptr},
    {IDC_POSITION_ROTATE_Y, IDC_POSITION_ROTATE_Y_SHOWN, kRotationSlider, 15, NumberFormat::whole,
     1, [](const void* r) { return material(r).textureRotation.y; },
     [](void* r, double v) { material(r).textureRotation.y = v; }, nullptr},
    {IDC_POSITION_ROTATE_Z, IDC_POSITION_ROTATE_Z_SHOWN, kRotationSlider, 15, NumberFormat::whole,
     1, [](const void* r) { return material(r).textureRotation.z; },
     [](void* r, double v) { material(r).textureRotation.z = v; }, nullptr},
    {IDC_POSITION_MOVE_X, IDC_POSITION_MOVE_X_SHOWN, kOffsetSlider, 10, NumberFormat::twoDecimals,
     1, [](const void* r) { return offsetShare(material(r).texturePosition.x, r); },
     [](void* r, double v) { material(r).texturePosition.x = offsetOf(v, r); },
     [](const void* r) { return material(r).texturePosition.x; }},
    {IDC_POSITION_MOVE_Y, IDC_POSITION_MOVE_Y_SHOWN, kOffsetSlider, 10, NumberFormat::twoDecimals,
     1, [](const void* r) { return offsetShare(material(r).texturePosition.y, r); },
     [](void* r, double v) { material(r).texturePosition.y = offsetOf(v, r); },
     [](const void* r) { return material(r).texturePosition.y; }},
    {IDC_POSITION_MOVE_Z, IDC_POSITION_MOVE_Z_SHOWN, kOffsetSlider, 10, NumberFormat::twoDecimals,
     1, [](const void* r) { return offsetShare(material(r).texturePosition.z, r); },
     [](void* r, double v) { material(r).texturePosition.z = offsetOf(v, r); },
     [](const void* r) { return material(r).texturePosition.z; }},
};

class PositionPage final : public PreviewPage {
public:
    explicit PositionPage(ToolBlock& tool)
        : PreviewPage(tool, Edited::material, kPositionSliders, std::size(kPositionSliders)) {}

private:
    void controlClicked(void* record, int id) override {
        if (!record || id != IDC_POSITION_ZERO) return;
        stopPreviewRaytrace(window());
        material(record).textureRotation = Vec3{0, 0, 0};
        material(record).texturePosition = Vec3{0, 0, 0};
        for (const SliderField& f : kPositionSliders) showSlider(f, record);
        changed(false);
    }
};

// ---- the sheet -----------------------------------------------------------------------------

// The colour pages in sheet order; the index is also the custom colour each page sets.
constexpr ColourDesign kColourPages[] = {
    {offsetof(Mat, diffuse), Edited::material, 0, false},
    {offsetof(Mat, specular), Edited::material, 1, true},
    {offsetof(Mat, ambient), Edited::material, 2, true},
    {offsetof(Mat, emission), Edited::material, 3, true},
};

template <int Page>
ToolPage* makeMaterialColourPage(ToolBlock& tool, const PageDesign&) {
    return makeColourPage(tool, kColourPages[Page]);
}

template <int Slot>
ToolPage* makeSlotPage(ToolBlock& tool, const PageDesign&) {
    return makeTexturePage(tool, Slot);
}

ToolPage* makeLightPage(ToolBlock& tool, const PageDesign&) {
    return new MaterialLightPage(tool);
}
ToolPage* makePositionPage(ToolBlock& tool, const PageDesign&) {
    return new PositionPage(tool);
}

constexpr PageDesign kColourAndLight[] = {
    {IDD_COLOUR_MATERIAL, 121, makeMaterialColourPage<0>},  // "Diffus"
    {IDD_COLOUR_MATERIAL, 124, makeMaterialColourPage<1>},  // "Glanz"
    {IDD_COLOUR_MATERIAL, 120, makeMaterialColourPage<2>},  // "Ambient"
    {IDD_COLOUR_MATERIAL, 122, makeMaterialColourPage<3>},  // "Emission"
    {IDD_MATERIAL_LIGHT, 123, makeLightPage},               // "Licht"
};

constexpr PageDesign kPages[] = {
    kColourAndLight[0],
    kColourAndLight[1],
    kColourAndLight[2],
    kColourAndLight[3],
    kColourAndLight[4],
    {IDD_TEXTURE, 133, makeSlotPage<0>},            // "Textur"
    {IDD_TEXTURE_POSITION, 129, makePositionPage},  // "Position"
};

constexpr PageDesign kExpertPages[] = {
    kColourAndLight[0],
    kColourAndLight[1],
    kColourAndLight[2],
    kColourAndLight[3],
    kColourAndLight[4],
    {IDD_TEXTURE, 126, makeSlotPage<0>},            // "Oberfläche"
    {IDD_TEXTURE, 125, makeSlotPage<1>},            // "Reflektion"
    {IDD_TEXTURE, 127, makeSlotPage<2>},            // "Transparenz"
    {IDD_TEXTURE, 128, makeSlotPage<3>},            // "Struktur"
    {IDD_TEXTURE_POSITION, 129, makePositionPage},  // "Position"
};

}  // namespace

extern const ToolFamily kMaterialTool = {
    91,   // "Materialwerkzeug"
    165,  // the sheet's icon
    false,
    true,
    false,  // one record
    [](const ToolBlock&, const PageDesign** out) {
        // Read as the sheet is built: a change of mode shows in the next sheet opened.
        if (expertMode()) {
            *out = kExpertPages;
            return size_t(std::size(kExpertPages));
        }
        *out = kPages;
        return size_t(std::size(kPages));
    },
    [](void* record) { return &static_cast<Mat*>(record)->tool; },
    [](const void* record) -> void* { return takeMaterialSnapshot(material(record)); },
    [](void* record, const void* snapshot) {
        restoreMaterialSnapshot(material(record), material(snapshot));
    },
    [](void* snapshot) { freeMaterialSnapshot(static_cast<Mat*>(snapshot)); },
};

}  // namespace orv
