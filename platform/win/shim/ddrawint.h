/* The DirectDraw records winddi.h names, as opaque types: nothing here uses them,
   and mingw-w64 does not ship this header. */
#pragma once
typedef struct _DD_CALLBACKS DD_CALLBACKS;
typedef struct _DD_DIRECTDRAW_GLOBAL DD_DIRECTDRAW_GLOBAL;
typedef struct _DD_HALINFO DD_HALINFO;
typedef struct _DD_PALETTECALLBACKS DD_PALETTECALLBACKS;
typedef struct _DD_SURFACECALLBACKS DD_SURFACECALLBACKS;
typedef struct _DD_SURFACE_LOCAL DD_SURFACE_LOCAL;
typedef DD_SURFACE_LOCAL *PDD_SURFACE_LOCAL;
typedef struct _VIDEOMEMORY VIDEOMEMORY;
