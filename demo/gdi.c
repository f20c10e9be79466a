#include <stdio.h>

#include "demo.h"

typedef struct {
    int listed;
    WCHAR last[LF_FACESIZE];
} FontList;

/* Families come once per character set: each name is printed once, three in all. */
static int CALLBACK ListFont(const LOGFONTW *font, const TEXTMETRICW *metrics, DWORD type, LPARAM lParam)
{
    FontList *list = (FontList *)lParam;
    (void)metrics;
    (void)type;
    if (lstrcmpW(list->last, font->lfFaceName) == 0)
        return 1;
    lstrcpynW(list->last, font->lfFaceName, LF_FACESIZE);
    DemoPrint("    font ", font->lfFaceName);
    return ++list->listed < 3;
}

void DemoGdi(void)
{
    static const WCHAR text[] = L"Gr\x00FC\x00DF" L"e, \x65E5\x672C";
    HDC dc = CreateCompatibleDC(NULL);
    HBITMAP bitmap = CreateCompatibleBitmap(dc, 200, 40);
    HGDIOBJ oldBitmap = SelectObject(dc, bitmap);
    HFONT font = CreateFontW(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"DejaVu Sans");
    HGDIOBJ oldFont = SelectObject(dc, font);
    LOGFONTW filter;
    FontList list;
    POLYTEXTW line;
    WCHAR face[LF_FACESIZE];
    SIZE size;
    int fit = 0, extents[16], x, y, ink = 0;

    PatBlt(dc, 0, 0, 200, 40, WHITENESS);
    ZeroMemory(&line, sizeof line);
    line.x = 2;
    line.y = 2;
    line.n = lstrlenW(text);
    line.lpstr = text;
    printf("PolyTextOutW into a 200 x 40 memory bitmap -> %d\n", PolyTextOutW(dc, &line, 1));
    for (y = 0; y < 40; ++y)
        for (x = 0; x < 200; ++x)
            ink += GetPixel(dc, x, y) == RGB(0, 0, 0);
    printf("    %d pixels inked\n", ink);
    GetTextFaceW(dc, LF_FACESIZE, face);
    DemoPrint("GetTextFaceW -> ", face);
    GetTextExtentExPointW(dc, text, lstrlenW(text), 60, &fit, extents, &size);
    printf("GetTextExtentExPointW(%d characters, at most 60 pixels) -> fit %d, whole text %ld x %ld\n",
           lstrlenW(text), fit, size.cx, size.cy);

    ZeroMemory(&filter, sizeof filter);
    filter.lfCharSet = DEFAULT_CHARSET;
    ZeroMemory(&list, sizeof list);
    printf("EnumFontFamiliesExW, the first three families:\n");
    EnumFontFamiliesExW(dc, &filter, ListFont, (LPARAM)&list, 0);

    SelectObject(dc, oldFont);
    SelectObject(dc, oldBitmap);
    DeleteObject(font);
    DeleteObject(bitmap);
    DeleteDC(dc);
}
