// A page of the light, environment and material tools: its own controls on the left, the
// preview block on the right. The base keeps the page's preview settings for the life of the
// tool, moves the sliders of its table between record and value, and tells the host and the
// preview of every change by one rule: the host hears of it (reason 1) unless a slider is
// being dragged with "Anz. akt." off; the preview always follows.
#pragma once

#include <cstddef>

#include "pages/page_values.h"
#include "preview/preview.h"
#include "tools/tool_page_win32.h"

namespace orv {

// What the page's record is, for the preview's scene.
enum class Edited { light, environment, material };

// A slider of a page's table, bound to a value of the record by two functions (a value may be
// more than a field, as a light's distance from its target is, or less, as the square root of
// a material's shininess is).
struct SliderField {
    int slider, display;
    SliderScale scale;
    int ticStep;
    NumberFormat format;
    double shownFactor;  // the display shows value x shownFactor
    double (*read)(const void* record);
    void (*write)(void* record, double value);
    // What the display shows instead, where it is not the slider's value (null: the value).
    double (*shown)(const void* record);
};

class PreviewPage : public ToolPage {
public:
    PreviewPage(ToolBlock& tool, Edited edited, const SliderField* sliders = nullptr,
                size_t count = 0);
    ~PreviewPage() override;

protected:
    void created() override;
    void fill() override;
    void clicked(int id) override;
    // A slider's move (its thumb held, released or set): the picture being traced stops,
    // then sliderMoved.
    void scrolled(int id, int code) final;
    void deactivated() override;

    // A slider of the page moved; dragging while its thumb is held. Sliders of the table store
    // their value and notify.
    virtual void sliderMoved(void* record, int id, bool dragging);
    // The page's own controls beyond its sliders: radio buttons, check boxes, enabling.
    virtual void fillControls(void* record) { (void)record; }
    virtual void controlClicked(void* record, int id) { (void)record, (void)id; }
    // The colour the preview shows in colour mode.
    virtual Vec3 shownColour(const void* record) const;
    // A material page's picture: the material shown and the slot whose image colour mode shows
    // (-1: the colour).
    virtual const Mat* previewMaterial(const void* record) {
        return static_cast<const Mat*>(record);
    }
    virtual int previewSlot() const { return -1; }

    // A value changed: the host (unless dragging with "Anz. akt." off), then the preview.
    void changed(bool dragging);
    void refreshPreview();
    void showSlider(const SliderField& field, const void* record);
    void showValue(const SliderField& field, const void* record);

    const PreviewSettings& previewSettings() const { return settings_; }

    Edited edited_;

private:
    const SliderField* sliders_;
    size_t count_;
    PreviewSettings settings_;
    Mat* standIn_ = nullptr;  // the material lights and environments are shown on
    Lgt* lights_[2] = {};     // the edited light as the scene's light list
};

}  // namespace orv
