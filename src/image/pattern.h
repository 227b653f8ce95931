// Colour patterns: small tiles of dot heights repeated over the page, chosen
// by a cell's colour, so that areas of different colour but equal grey feel
// different.
//
// Custom patterns are keyed by one exact colour each; hue patterns are six
// tiles, one per hue sector (red, yellow, green, cyan, blue, magenta). Both
// come from pattern files ("#PumexPattern_V1.0"), loaded on first use during
// a document and kept in the configuration until it is deleted.
#pragma once

#include "win32.h"

#include "image/image.h"

#include <cstdio>

struct Config;

// First characters of every pattern file.
#define PATTERN_HEADER "#PumexPattern_V1.0"
#define PATTERN_HEADER_LENGTH 18
// A line holds at most this many characters, carriage returns not counted.
#define PATTERN_LINE_CHARS 255
// Bytes of a line buffer: the longest line and its terminator.
#define PATTERN_LINE_BYTES 256
// First size of the reader's working buffer for one tile.
#define PATTERN_ROW_BUFFER 1024
// Room for this many patterns at first; the array doubles when full.
#define PATTERN_FIRST_CAPACITY 100
// Characters of a pattern file name read from printer data.
#define PATTERN_NAME_CHARS 4096

// Hue sectors of the hue patterns, in file order.
#define HUE_SECTORS 6

struct ColorPattern {
    INT width;    // cells per tile row
    INT height;   // tile rows
    INT red;      // key colour of a custom pattern; -1 until read
    INT green;
    INT blue;
    BYTE* cells;  // owned, width x height dot values 0 .. 7, row-major; or null
};

struct ColorPatternSet {
    WCHAR* name;               // owned copy of the path loaded from; null for an empty path
    ColorPattern** patterns;   // owned, in file order; null when nothing could be read
    INT count;
    ColorPattern* lastPattern; // custom lookup cache: pattern of the last colour, or null
    INT lastRed;               // custom lookup cache: the last colour asked for (-1 at first)
    INT lastBlue;
    INT lastGreen;
    INT lastResult;            // custom lookup cache: the last answer (-1 at first)
    INT capacity;              // slots of patterns
};

// Loads a pattern file. An unreadable file or a wrong header gives an empty
// set, which callers keep so the file is not tried again; null only when
// memory runs out.
ColorPatternSet* ColorPatternSet_load(LPCWSTR path);
// Frees the set and everything it owns; null is ignored.
void ColorPatternSet_delete(ColorPatternSet* set);
// The dot value the first pattern keyed by this exact colour gives the cell
// in column x, row y, or -1 when no pattern has this colour.
INT ColorPatternSet_getColorDotHeight(ColorPatternSet* set, INT red, INT green, INT blue, DWORD x, DWORD y);
// For a colour at least threshold saturated: 0 where its hue sector's tile is
// blank, else the dot value of its grey level. -1 for a colour less saturated.
// A null set counts as empty.
INT ColorPatternSet_getHueDotHeight(const ColorPatternSet* set, const PixelColor* color, DWORD x, DWORD y,
                                    INT threshold);
// The tile's cell for page cell (x, y), the tile repeating from the page's
// top-left corner; -1 for a pattern without cells.
INT ColorPattern_getCell(const ColorPattern* pattern, DWORD x, DWORD y);
// Frees a pattern and its cells; null is ignored.
void ColorPattern_delete(ColorPattern* pattern);

// The configuration's pattern sets, loaded on first use from the files named
// in printer data ("CustomPatternFileName", "ColorPattern3FileName",
// "ColorPattern4FileName"; by default "default.dat", "pattern3x3.dat",
// "pattern4x4.dat").
ColorPatternSet* Config_getCustomPattern(Config* config);
ColorPatternSet* Config_getPattern3(Config* config);
ColorPatternSet* Config_getPattern4(Config* config);

// The reader, exposed for its tests.
//
// Reads one record (a colour line and its row lines) into pattern; 1 when a
// record was read, 0 when the reading ends here.
INT ColorPattern_read(ColorPattern* pattern, FILE* file);
// Reads one line into buffer (PATTERN_LINE_BYTES), carriage returns dropped,
// without its line feed. Null at the end of the file, and for a line longer
// than PATTERN_LINE_CHARS: then reading goes on at its first character past
// the limit.
char* readPatternLine(char* buffer, FILE* file);
// The next token of the line at *cursor, skipping runs of spaces, commas and
// tabs; the separator after it is overwritten with a terminator and *cursor
// moves past it. Null when the line holds no more tokens.
char* nextToken(char** cursor);
