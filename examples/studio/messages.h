// messages.h - what the studio's windows and the editors' threads tell the main window.
#pragma once

#include <windows.h>

enum StudioMessage : UINT {
    // A tool changed a material, light or environment: redraw. wParam: the tool's reason.
    WM_STUDIO_APPEARANCE_CHANGED = WM_APP + 1,
    // A link or transmission tool changed the links: move the scene again. wParam: the reason;
    // lParam: 1 when the link tool has closed.
    WM_STUDIO_LINKS_CHANGED,
    // The material library chose a material for the selected body. lParam: a
    // std::vector<uint8_t>* holding its block, which the main window deletes.
    WM_STUDIO_LIBRARY_MATERIAL,
    // The material library window has closed.
    WM_STUDIO_LIBRARY_CLOSED,
    // Sent by the viewport: a click picked a body. wParam: its index, or -1 for none.
    WM_STUDIO_BODY_PICKED,
};
