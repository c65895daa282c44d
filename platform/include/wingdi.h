// GDI: device contexts, bitmaps, brushes. Included by windows.h.
//
// Pixels of every bitmap are 32 bits, B G R X in memory. X is always 0 but in the
// colours of an icon, where GetDIBits shows it. Only SRCCOPY is known, and only
// uncompressed 32-bit pictures leave through GetDIBits or lie in a section.
#pragma once

#define RGB(r, g, b)                                                             \
  ((COLORREF)((uint32_t)(uint8_t)(r) | (uint32_t)((uint32_t)(uint8_t)(g) << 8) | \
              (uint32_t)((uint32_t)(uint8_t)(b) << 16)))

#define SRCCOPY ((DWORD)0x00CC0020)
#define CAPTUREBLT ((DWORD)0x40000000)

#define BI_RGB 0
#define DIB_RGB_COLORS 0

#define HGDI_ERROR ((HGDIOBJ)(LONG_PTR)-1)

typedef struct tagRGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
} RGBQUAD;

typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;  // negative: rows top to bottom
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
} BITMAPINFOHEADER;

typedef struct tagCIEXYZ {
  LONG ciexyzX;
  LONG ciexyzY;
  LONG ciexyzZ;
} CIEXYZ;
typedef struct tagICEXYZTRIPLE {
  CIEXYZ ciexyzRed;
  CIEXYZ ciexyzGreen;
  CIEXYZ ciexyzBlue;
} CIEXYZTRIPLE;

typedef struct {
  DWORD bV5Size;
  LONG bV5Width;
  LONG bV5Height;
  WORD bV5Planes;
  WORD bV5BitCount;
  DWORD bV5Compression;
  DWORD bV5SizeImage;
  LONG bV5XPelsPerMeter;
  LONG bV5YPelsPerMeter;
  DWORD bV5ClrUsed;
  DWORD bV5ClrImportant;
  DWORD bV5RedMask;
  DWORD bV5GreenMask;
  DWORD bV5BlueMask;
  DWORD bV5AlphaMask;
  DWORD bV5CSType;
  CIEXYZTRIPLE bV5Endpoints;
  DWORD bV5GammaRed;
  DWORD bV5GammaGreen;
  DWORD bV5GammaBlue;
  DWORD bV5Intent;
  DWORD bV5ProfileData;
  DWORD bV5ProfileSize;
  DWORD bV5Reserved;
} BITMAPV5HEADER;
static_assert(sizeof(BITMAPV5HEADER) == 124, "the platform's layout");

typedef struct tagBITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
} BITMAPINFO, *PBITMAPINFO, *LPBITMAPINFO;

typedef struct tagBITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  LPVOID bmBits;
} BITMAP;

static_assert(sizeof(BITMAP) == 32, "the platform's layout");
static_assert(sizeof(BITMAPINFOHEADER) == 40, "the platform's layout");

extern "C" {

HDC WINAPI CreateCompatibleDC(HDC dc);
BOOL WINAPI DeleteDC(HDC dc);
HBITMAP WINAPI CreateCompatibleBitmap(HDC dc, int width, int height);
HBITMAP WINAPI CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits,
                                HANDLE section, DWORD offset);
BOOL WINAPI GdiFlush(void);
HBRUSH WINAPI CreateSolidBrush(COLORREF color);
HGDIOBJ WINAPI SelectObject(HDC dc, HGDIOBJ object);
BOOL WINAPI DeleteObject(HGDIOBJ object);
// Describes a bitmap, in a BITMAP; no other kind of object.
int WINAPI GetObjectW(HGDIOBJ object, int size, LPVOID out);
BOOL WINAPI BitBlt(HDC destination, int x, int y, int width, int height, HDC source, int sourceX,
                   int sourceY, DWORD rasterOperation);
int WINAPI GetDIBits(HDC dc, HBITMAP bitmap, UINT firstLine, UINT lineCount, LPVOID bits,
                     LPBITMAPINFO info, UINT usage);

}  // extern "C"
