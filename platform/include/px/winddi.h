// GDI driver-interface records, device mode and spooler records for hosts
// without Windows. Layouts are those of 64-bit Windows; win32.h asserts the
// sizes and offsets that the plug-in and its host depend on.
#pragma once

#include "px/wintypes.h"

#define CCHDEVICENAME 32
#define CCHFORMNAME 32
#define LF_FACESIZE 32

typedef DWORD FLOATL;  // kernel-mode floats travel as raw bits
typedef SHORT FWORD;
typedef LONG PTRDIFF;
typedef LONG FIX;
typedef ULONG ROP4;
typedef ULONG MIX;
typedef ULONG HGLYPH;
typedef HGLYPH* PHGLYPH;
typedef LONG_PTR (*PFN)();
typedef LONG LDECI4;
typedef USHORT COLOR16;

struct DHPDEV__;
typedef DHPDEV__* DHPDEV;
struct DHSURF__;
typedef DHSURF__* DHSURF;
struct HSURF__;
typedef HSURF__* HSURF;
struct HDEV__;
typedef HDEV__* HDEV;

struct LARGE_INTEGER {
    LONGLONG QuadPart;
};

struct LOGFONTW {
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    WCHAR lfFaceName[LF_FACESIZE];
};

struct PANOSE {
    BYTE bFamilyType;
    BYTE bSerifStyle;
    BYTE bWeight;
    BYTE bProportion;
    BYTE bContrast;
    BYTE bStrokeVariation;
    BYTE bArmStyle;
    BYTE bLetterform;
    BYTE bMidline;
    BYTE bXHeight;
};

struct TRIVERTEX {
    LONG x;
    LONG y;
    COLOR16 Red;
    COLOR16 Green;
    COLOR16 Blue;
    COLOR16 Alpha;
};
typedef TRIVERTEX* PTRIVERTEX;

struct BLENDFUNCTION {
    BYTE BlendOp;
    BYTE BlendFlags;
    BYTE SourceConstantAlpha;
    BYTE AlphaFormat;
};

struct COLORADJUSTMENT {
    WORD caSize;
    WORD caFlags;
    WORD caIlluminantIndex;
    WORD caRedGamma;
    WORD caGreenGamma;
    WORD caBlueGamma;
    WORD caReferenceBlack;
    WORD caReferenceWhite;
    SHORT caContrast;
    SHORT caBrightness;
    SHORT caColorfulness;
    SHORT caRedGreenTint;
};

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
typedef BITMAPINFOHEADER* PBITMAPINFOHEADER;

// Device mode (wide). Field names as in wingdi.h.
struct DEVMODEW {
    WCHAR dmDeviceName[CCHDEVICENAME];
    WORD dmSpecVersion;
    WORD dmDriverVersion;
    WORD dmSize;
    WORD dmDriverExtra;
    DWORD dmFields;
    union {
        struct {
            short dmOrientation;
            short dmPaperSize;
            short dmPaperLength;
            short dmPaperWidth;
            short dmScale;
            short dmCopies;
            short dmDefaultSource;
            short dmPrintQuality;
        };
        struct {
            POINTL dmPosition;
            DWORD dmDisplayOrientation;
            DWORD dmDisplayFixedOutput;
        };
    };
    short dmColor;
    short dmDuplex;
    short dmYResolution;
    short dmTTOption;
    short dmCollate;
    WCHAR dmFormName[CCHFORMNAME];
    WORD dmLogPixels;
    DWORD dmBitsPerPel;
    DWORD dmPelsWidth;
    DWORD dmPelsHeight;
    union {
        DWORD dmDisplayFlags;
        DWORD dmNup;
    };
    DWORD dmDisplayFrequency;
    DWORD dmICMMethod;
    DWORD dmICMIntent;
    DWORD dmMediaType;
    DWORD dmDitherType;
    DWORD dmReserved1;
    DWORD dmReserved2;
    DWORD dmPanningWidth;
    DWORD dmPanningHeight;
};
typedef DEVMODEW* PDEVMODEW;
typedef DEVMODEW* LPDEVMODEW;

#define DM_ORIENTATION 0x00000001
#define DM_PAPERSIZE 0x00000002
#define DM_PAPERLENGTH 0x00000004
#define DM_PAPERWIDTH 0x00000008
#define DM_SCALE 0x00000010
#define DM_COPIES 0x00000100
#define DM_DEFAULTSOURCE 0x00000200
#define DM_PRINTQUALITY 0x00000400
#define DM_COLOR 0x00000800
#define DM_DUPLEX 0x00001000
#define DM_YRESOLUTION 0x00002000
#define DM_COLLATE 0x00008000
#define DM_FORMNAME 0x00010000
#define DMCOLLATE_FALSE 0
#define DMCOLLATE_TRUE 1
#define DMORIENT_PORTRAIT 1
#define DMORIENT_LANDSCAPE 2

// Engine objects
struct SURFOBJ {
    DHSURF dhsurf;
    HSURF hsurf;
    DHPDEV dhpdev;
    HDEV hdev;
    SIZEL sizlBitmap;
    ULONG cjBits;
    PVOID pvBits;
    PVOID pvScan0;
    LONG lDelta;
    ULONG iUniq;
    ULONG iBitmapFormat;
    USHORT iType;
    USHORT fjBitmap;
};

struct GLYPHBITS {
    POINTL ptlOrigin;
    SIZEL sizlBitmap;
    BYTE aj[1];
};

struct PATHOBJ {
    FLONG fl;
    ULONG cCurves;
};

union GLYPHDEF {
    GLYPHBITS* pgb;
    PATHOBJ* ppo;
};

struct GLYPHPOS {
    HGLYPH hg;
    GLYPHDEF* pgdf;
    POINTL ptl;
};
typedef GLYPHPOS* PGLYPHPOS;

struct STROBJ {
    ULONG cGlyphs;
    FLONG flAccel;
    ULONG ulCharInc;
    RECTL rclBkGround;
    GLYPHPOS* pgp;
    LPWSTR pwszOrg;
};

struct FONTOBJ {
    ULONG iUniq;
    ULONG iFace;
    ULONG cxMax;
    FLONG flFontType;
    ULONG_PTR iTTUniq;
    ULONG_PTR iFile;
    SIZE sizLogResPpi;
    ULONG ulStyleSize;
    PVOID pvConsumer;
    PVOID pvProducer;
};

struct IFIMETRICS {
    ULONG cjThis;
    ULONG cjIfiExtra;
    PTRDIFF dpwszFamilyName;
    PTRDIFF dpwszStyleName;
    PTRDIFF dpwszFaceName;
    PTRDIFF dpwszUniqueName;
    PTRDIFF dpFontSim;
    LONG lEmbedId;
    LONG lItalicAngle;
    LONG lCharBias;
    PTRDIFF dpCharSets;
    BYTE jWinCharSet;
    BYTE jWinPitchAndFamily;
    USHORT usWinWeight;
    ULONG flInfo;
    USHORT fsSelection;
    USHORT fsType;
    FWORD fwdUnitsPerEm;
    FWORD fwdLowestPPEm;
    FWORD fwdWinAscender;
    FWORD fwdWinDescender;
    FWORD fwdMacAscender;
    FWORD fwdMacDescender;
    FWORD fwdMacLineGap;
    FWORD fwdTypoAscender;
    FWORD fwdTypoDescender;
    FWORD fwdTypoLineGap;
    FWORD fwdAveCharWidth;
    FWORD fwdMaxCharInc;
    FWORD fwdCapHeight;
    FWORD fwdXHeight;
    FWORD fwdSubscriptXSize;
    FWORD fwdSubscriptYSize;
    FWORD fwdSubscriptXOffset;
    FWORD fwdSubscriptYOffset;
    FWORD fwdSuperscriptXSize;
    FWORD fwdSuperscriptYSize;
    FWORD fwdSuperscriptXOffset;
    FWORD fwdSuperscriptYOffset;
    FWORD fwdUnderscoreSize;
    FWORD fwdUnderscorePosition;
    FWORD fwdStrikeoutSize;
    FWORD fwdStrikeoutPosition;
    BYTE chFirstChar;
    BYTE chLastChar;
    BYTE chDefaultChar;
    BYTE chBreakChar;
    WCHAR wcFirstChar;
    WCHAR wcLastChar;
    WCHAR wcDefaultChar;
    WCHAR wcBreakChar;
    POINTL ptlBaseline;
    POINTL ptlAspect;
    POINTL ptlCaret;
    RECTL rclFontBox;
    BYTE achVendId[4];
    ULONG cKerningPairs;
    ULONG ulPanoseCulture;
    PANOSE panose;
    PVOID Align;
};
typedef IFIMETRICS* PIFIMETRICS;

struct BRUSHOBJ {
    ULONG iSolidColor;
    PVOID pvRbrush;
    FLONG flColorType;
};

struct CLIPOBJ {
    ULONG iUniq;
    RECTL rclBounds;
    BYTE iDComplexity;
    BYTE iFComplexity;
    BYTE iMode;
    BYTE fjOptions;
};

#define DC_TRIVIAL 0
#define DC_RECT 1
#define DC_COMPLEX 3

struct XLATEOBJ {
    ULONG iUniq;
    FLONG flXlate;
    USHORT iSrcType;
    USHORT iDstType;
    ULONG cEntries;
    ULONG* pulXlate;
};

struct XFORMOBJ {
    ULONG ulReserved;
};

union FLOAT_LONG {
    FLOATL e;
    LONG l;
};

struct LINEATTRS {
    FLONG fl;
    ULONG iJoin;
    ULONG iEndCap;
    FLOAT_LONG elWidth;
    FLOATL eMiterLimit;
    ULONG cstyle;
    FLOAT_LONG* pstyle;
    FLOAT_LONG elStyleState;
};

struct BLENDOBJ {
    BLENDFUNCTION BlendFunction;
};

struct POINTFIX {
    FIX x;
    FIX y;
};

struct POINTQF {
    LARGE_INTEGER x;
    LARGE_INTEGER y;
};

struct GLYPHDATA {
    GLYPHDEF gdf;
    HGLYPH hg;
    FIX fxD;
    FIX fxA;
    FIX fxAB;
    FIX fxInkTop;
    FIX fxInkBottom;
    RECTL rclInk;
    POINTQF ptqD;
};

struct DRVFN {
    ULONG iFunc;
    PFN pfn;
};
typedef DRVFN* PDRVFN;

struct DRVENABLEDATA {
    ULONG iDriverVersion;
    ULONG c;
    DRVFN* pdrvfn;
};
typedef DRVENABLEDATA* PDRVENABLEDATA;

struct CIECHROMA {
    LDECI4 x;
    LDECI4 y;
    LDECI4 Y;
};

struct COLORINFO {
    CIECHROMA Red;
    CIECHROMA Green;
    CIECHROMA Blue;
    CIECHROMA Cyan;
    CIECHROMA Magenta;
    CIECHROMA Yellow;
    CIECHROMA AlignmentWhite;
    LDECI4 RedGamma;
    LDECI4 GreenGamma;
    LDECI4 BlueGamma;
    LDECI4 MagentaInCyanDye;
    LDECI4 YellowInCyanDye;
    LDECI4 CyanInMagentaDye;
    LDECI4 YellowInMagentaDye;
    LDECI4 CyanInYellowDye;
    LDECI4 MagentaInYellowDye;
};

struct GDIINFO {
    ULONG ulVersion;
    ULONG ulTechnology;
    ULONG ulHorzSize;
    ULONG ulVertSize;
    ULONG ulHorzRes;
    ULONG ulVertRes;
    ULONG cBitsPixel;
    ULONG cPlanes;
    ULONG ulNumColors;
    ULONG flRaster;
    ULONG ulLogPixelsX;
    ULONG ulLogPixelsY;
    ULONG flTextCaps;
    ULONG ulDACRed;
    ULONG ulDACGreen;
    ULONG ulDACBlue;
    ULONG ulAspectX;
    ULONG ulAspectY;
    ULONG ulAspectXY;
    LONG xStyleStep;
    LONG yStyleStep;
    LONG denStyleStep;
    POINTL ptlPhysOffset;
    SIZEL szlPhysSize;
    ULONG ulNumPalReg;
    COLORINFO ciDevice;
    ULONG ulDevicePelsDPI;
    ULONG ulPrimaryOrder;
    ULONG ulHTPatternSize;
    ULONG ulHTOutputFormat;
    ULONG flHTFlags;
    ULONG ulVRefresh;
    ULONG ulBltAlignment;
    ULONG ulPanningHorzRes;
    ULONG ulPanningVertRes;
    ULONG xPanningAlignment;
    ULONG yPanningAlignment;
    ULONG cxHTPat;
    ULONG cyHTPat;
    LPBYTE pHTPatA;
    LPBYTE pHTPatB;
    LPBYTE pHTPatC;
    ULONG flShadeBlend;
    ULONG ulPhysicalPixelCharacteristics;
    ULONG ulPhysicalPixelGamma;
};

struct DEVINFO {
    FLONG flGraphicsCaps;
    LOGFONTW lfDefaultFont;
    LOGFONTW lfAnsiVarFont;
    LOGFONTW lfAnsiFixFont;
    ULONG cFonts;
    ULONG iDitherFormat;
    USHORT cxDither;
    USHORT cyDither;
    HPALETTE hpalDefault;
    FLONG flGraphicsCaps2;
};

// DDI function indexes of the hooked calls.
#define INDEX_DrvRealizeBrush 12
#define INDEX_DrvDitherColor 13
#define INDEX_DrvStrokePath 14
#define INDEX_DrvFillPath 15
#define INDEX_DrvStrokeAndFillPath 16
#define INDEX_DrvPaint 17
#define INDEX_DrvBitBlt 18
#define INDEX_DrvCopyBits 19
#define INDEX_DrvStretchBlt 20
#define INDEX_DrvTextOut 23
#define INDEX_DrvEscape 24
#define INDEX_DrvQueryFont 26
#define INDEX_DrvQueryFontTree 27
#define INDEX_DrvQueryFontData 28
#define INDEX_DrvLineTo 31
#define INDEX_DrvSendPage 32
#define INDEX_DrvStartPage 33
#define INDEX_DrvEndDoc 34
#define INDEX_DrvStartDoc 35
#define INDEX_DrvGetGlyphMode 37
#define INDEX_DrvFontManagement 47
#define INDEX_DrvQueryAdvanceWidths 53
#define INDEX_DrvStartBanding 57
#define INDEX_DrvNextBand 58
#define INDEX_DrvGradientFill 68
#define INDEX_DrvStretchBltROP 69
#define INDEX_DrvPlgBlt 70
#define INDEX_DrvAlphaBlend 71
#define INDEX_DrvTransparentBlt 74

#define DCR_SOLID 0
#define FO_GLYPHBITS 0x00000001
#define FD_ERROR 0xFFFFFFFF
#define DDI_ERROR 0xFFFFFFFF

#define BMF_1BPP 1
#define BMF_4BPP 2
#define BMF_8BPP 3
#define BMF_16BPP 4
#define BMF_24BPP 5
#define BMF_32BPP 6
#define STYPE_BITMAP 0
#define STYPE_DEVICE 1
#define STYPE_DEVBITMAP 3

// Signatures of the hooked driver functions, as GDI calls them.
typedef BOOL (*PFN_DrvRealizeBrush)(BRUSHOBJ*, SURFOBJ*, SURFOBJ*, SURFOBJ*, XLATEOBJ*, ULONG);
typedef ULONG (*PFN_DrvDitherColor)(DHPDEV, ULONG, ULONG, ULONG*);
typedef BOOL (*PFN_DrvCopyBits)(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*);
typedef BOOL (*PFN_DrvBitBlt)(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*, POINTL*,
                              BRUSHOBJ*, POINTL*, ROP4);
typedef BOOL (*PFN_DrvStretchBlt)(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*,
                                  RECTL*, RECTL*, POINTL*, ULONG);
typedef BOOL (*PFN_DrvStretchBltROP)(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*,
                                     RECTL*, RECTL*, POINTL*, ULONG, BRUSHOBJ*, DWORD);
typedef BOOL (*PFN_DrvPlgBlt)(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*,
                              POINTFIX*, RECTL*, POINTL*, ULONG);
typedef BOOL (*PFN_DrvTransparentBlt)(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, ULONG, ULONG);
typedef BOOL (*PFN_DrvAlphaBlend)(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, BLENDOBJ*);
typedef BOOL (*PFN_DrvGradientFill)(SURFOBJ*, CLIPOBJ*, XLATEOBJ*, TRIVERTEX*, ULONG, PVOID, ULONG, RECTL*,
                                    POINTL*, ULONG);
typedef BOOL (*PFN_DrvTextOut)(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*, BRUSHOBJ*,
                               POINTL*, MIX);
typedef BOOL (*PFN_DrvStrokePath)(SURFOBJ*, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, POINTL*, LINEATTRS*, MIX);
typedef BOOL (*PFN_DrvFillPath)(SURFOBJ*, PATHOBJ*, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX, FLONG);
typedef BOOL (*PFN_DrvStrokeAndFillPath)(SURFOBJ*, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, LINEATTRS*,
                                         BRUSHOBJ*, POINTL*, MIX, FLONG);
typedef BOOL (*PFN_DrvPaint)(SURFOBJ*, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX);
typedef BOOL (*PFN_DrvLineTo)(SURFOBJ*, CLIPOBJ*, BRUSHOBJ*, LONG, LONG, LONG, LONG, RECTL*, MIX);
typedef BOOL (*PFN_DrvStartPage)(SURFOBJ*);
typedef BOOL (*PFN_DrvSendPage)(SURFOBJ*);
typedef ULONG (*PFN_DrvEscape)(SURFOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID);
typedef BOOL (*PFN_DrvStartDoc)(SURFOBJ*, LPWSTR, DWORD);
typedef BOOL (*PFN_DrvEndDoc)(SURFOBJ*, FLONG);
typedef BOOL (*PFN_DrvNextBand)(SURFOBJ*, POINTL*);
typedef BOOL (*PFN_DrvStartBanding)(SURFOBJ*, POINTL*);
typedef PIFIMETRICS (*PFN_DrvQueryFont)(DHPDEV, ULONG_PTR, ULONG, ULONG_PTR*);
typedef PVOID (*PFN_DrvQueryFontTree)(DHPDEV, ULONG_PTR, ULONG, ULONG, ULONG_PTR*);
typedef LONG (*PFN_DrvQueryFontData)(DHPDEV, FONTOBJ*, ULONG, HGLYPH, GLYPHDATA*, PVOID, ULONG);
typedef BOOL (*PFN_DrvQueryAdvanceWidths)(DHPDEV, FONTOBJ*, ULONG, HGLYPH*, PVOID, ULONG);
typedef ULONG (*PFN_DrvFontManagement)(SURFOBJ*, FONTOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID);
typedef ULONG (*PFN_DrvGetGlyphMode)(DHPDEV, FONTOBJ*);

// Spooler records
struct PRINTER_INFO_1W {
    DWORD Flags;
    LPWSTR pDescription;
    LPWSTR pName;
    LPWSTR pComment;
};
typedef PRINTER_INFO_1W* PPRINTER_INFO_1W;

struct DRIVER_INFO_1W {
    LPWSTR pName;
};
typedef DRIVER_INFO_1W* PDRIVER_INFO_1W;

struct PRINTER_DEFAULTSW {
    LPWSTR pDatatype;
    LPDEVMODEW pDevMode;
    ACCESS_MASK DesiredAccess;
};
typedef PRINTER_DEFAULTSW* LPPRINTER_DEFAULTSW;
typedef PRINTER_DEFAULTSW* PPRINTER_DEFAULTSW;

#define PRINTER_ACCESS_ADMINISTER 0x00000004
#define PRINTER_ACCESS_USE 0x00000008
#define PRINTER_ALL_ACCESS 0x000F000C
#define READ_CONTROL 0x00020000
#define STANDARD_RIGHTS_REQUIRED 0x000F0000

struct SECURITY_DESCRIPTOR;
typedef SECURITY_DESCRIPTOR* PSECURITY_DESCRIPTOR;

struct PRINTER_INFO_2W {
    LPWSTR pServerName;
    LPWSTR pPrinterName;
    LPWSTR pShareName;
    LPWSTR pPortName;
    LPWSTR pDriverName;
    LPWSTR pComment;
    LPWSTR pLocation;
    LPDEVMODEW pDevMode;
    LPWSTR pSepFile;
    LPWSTR pPrintProcessor;
    LPWSTR pDatatype;
    LPWSTR pParameters;
    PSECURITY_DESCRIPTOR pSecurityDescriptor;
    DWORD Attributes;
    DWORD Priority;
    DWORD DefaultPriority;
    DWORD StartTime;
    DWORD UntilTime;
    DWORD Status;
    DWORD cJobs;
    DWORD AveragePPM;
};
typedef PRINTER_INFO_2W* PPRINTER_INFO_2W;

struct FORM_INFO_1W {
    DWORD Flags;
    LPWSTR pName;
    SIZEL Size;
    RECTL ImageableArea;
};
typedef FORM_INFO_1W* PFORM_INFO_1W;

#define DC_PAPERS 2
#define DC_PAPERSIZE 3
#define DC_PAPERNAMES 16
