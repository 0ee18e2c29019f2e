// The texture page (dialog 110), one per slot: the slot's strength and tile size, how its
// image is built (grey, inverted, mirrored), mixed, filtered, tiled and projected, and where the
// image comes from: a bitmap file, a text (its own dialog) or nothing. The page works on a
// material of its own holding its copy of the slot, which its preview shows; OK copies the
// slot into the record, Cancel leaves the record's slot untouched. Until then the host hears
// of nothing.
#include "pages/texture_page_win32.h"

#include <cstring>

#include "appearance/bitmap_dialog.h"
#include "appearance/material_copy.h"
#include "appearance/texture_image.h"
#include "core/record_lifecycle.h"
#include "material_page_ids.h"
#include "pages/preview_page_win32.h"
#include "pages/slot_choice.h"
#include "pages/texture_text_dialog_win32.h"
#include "tools/dialog_controls_win32.h"

namespace orv {

namespace {

Mat& material(void* record) {
    return *static_cast<Mat*>(record);
}

// A check box and the slot's flag; ticking a baked-in one builds the image again.
constexpr struct {
    int id;
    uint32_t OrvTextureSlot::*field;
    bool rebuilds;
} kChecks[] = {
    {IDC_TEXTURE_GREY, &OrvTextureSlot::grey, true},
    {IDC_TEXTURE_INVERTED, &OrvTextureSlot::inverted, true},
    {IDC_TEXTURE_TILE_X, &OrvTextureSlot::tileX, false},
    {IDC_TEXTURE_TILE_Y, &OrvTextureSlot::tileY, false},
    {IDC_TEXTURE_MIRROR_X, &OrvTextureSlot::mirrorX, true},
    {IDC_TEXTURE_MIRROR_Y, &OrvTextureSlot::mirrorY, true},
};

constexpr SlotChoice kRadios[] = {
    {IDC_TEXTURE_MIX, &OrvTextureSlot::mode, 0},
    {IDC_TEXTURE_COVER, &OrvTextureSlot::mode, 1},
    {IDC_TEXTURE_LINEAR, &OrvTextureSlot::filter, 0},
    {IDC_TEXTURE_NEAREST, &OrvTextureSlot::filter, 1},
    {IDC_TEXTURE_PLANE, &OrvTextureSlot::projection, 0},
    {IDC_TEXTURE_BOX, &OrvTextureSlot::projection, 1},
    {IDC_TEXTURE_CYLINDER, &OrvTextureSlot::projection, 2},
    {IDC_TEXTURE_SPHERE, &OrvTextureSlot::projection, 3},
};

class TexturePage final : public PreviewPage, private TextTextureHost {
public:
    TexturePage(ToolBlock& tool, int slot)
        : PreviewPage(tool, Edited::material),
          index_(slot),
          shown_(createMat(nullptr)),
          text_(shown_->slots[slot], *this) {}

    ~TexturePage() override {
        text_.close();
        // A sheet left behind by a quit message still has its preview: stop its workers before
        // the material they read goes.
        if (IsWindow(window())) stopPreviewRaytrace(window());
        disposeMat(shown_);
    }

private:
    OrvTextureSlot& slot() { return shown_->slots[index_]; }

    void created() override {
        PreviewPage::created();
        setupSlider(window(), IDC_TEXTURE_INTENSITY, 10, kPercentSlider.low, kPercentSlider.high);
        setupSlider(window(), IDC_TEXTURE_SIZE, 10, 0, 100);
        if (void* r = record()) copyMaterialBody(*shown_, material(r));
        reference_ = 2 * slot().size;
    }

    // The record with this page's slot in place of its own.
    const Mat* previewMaterial(const void* record) override {
        stopPreviewRaytrace(window());  // its workers read the material about to change
        copyMaterialBody(*shown_, *static_cast<const Mat*>(record), index_);
        return shown_;
    }
    int previewSlot() const override { return index_; }

    void fillControls(void*) override {
        const OrvTextureSlot& s = slot();
        setSliderPosition(window(), IDC_TEXTURE_INTENSITY, kPercentSlider.position(s.intensity));
        showNumber(IDC_TEXTURE_INTENSITY_SHOWN, s.intensity, NumberFormat::percent);
        setSliderPosition(window(), IDC_TEXTURE_SIZE, textureSizePosition(s.size, reference_));
        showSize();
        for (const auto& c : kChecks) setCheck(window(), c.id, int32_t(s.*c.field));
        for (const auto& r : kRadios) setCheck(window(), r.id, s.*r.field == r.value);
        showSource();
    }

    // "Größe" as a share of the reference length (1 in the slider's middle), "Höhe/Breite" as
    // the tile edge.
    void showSize() {
        const double size = slot().size;
        showNumber(IDC_TEXTURE_SIZE_SHOWN, reference_ != 0 ? size / reference_ * 2 : 0,
                   NumberFormat::twoDecimals);
        showNumber(IDC_TEXTURE_EDGE, 2 * size, NumberFormat::general);
    }

    // The image's path or the text, its line breaks as blanks.
    void showSource() {
        char shown[sizeof slot().text + 1] = {};
        if (slot().source == 1) std::memcpy(shown, slot().imagePath, sizeof slot().imagePath);
        if (slot().source == 2) std::memcpy(shown, slot().text, sizeof slot().text);
        for (char& c : shown) c = c == '\r' || c == '\n' || c == '\t' ? ' ' : c;
        showText(IDC_TEXTURE_SOURCE, shown);
    }

    void sliderMoved(void*, int id, bool) override {
        const double position = sliderPosition(window(), id);
        if (id == IDC_TEXTURE_INTENSITY) {
            slot().intensity = kPercentSlider.value(position);
            showNumber(IDC_TEXTURE_INTENSITY_SHOWN, slot().intensity, NumberFormat::percent);
        } else if (id == IDC_TEXTURE_SIZE) {
            slot().size = textureSizeAt(position, slot().size, reference_);
            showSize();
        } else {
            return;
        }
        refreshPreview();
    }

    void numberEntered(int id) override {
        if (id != IDC_TEXTURE_EDGE) return;
        stopPreviewRaytrace(window());
        const double edge = readEditNumber(window(), id);
        slot().size = edge / 2;
        reference_ = edge;
        setSliderPosition(window(), IDC_TEXTURE_SIZE, textureSizePosition(slot().size, reference_));
        showSize();
        refreshPreview();
    }

    void controlClicked(void*, int id) override {
        stopPreviewRaytrace(window());
        for (const auto& c : kChecks) {
            if (c.id != id) continue;
            const uint32_t value = uint32_t(readCheck(window(), id));
            if (slot().*c.field == value) return;
            slot().*c.field = value;
            if (c.rebuilds) rebuild();
            refreshPreview();
            return;
        }
        for (const auto& r : kRadios) {
            if (r.id != id) continue;
            slot().*r.field = r.value;
            refreshPreview();
            return;
        }
        switch (id) {
            case IDC_TEXTURE_IMAGE: chooseImage(); break;
            case IDC_TEXTURE_TEXT: editText(); break;
            case IDC_TEXTURE_REMOVE: remove(); break;
            default: return;
        }
        showSource();
        refreshPreview();
    }

    void rebuild() { rebuildTexture(slot(), false, window()); }

    // "Bild": the slot becomes an image slot, then the user may choose another file.
    void chooseImage() {
        if (slot().source != 1) {
            text_.close();
            slot().source = 1;
            rebuild();
            showSource();
            refreshPreview();
        }
        char path[kBitmapPathChars] = {};
        std::memcpy(path, slot().imagePath, sizeof path - 1);
        if (!chooseBitmapFile(window(), path)) return;
        stopPreviewRaytrace(window());
        if (!loadTextureImage(slot(), path, true, false, window())) return;
        std::memset(slot().imagePath, 0, sizeof slot().imagePath);
        std::memcpy(slot().imagePath, path, strnlen(path, sizeof path - 1));
    }

    void editText() {
        if (slot().source != 2) {
            slot().source = 2;
            rebuild();
        }
        text_.open(window());
    }

    void remove() {
        if (slot().source == 0) return;
        text_.close();
        slot().source = 0;
        rebuild();
    }

    // OK: the page's slot, fields and a copy of its pixels, into the record.
    void applied() override {
        text_.close();
        stopPreviewRaytrace(window());
        copyTextureSlot(material(record()).slots[index_], slot());
        PreviewPage::applied();
    }

    bool drawsWhileTyping() const override { return previewSettings().showActive != 0; }
    void textChanging() override { stopPreviewRaytrace(window()); }
    void textRendered() override {
        showSource();
        refreshPreview();
    }

    const int index_;
    Mat* const shown_;      // the record as last shown, with this page's slot
    double reference_ = 0;  // the length the "Größe" slider scales
    TextTextureDialog text_;
};

}  // namespace

ToolPage* makeTexturePage(ToolBlock& tool, int slot) {
    return new TexturePage(tool, slot);
}

}  // namespace orv
