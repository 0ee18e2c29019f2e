// Resource ids of localise_test.rc, shared with the tests that use them.
#pragma once

#define IDD_LOCALISE_TEST 19501
#define IDC_TRANSLATED 19511
#define IDC_WITH_UNIT 19512
#define IDC_UNTRANSLATED 19513
#define IDC_UNTAGGED 19514
#define IDC_BUTTON 19515

#define IDM_LOCALISE_TEST 19502
#define IDM_OPEN 19521
#define IDM_CLEAR 19523
#define IDM_EXIT 19529
#define IDM_ABOUT 19530
