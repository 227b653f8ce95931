// Colour pattern files: loading, the custom and hue lookups, and the
// configuration's three sets.
//
// The file is byte-oriented text read through the C runtime's stream:
// a header line, then records of one colour line and one or more row lines
// ("#" and one digit per cell). Carriage returns are dropped wherever they
// stand. Reading ends quietly at the first thing that is not a complete
// record; every record before it stays usable.
#include "pattern.h"

#include "config/config.h"
#include "diag/diag.h"

#include <climits>
#include <cstdint>
#include <cstring>

namespace {

const BYTE kEndOfLine = '\n';
const BYTE kDropped = '\r';
const char kRowMark = '#';

// Tiles may be larger than the first working buffer: it doubles as rows
// arrive, up to this many cells, beyond which the record is refused (and the
// reading ends) rather than memory exhausted by a runaway file.
const int64_t kMaxTileCells = 1 << 24;
// A whole file holds at most this many records and this many cells in all;
// reading stops there with a line in the log. Real files hold a few dozen
// colours of small tiles.
const INT kMaxPatterns = 4096;
const int64_t kMaxFileCells = 1 << 24;

// Bytes of a path as 8-bit text for the log: up to three bytes per unit.
#define PATH_TEXT_BYTES (PATTERN_NAME_CHARS * 3 + 1)

// The next byte of the file, carriage returns dropped; EOF at the end.
int readByte(FILE* file)
{
    int c;
    do
        c = fgetc(file);
    while (c == kDropped);
    return c;
}

// The next byte without taking it.
int peekByte(FILE* file)
{
    int c = readByte(file);
    if (c != EOF)
        ungetc(c, file);
    return c;
}

// Reads a line as readPatternLine does; *tooLong tells a line past the limit
// from the end of the file.
char* readLine(char* buffer, FILE* file, bool* tooLong)
{
    *tooLong = false;
    int length = 0;
    for (;;) {
        int c = readByte(file);
        if (c == EOF) {
            buffer[length] = '\0';
            return length > 0 ? buffer : nullptr;
        }
        if (c == kEndOfLine) {
            buffer[length] = '\0';
            return buffer;
        }
        if (length == PATTERN_LINE_CHARS) {
            ungetc(c, file);
            buffer[length] = '\0';
            *tooLong = true;
            return nullptr;
        }
        buffer[length++] = (char)c;
    }
}

// Skips what is left of the current line.
void skipLine(FILE* file)
{
    int c;
    do
        c = readByte(file);
    while (c != EOF && c != kEndOfLine);
}

inline bool isSeparator(char c) { return c == ' ' || c == ',' || c == '\t'; }
inline bool isCellDigit(char c) { return c >= '0' && c <= '7'; }

// A decimal number as the Windows runtime's atoi reads it: leading white
// space, an optional sign, digits up to the first other character; 0 when no
// digit comes first; INT_MAX or INT_MIN when the number is out of range.
INT parseDecimal(const char* text)
{
    while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
        ++text;
    bool negative = *text == '-';
    if (*text == '-' || *text == '+')
        ++text;
    int64_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        value = value * 10 + (*text - '0');
        if (value > (int64_t)INT_MAX + 1)
            value = (int64_t)INT_MAX + 1;  // saturated; more digits change nothing
    }
    if (negative)
        return value > INT_MAX ? INT_MIN : (INT)-value;
    return value > INT_MAX ? INT_MAX : (INT)value;
}

// Leading cell digits of a row, at most limit.
INT countCellDigits(const char* row, INT limit)
{
    INT n = 0;
    while (n < limit && isCellDigit(row[n]))
        ++n;
    return n;
}

// The working buffer of one tile: rows of width bytes, grown on demand.
struct TileBuffer {
    BYTE* bytes = nullptr;
    int64_t capacity = 0;

    bool reserve(int64_t needed)
    {
        if (needed <= capacity)
            return true;
        if (needed > kMaxTileCells)
            return false;
        int64_t size = capacity ? capacity : PATTERN_ROW_BUFFER;
        while (size < needed)
            size *= 2;
        auto* grown = static_cast<BYTE*>(mymalloc((DWORD)size));
        if (!grown)
            return false;
        if (bytes) {
            memcpy(grown, bytes, (size_t)capacity);
            myfree(bytes);
        }
        bytes = grown;
        capacity = size;
        return true;
    }

    ~TileBuffer()
    {
        if (bytes)
            myfree(bytes);
    }
};

// Appends one row of up to width digits, padded with "0" cells.
void addRow(BYTE* tile, INT height, INT width, const char* row)
{
    BYTE* out = tile + (int64_t)(height - 1) * width;
    INT digits = countCellDigits(row, width);
    memcpy(out, row, (size_t)digits);
    memset(out + digits, '0', (size_t)(width - digits));
}

// Doubles the set's pattern array; FALSE when memory runs out.
BOOL growPatterns(ColorPatternSet* set)
{
    INT capacity = set->capacity ? set->capacity * 2 : PATTERN_FIRST_CAPACITY;
    auto* grown = static_cast<ColorPattern**>(mymalloc((DWORD)(capacity * sizeof(ColorPattern*))));
    if (!grown)
        return FALSE;
    if (set->patterns) {
        memcpy(grown, set->patterns, set->count * sizeof(ColorPattern*));
        myfree(set->patterns);
    }
    set->patterns = grown;
    set->capacity = capacity;
    return TRUE;
}

ColorPattern* newPattern()
{
    auto* pattern = static_cast<ColorPattern*>(mymalloc(sizeof(ColorPattern)));
    if (pattern) {
        pattern->width = 1;
        pattern->height = 1;
        pattern->red = pattern->green = pattern->blue = -1;
        pattern->cells = nullptr;
    }
    return pattern;
}

// Reads the header line; TRUE when it starts with the pattern header. A header
// line past the line limit is not an error: only its start counts.
BOOL readHeader(FILE* file, const char* pathText)
{
    char header[PATTERN_LINE_BYTES];
    bool tooLong;
    if (!readLine(header, file, &tooLong) && tooLong)
        skipLine(file);
    if (gDebugLevel == 1 || gDebugLevel == 2) {
        WCHAR wideHeader[PATTERN_LINE_BYTES];
        px_utf8_to_wide(wideHeader, PATTERN_LINE_BYTES, header);
        LogMessage(" header: %ls\n", wideHeader);
    }
    if (strncmp(header, PATTERN_HEADER, PATTERN_HEADER_LENGTH) != 0) {
        LogMessage("Wrong header of pattern file %s\n", pathText);
        return FALSE;
    }
    return TRUE;
}

// Reads every record of the file into the set, up to the file limits.
void readPatterns(ColorPatternSet* set, FILE* file, const char* pathText)
{
    if (!growPatterns(set))
        return;
    int64_t cells = 0;
    for (;;) {
        if (set->count == kMaxPatterns || cells > kMaxFileCells) {
            LogMessage("pattern file %s: more than %d colours or %d cells, the rest is not read\n", pathText,
                       kMaxPatterns, (INT)kMaxFileCells);
            return;
        }
        ColorPattern* pattern = newPattern();
        if (!pattern)
            return;
        if (!ColorPattern_read(pattern, file) || (set->count == set->capacity && !growPatterns(set))) {
            ColorPattern_delete(pattern);
            return;
        }
        cells += (int64_t)pattern->width * pattern->height;
        set->patterns[set->count++] = pattern;
    }
}

// Loads the set named by a printer-data value, or its default file.
ColorPatternSet* loadConfigured(Config* config, LPCWSTR valueName, LPCWSTR defaultName)
{
    WCHAR fileName[PATTERN_NAME_CHARS];
    fileName[0] = 0;
    LPCWSTR name = Config_getStringFromRegistry(config, valueName, fileName, PATTERN_NAME_CHARS, defaultName);
    return ColorPatternSet_load(name);
}

}  // namespace

char* readPatternLine(char* buffer, FILE* file)
{
    bool tooLong;
    return readLine(buffer, file, &tooLong);
}

char* nextToken(char** cursor)
{
    char* p = *cursor;
    while (isSeparator(*p))
        ++p;
    if (!*p) {
        *cursor = p;
        return nullptr;
    }
    char* token = p;
    while (*p && !isSeparator(*p))
        ++p;
    if (*p)
        *p++ = '\0';
    *cursor = p;
    return token;
}

INT ColorPattern_read(ColorPattern* pattern, FILE* file)
{
    char line[PATTERN_LINE_BYTES];
    char* cursor = readPatternLine(line, file);
    if (!cursor)
        return 0;
    char* red = nextToken(&cursor);
    char* green = red ? nextToken(&cursor) : nullptr;
    char* blue = green ? nextToken(&cursor) : nullptr;
    if (!blue)
        return 0;
    pattern->red = parseDecimal(red);
    pattern->green = parseDecimal(green);
    pattern->blue = parseDecimal(blue);

    INT width = 0;
    INT height = 0;
    TileBuffer tile;
    // Row lines follow while the next line starts with "#"; a row line past
    // the line limit ends the record, and its rest is the next colour line.
    while (peekByte(file) == kRowMark && readPatternLine(line, file)) {
        const char* row = line + 1;
        if (width == 0) {
            width = countCellDigits(row, PATTERN_LINE_CHARS);
            if (width == 0)
                return 0;
        }
        if (!tile.reserve((int64_t)(height + 1) * width))
            return 0;
        ++height;
        addRow(tile.bytes, height, width, row);
    }
    if (width == 0 || height == 0)
        return 0;

    DWORD cellCount = (DWORD)width * (DWORD)height;
    auto* cells = static_cast<BYTE*>(mymalloc(cellCount));
    if (!cells)
        return 0;
    for (DWORD i = 0; i < cellCount; ++i)
        cells[i] = (BYTE)(tile.bytes[i] - '0');
    myfree(pattern->cells);
    pattern->cells = cells;
    pattern->width = width;
    pattern->height = height;
    return 1;
}

ColorPatternSet* ColorPatternSet_load(LPCWSTR path)
{
    auto* set = static_cast<ColorPatternSet*>(mymalloc(sizeof(ColorPatternSet)));
    if (!set)
        return nullptr;
    set->name = path && path[0] ? mystrdup(path) : nullptr;
    set->patterns = nullptr;
    set->count = 0;
    set->capacity = 0;
    set->lastPattern = nullptr;
    set->lastRed = set->lastGreen = set->lastBlue = -1;
    set->lastResult = -1;

    char pathText[PATH_TEXT_BYTES];
    px_wide_to_utf8(pathText, sizeof pathText, path ? path : WSTR(""));
    LogMessage(" Opening pattern file: %ws\n", path);
    FILE* file = path ? _wfopen(path, WSTR("rb")) : nullptr;
    if (!file) {
        LogMessage("can't open file %s\n", pathText);
        return set;
    }
    LogMessage("file opened\n");
    if (readHeader(file, pathText))
        readPatterns(set, file, pathText);
    fclose(file);
    return set;
}

void ColorPattern_delete(ColorPattern* pattern)
{
    if (!pattern)
        return;
    if (pattern->cells)
        myfree(pattern->cells);
    myfree(pattern);
}

void ColorPatternSet_delete(ColorPatternSet* set)
{
    if (!set)
        return;
    for (INT i = 0; i < set->count; ++i)
        ColorPattern_delete(set->patterns[i]);
    if (set->patterns)
        myfree(set->patterns);
    if (set->name)
        myfree(set->name);
    myfree(set);
}

INT ColorPattern_getCell(const ColorPattern* pattern, DWORD x, DWORD y)
{
    if (!pattern->cells)
        return -1;
    DWORD row = y % (DWORD)pattern->height;
    DWORD column = x % (DWORD)pattern->width;
    return pattern->cells[row * (DWORD)pattern->width + column];
}

// The custom lookup keeps the last colour and its pattern: neighbouring cells
// mostly share a colour, so the search runs once per colour change.
INT ColorPatternSet_getColorDotHeight(ColorPatternSet* set, INT red, INT green, INT blue, DWORD x, DWORD y)
{
    if (red == set->lastRed && green == set->lastGreen && blue == set->lastBlue) {
        if (!set->lastPattern)
            return set->lastResult;
    } else {
        ColorPattern* found = nullptr;
        for (INT i = 0; i < set->count && !found; ++i) {
            ColorPattern* p = set->patterns[i];
            if (p->red == red && p->green == green && p->blue == blue)
                found = p;
        }
        set->lastRed = red;
        set->lastGreen = green;
        set->lastBlue = blue;
        set->lastPattern = found;
    }
    set->lastResult = set->lastPattern ? ColorPattern_getCell(set->lastPattern, x, y) : -1;
    return set->lastResult;
}

INT ColorPatternSet_getHueDotHeight(const ColorPatternSet* set, const PixelColor* color, DWORD x, DWORD y,
                                    INT threshold)
{
    HsvColor hsv = rgbToHsv(color);
    if (hsv.saturation < threshold)
        return -1;  // near-grey: tone-mapped as usual
    INT sector = ((hsv.hue + 21) / 42) % HUE_SECTORS;
    // Brightness, contrast, inversion and dither do not apply to patterned cells.
    INT level = quantiseLightness(hsv.value);
    if (!set || sector >= set->count)
        return level;
    return ColorPattern_getCell(set->patterns[sector], x, y) == 0 ? 0 : level;
}

ColorPatternSet* Config_getCustomPattern(Config* config)
{
    if (!config->customPattern)
        config->customPattern = loadConfigured(config, WSTR("CustomPatternFileName"), WSTR("default.dat"));
    return config->customPattern;
}

ColorPatternSet* Config_getPattern3(Config* config)
{
    if (!config->pattern3)
        config->pattern3 = loadConfigured(config, WSTR("ColorPattern3FileName"), WSTR("pattern3x3.dat"));
    return config->pattern3;
}

ColorPatternSet* Config_getPattern4(Config* config)
{
    if (!config->pattern4)
        config->pattern4 = loadConfigured(config, WSTR("ColorPattern4FileName"), WSTR("pattern4x4.dat"));
    return config->pattern4;
}
