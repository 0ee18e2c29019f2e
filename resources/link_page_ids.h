/* Controls of the link tool's page (dialog 258) and of the drive dialog (273). */
#pragma once

#define IDD_LINK_PAGE 258
/* The two axes' groups: the rotational ids are the linear ones + IDC_LNK_ROT_DELTA. */
#define IDC_LNK_LIN 1400
#define IDC_LNK_LIN_MIN 1401
#define IDC_LNK_LIN_MAX 1402
#define IDC_LNK_LIN_STEP 1403
#define IDC_LNK_LIN_SLIDER 1404
#define IDC_LNK_LIN_CUR 1405
#define IDC_LNK_LIN_DRIVE 1406
#define IDC_LNK_ROT_DELTA 10
#define IDC_LNK_ROT 1410
#define IDC_LNK_ROT_MIN 1411
#define IDC_LNK_ROT_MAX 1412
#define IDC_LNK_ROT_STEP 1413
#define IDC_LNK_ROT_SLIDER 1414
#define IDC_LNK_ROT_CUR 1415
#define IDC_LNK_ROT_DRIVE 1416
#define IDC_LNK_COUPLED 1420
#define IDC_LNK_RATIO 1421
#define IDC_LNK_FOLLOW 1422
#define IDC_LNK_COLLCHECK 1423
#define IDC_LNK_RESET 1424

#define IDD_DRIVE 273
#define IDC_DRV_LIST 1440
#define IDC_DRV_ADD 1441
#define IDC_DRV_INSERT 1442
#define IDC_DRV_DELETE 1443
#define IDC_DRV_UP 1444
#define IDC_DRV_DOWN 1445
#define IDC_DRV_ON 1446
#define IDC_DRV_INVERSE 1447
#define IDC_DRV_CYCLIC 1448
#define IDC_DRV_STRETCH 1449
#define IDC_DRV_DAMPING 1450
#define IDC_DRV_PLOT 1451
#define IDC_DRV_GEN_PATH 1452
#define IDC_DRV_GEN_PERIOD 1453
#define IDC_DRV_GEN_FUNCTION 1454
#define IDC_DRV_GENERATE 1455
#define IDC_DRV_LOAD 1456
#define IDC_DRV_SAVE 1457
#define IDC_DRV_CELL 1458
