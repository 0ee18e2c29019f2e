/* Controls of the transmission tool's page (dialog 260). */
#pragma once

#define IDD_TRANSMISSION_PAGE 260
#define IDC_TRN_ACTIVE 1136
#define IDC_TRN_INVERT 1116
#define IDC_TRN_LINLIN 1122
#define IDC_TRN_LINROT 1123
#define IDC_TRN_ROTROT 1124
#define IDC_TRN_ROTLIN 1125
