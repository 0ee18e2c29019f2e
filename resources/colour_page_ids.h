/* Controls of the colour page (dialogs 182, 185 and 214; 185 alone has the copy button). */
#pragma once

#define IDD_COLOUR_LIGHT 182
#define IDD_COLOUR_MATERIAL 185
#define IDD_COLOUR_AMBIENT 214

/* The sliders */
#define IDC_COLOUR_RED 1007
#define IDC_COLOUR_GREEN 1006
#define IDC_COLOUR_BLUE 1009
#define IDC_COLOUR_HUE 1008
#define IDC_COLOUR_SATURATION 1053
#define IDC_COLOUR_VALUE 1011

/* The fields showing the sliders' values */
#define IDC_COLOUR_RED_SHOWN 1014
#define IDC_COLOUR_GREEN_SHOWN 1015
#define IDC_COLOUR_BLUE_SHOWN 1016
#define IDC_COLOUR_HUE_SHOWN 1017
#define IDC_COLOUR_SATURATION_SHOWN 1052
#define IDC_COLOUR_VALUE_SHOWN 1019

/* The buttons */
#define IDC_COLOUR_CHOOSE 1036
#define IDC_COLOUR_COPY_DIFFUSE 1174
