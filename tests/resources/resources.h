// Identifiers of the test DLL's resources.
#pragma once

#define IDS_ASCII 1
#define IDS_LATIN 2
#define IDS_KANJI 3
#define IDS_EMPTY 4

#define IDR_MENU 101
#define IDR_ACCEL 102
#define IDR_ICON 103
#define IDR_BITMAP 104

#define IDM_OPEN 201
#define IDM_EXIT 202

#define IDC_LIST 10
#define IDC_LABEL 11
#define IDC_COMBO 12
#define IDC_EDIT 13
