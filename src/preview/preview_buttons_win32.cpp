// The seven buttons beside the picture: the mode, the shape, "lok. Licht" and "Anz. akt.".
#include <windows.h>

#include <initializer_list>

#include "preview/preview.h"
#include "preview_ids.h"

namespace orv {

void setPreviewButtons(HWND page, const PreviewSettings& settings) {
    const struct {
        int id;
        bool checked;
    } buttons[] = {
        {IDC_PREVIEW_COLOUR, settings.previewMode == 0},
        {IDC_PREVIEW_SHADED, settings.previewMode == 1},
        {IDC_PREVIEW_RAYTRACE, settings.previewMode == 2},
        {IDC_PREVIEW_CUBE, settings.previewShape == 1},
        {IDC_PREVIEW_SPHERE, settings.previewShape == 0},
        {IDC_PREVIEW_LOCAL_LIGHT, settings.localLight != 0},
        {IDC_PREVIEW_SHOW_ACTIVE, settings.showActive != 0},
    };
    for (const auto& b : buttons)
        CheckDlgButton(page, b.id, b.checked ? BST_CHECKED : BST_UNCHECKED);
    const bool drawn = settings.previewMode != 0;
    for (int id : {IDC_PREVIEW_CUBE, IDC_PREVIEW_SPHERE, IDC_PREVIEW_LOCAL_LIGHT})
        EnableWindow(GetDlgItem(page, id), drawn);
}

bool previewButtonClicked(HWND page, PreviewSettings& settings, int id) {
    if (id < IDC_PREVIEW_SHOW_ACTIVE || id > IDC_PREVIEW_SPHERE) return false;
    const uint32_t checked = IsDlgButtonChecked(page, id) == BST_CHECKED;
    switch (id) {
    case IDC_PREVIEW_COLOUR: settings.previewMode = 0; break;
    case IDC_PREVIEW_SHADED: settings.previewMode = 1; break;
    case IDC_PREVIEW_RAYTRACE: settings.previewMode = 2; break;
    case IDC_PREVIEW_CUBE: settings.previewShape = 1; break;
    case IDC_PREVIEW_SPHERE: settings.previewShape = 0; break;
    case IDC_PREVIEW_LOCAL_LIGHT: settings.localLight = checked; break;
    case IDC_PREVIEW_SHOW_ACTIVE: settings.showActive = checked; break;
    default: return false;
    }
    setPreviewButtons(page, settings);
    return true;
}

}  // namespace orv
