/* Controls of the text texture's dialog (247), opened from a texture page. */
#pragma once

#define IDD_TEXTURE_TEXT 247
#define IDC_TEXT_TEXT 1203
#define IDC_TEXT_SIZE 1204
#define IDC_TEXT_LEFT 1220
#define IDC_TEXT_CENTRE 1221
#define IDC_TEXT_RIGHT 1222
#define IDC_TEXT_TOP 1224
#define IDC_TEXT_MIDDLE 1225
#define IDC_TEXT_BOTTOM 1226
#define IDC_TEXT_FONT 1200
#define IDC_TEXT_BACKGROUND 1201
#define IDC_TEXT_FOREGROUND 1202
#define IDC_TEXT_OK 1092
#define IDC_TEXT_CANCEL 1036
#define IDC_TEXT_PREVIEW 1094
