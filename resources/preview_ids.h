/* Controls of the preview block at the right of the colour, light and environment pages. */
#pragma once

#define IDC_PREVIEW 1094
#define IDC_PREVIEW_COLOUR 1208
#define IDC_PREVIEW_SHADED 1207
#define IDC_PREVIEW_RAYTRACE 1209
#define IDC_PREVIEW_CUBE 1105
#define IDC_PREVIEW_SPHERE 1211
#define IDC_PREVIEW_LOCAL_LIGHT 1095
#define IDC_PREVIEW_SHOW_ACTIVE 1079
