// The embosser's page stream and its encoders.
//
// Everything the embosser receives is a sequence of pages, each a 16-byte
// header with a checksum followed by the page's rows. WritePage samples a
// rendered page cell by cell and encodes it; WritePrinterBuffer encodes a page
// whose cells already hold dot values. Rows go out in the row encoding, as
// plain dot values, or packed 40 bytes a row, as the Config's output version
// and compression say.
#pragma once

#include "win32.h"

struct Config;
struct TextPage;

// Page header layout.
#define PAGE_HEADER_BYTES 16
#define PAGE_ESCAPE 0x1B
#define PAGE_FORMAT_ENCODED 0x04  // rows in the row encoding
#define PAGE_FORMAT_PLAIN 0x84    // rows as plain dot values (or packed, version 1)
#define PAGE_NOT_PROFESSIONAL 0x40

// Packed rows (output version 1): 40 bytes carry the first 320 cells, a bit each.
#define PACKED_ROW_BYTES 40
#define PACKED_ROW_CELLS 320

// Dot value of cells outside a stored page's buffer.
#define DOT_OUTSIDE 255

// Sends the page's bytes to the output sink as it is produced, or only measures.
DWORD WritePage(SURFOBJ* pso, DWORD offsetX, DWORD offsetY, BOOL landscape, BYTE* outBlock, BOOL writeNow);
// Encodes a page of dot values into a new block (*ppBuffer, the caller frees it
// with myfree) whose header carries the page's byte count; 0 on failure.
DWORD WritePrinterBuffer(SURFOBJ* pso, const TextPage* page, BYTE** ppBuffer, DWORD type, BOOL writeNow);

// Media code and punch-force bounds for the Config's media type and model.
void GetMediaType(const Config* config, DWORD* mediaCode, DWORD* minForce, DWORD* maxForce);
// The paper-source code for the Config's paper bin (the Config reached through the surface's device).
DWORD getPaperSource(SURFOBJ* pso);
DWORD getPaperSourceCode(DWORD paperSource);
// The header's dot-height code for the Config's dotHeight: 0 -> 1, 2 -> 3, others -> 2.
DWORD getDotHeightCode(INT dotHeight);

// The header of a page of the device's Config, as both encoders build it
// (logging "<caller>(): mediaType=..."); byte count 0.
void buildDeviceHeader(SURFOBJ* pso, const Config* config, const char* caller, BYTE* header, DWORD width,
                       DWORD height, BOOL compressed);
// Fills the 16 header bytes, with a byte count of 0 and the checksum over that.
void buildPageHeader(BYTE* header, DWORD width, DWORD height, BOOL compressed, DWORD paperSource, DWORD mediaCode,
                     DWORD dotHeightCode, BOOL perforation, DWORD minForce, DWORD maxForce, BOOL professional);
// Sum of header bytes 0 to 13 as unsigned values, plus 3, modulo 65536.
WORD pageChecksum(const BYTE* header);
// Stores the page's byte count in bytes 10 to 13 and the checksum that covers it.
void setPageByteCount(BYTE* header, DWORD byteCount);

// The row encoding of a row of width cells (width even); out holds at least
// 2 x width bytes (2 when width is 0). Returns the encoding's length, at most 2 x width.
DWORD encodeRow(const BYTE* row, DWORD width, BYTE* out);
// Packs the first 320 cells of a row into 40 bytes: cell g + 20j is bit j of group g.
void packRow(const BYTE* row, DWORD width, BYTE* out);

// The output sink of a device: the preview file while one is open, else the
// spooler through the driver's DrvWriteSpoolBuf. Results are not examined.
// logWrite logs the call (" DrvWriteSpoolBuf(...)" or " WriteFile(...)").
void writeToOutputSink(PDEVOBJ pdevobj, const void* data, DWORD size, BOOL logWrite = FALSE);
// The spooler alone, whether or not a preview file is open.
void writeToSpooler(PDEVOBJ pdevobj, const void* data, DWORD size);
