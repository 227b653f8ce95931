// Braille tables: the plain text a transcriber writes and reads, one character
// a line with its dot numbers, and the braille font files ("DP" files) the
// plug-in loads, built from them and read back into them.
//
// Table text (UTF-8):
//
//   # name: Computer Braille        the font's name (else the table's file name)
//   # cell: 6                       6-dot cells (the default) or 8
//   A 1                             a character and its dots, in any order
//   U+2813 125                      a character by its code, U+0 to U+FFFF
//   SPACE -                         SPACE is U+0020; "-" or "0" is a blank cell
//   U+0023 3456                     "#" starts a comment, so "#" itself is U+0023
//
// Blank lines and lines starting with "#" are comments; "# name:" and
// "# cell:" (each once, anywhere) are the two settings. A "#" after the dots
// starts a comment too. Characters come into the font in table order, each
// code once.
//
// Cells in the font: 2 dot positions wide; 3 rows (dots 1-2-3 down the left
// position, 4-5-6 down the right) or 4 rows, the fourth holding dots 7 (left)
// and 8 (right).
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace braille {

// Dots of a cell: bit k set for dot k + 1, as the Unicode braille patterns
// count them (U+2800 + dots is the cell's pattern).
using Dots = uint8_t;

struct Cell {
    uint16_t code;  // UTF-16 code unit the cell stands for
    Dots dots;
    int line;       // table line it came from; 0 when it came from elsewhere
};

struct Table {
    std::string name;  // UTF-8; empty: not given
    int cellDots = 6;  // 6 or 8
    std::vector<Cell> cells;
};

// Something wrong with a table or font; line 0 means the whole file.
struct Problem {
    int line;
    std::string what;
};

// Longest font name a font file holds, in UTF-16 code units (255 bytes).
constexpr size_t kMaxNameUnits = 127;
// Most glyphs a font file can announce.
constexpr size_t kMaxGlyphs = 65535;

// Reads table text into table (replacing what it held). Adds every problem
// found to problems, in line order; true when there is none.
bool parseTable(const std::string& text, Table& table, std::vector<Problem>& problems);

// The table as text, in the form parseTable reads: settings, then one line a
// cell with its dots in ascending order. Printable ASCII other than "#" and the
// space is written as itself, the space as SPACE, everything else as U+XXXX.
std::string formatTable(const Table& table, const std::string& heading = "");

// How a code is written in a table and in messages.
std::string formatCode(uint16_t code);
std::string formatDots(Dots dots);

// The bytes of the braille font file for a table (the table must be valid).
std::string writeFont(const Table& table);

// Reads a font file back into a table. Refuses what a table cannot say: glyphs
// that are not 6-dot or 8-dot cells, cells of both sizes, a code given twice,
// a file that ends inside its header or a glyph.
bool readFont(const std::string& bytes, Table& table, std::string& problem);

// The 8-dot table of the Unicode braille patterns: U+2800 to U+28FF, each
// code with its own dots.
Table unicodePatternsTable();

// The font name a table file gives when it has no "# name:": its file name
// without folder and extension, cut to kMaxNameUnits.
std::string nameFromPath(const std::string& path);

// Largest table and font files read: far beyond the 65535 characters a font holds.
constexpr size_t kMaxTableBytes = size_t(8) << 20;
constexpr size_t kMaxFontBytes = size_t(32) << 20;

// The work of `pumex mkfont`: the font built from the table file, or the
// table of the font file. Messages name the file (and line) and go to err;
// each returns the exit status, 0 or 1 (the input is unreadable or bad).
int buildFont(const std::string& tablePath, std::string& font, std::ostream& err);
int dumpFontFile(const std::string& fontPath, std::ostream& out, std::ostream& err);

}  // namespace braille
