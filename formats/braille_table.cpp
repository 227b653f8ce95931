// Braille tables and the font files built from them.
#include "braille_table.h"
#include "input_file.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>

namespace braille {

namespace {

// Rows of a cell and where each dot sits: dots[row][position] is the dot
// number at that place, 0 for none.
const int kCellPlaces[4][2] = {{1, 4}, {2, 5}, {3, 6}, {7, 8}};
// The lower bit of a position's pair marks a dot: positions 0 and 1 of a byte.
const uint8_t kPositionBit[2] = {0x40, 0x10};

constexpr size_t kHeaderBytes = 17;      // up to the name
constexpr size_t kGlyphHeaderBytes = 7;  // up to the bitmap

std::string hex4(unsigned value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04X", value);
    return text;
}

// Decodes one UTF-8 character at s[i], advancing i; false for bad bytes.
bool nextUtf8(const std::string& s, size_t& i, uint32_t& cp)
{
    auto byte = [&](size_t k) { return (uint8_t)s[k]; };
    uint8_t b = byte(i);
    int extra = b < 0x80 ? 0 : (b & 0xE0) == 0xC0 ? 1 : (b & 0xF0) == 0xE0 ? 2 : (b & 0xF8) == 0xF0 ? 3 : -1;
    if (extra < 0 || i + extra >= s.size())
        return false;
    cp = extra == 0 ? b : b & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        uint8_t c = byte(i + k);
        if ((c & 0xC0) != 0x80)
            return false;
        cp = (cp << 6) | (c & 0x3F);
    }
    static const uint32_t kLeast[4] = {0, 0x80, 0x800, 0x10000};
    if (cp < kLeast[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return false;
    i += extra + 1;
    return true;
}

void appendUtf8(std::string& out, uint32_t cp)
{
    if (cp < 0x80) {
        out += (char)cp;
    } else if (cp < 0x800) {
        out += (char)(0xC0 | (cp >> 6));
        out += (char)(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += (char)(0xE0 | (cp >> 12));
        out += (char)(0x80 | ((cp >> 6) & 0x3F));
        out += (char)(0x80 | (cp & 0x3F));
    } else {
        out += (char)(0xF0 | (cp >> 18));
        out += (char)(0x80 | ((cp >> 12) & 0x3F));
        out += (char)(0x80 | ((cp >> 6) & 0x3F));
        out += (char)(0x80 | (cp & 0x3F));
    }
}

// UTF-8 text to UTF-16 code units; false when the text is not UTF-8.
bool toUtf16(const std::string& s, std::u16string& out)
{
    out.clear();
    for (size_t i = 0; i < s.size();) {
        uint32_t cp;
        if (!nextUtf8(s, i, cp))
            return false;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += (char16_t)(0xD800 + (cp >> 10));
            out += (char16_t)(0xDC00 + (cp & 0x3FF));
        } else {
            out += (char16_t)cp;
        }
    }
    return true;
}

// UTF-16 code units to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string fromUtf16(const std::u16string& s)
{
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        uint32_t cp = s[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] <= 0xDFFF)
            cp = 0x10000 + ((cp - 0xD800) << 10) + (s[++i] - 0xDC00);
        else if (cp >= 0xD800 && cp <= 0xDFFF)
            cp = 0xFFFD;
        appendUtf8(out, cp);
    }
    return out;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && isBlank(s[b]))
        ++b;
    while (e > b && isBlank(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

std::vector<std::string> words(const std::string& s)
{
    std::vector<std::string> out;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && isBlank(s[i]))
            ++i;
        size_t start = i;
        while (i < s.size() && !isBlank(s[i]))
            ++i;
        if (i > start)
            out.push_back(s.substr(start, i - start));
    }
    return out;
}

// The character a table's first word names; an empty string or a message.
std::string parseCharacter(const std::string& word, uint16_t& code)
{
    if (word == "SPACE") {
        code = 0x20;
        return "";
    }
    if (word.size() > 2 && (word[0] == 'U' || word[0] == 'u') && word[1] == '+') {
        std::string digits = word.substr(2);
        if (digits.size() > 6 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return "'" + word + "' is not a code: write U+ and 1 to 4 hexadecimal digits";
        unsigned long value = std::stoul(digits, nullptr, 16);
        if (value > 0xFFFF)
            return "'" + word + "' is beyond U+FFFF: a font holds 16-bit character codes";
        code = (uint16_t)value;
        return "";
    }
    size_t i = 0;
    uint32_t cp = 0;
    if (!nextUtf8(word, i, cp))
        return "'" + word + "' is not UTF-8 text";
    if (i != word.size())
        return "'" + word + "' is more than one character (write one character, SPACE or U+XXXX)";
    if (cp > 0xFFFF)
        return "'" + word + "' is beyond U+FFFF: a font holds 16-bit character codes";
    code = (uint16_t)cp;
    return "";
}

// The dots a table's second word lists; an empty string or a message.
std::string parseDots(const std::string& word, Dots& dots)
{
    dots = 0;
    if (word == "-" || word == "0")
        return "";
    for (char c : word) {
        if (c < '0' || c > '9')
            return "'" + word + "' is not a list of dots (write digits 1 to 8, or - for a blank cell)";
        if (c == '0' || c == '9')
            return std::string("dot ") + c + " in '" + word + "': braille dots are 1 to 8";
        Dots bit = (Dots)(1u << (c - '1'));
        if (dots & bit)
            return std::string("dot ") + c + " twice in '" + word + "'";
        dots |= bit;
    }
    return "";
}

// A comment line's setting: "# key: value" gives key (lower case) and value.
bool parseSetting(const std::string& comment, std::string& key, std::string& value)
{
    std::string body = trim(comment.substr(1));
    size_t colon = body.find(':');
    if (colon == std::string::npos || colon == 0)
        return false;
    key = body.substr(0, colon);
    for (char& c : key) {
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')))
            return false;
        c = (char)(c | 0x20);
    }
    value = trim(body.substr(colon + 1));
    return key == "name" || key == "cell";
}

// The name as a setting's value: a backslash doubled; line breaks, other
// control characters and blanks at either end as \uXXXX, so the value stays
// on its line and keeps its ends.
std::string escapeName(const std::string& name)
{
    std::string out;
    for (size_t i = 0; i < name.size(); ++i) {
        unsigned char c = (unsigned char)name[i];
        bool edge = (i == 0 || i + 1 == name.size()) && isBlank((char)c);
        if (c == '\\')
            out += "\\\\";
        else if (c < 0x20 || c == 0x7F || edge)
            out += "\\u" + hex4(c);
        else
            out += (char)c;
    }
    return out;
}

// The name a setting's value gives; an empty string or a message.
std::string unescapeName(const std::string& value, std::string& name)
{
    name.clear();
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size() || (value[i + 1] != '\\' && value[i + 1] != 'u')) {
            name += value[i];  // a backslash before anything else is itself
        } else if (value[i + 1] == '\\') {
            name += '\\';
            ++i;
        } else {
            std::string digits = value.substr(i + 2, 4);
            if (digits.size() != 4 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
                return "'\\u' in the name takes four hexadecimal digits";
            unsigned unit = (unsigned)std::stoul(digits, nullptr, 16);
            if (unit >= 0xD800 && unit <= 0xDFFF)
                return "'\\u" + digits + "' in the name is half a character";
            appendUtf8(name, unit);
            i += 5;
        }
    }
    return "";
}

// "WxH": a glyph's positions and rows, each 0 to kMaxGlyphSide; false when the
// word is not of that form.
bool parseSize(const std::string& word, int& positions, int& rows)
{
    size_t x = word.find('x');
    auto number = [](const std::string& digits, int& value) {
        if (digits.empty() || digits.size() > 3 || digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        value = std::stoi(digits);
        return value <= kMaxGlyphSide;
    };
    return x != std::string::npos && number(word.substr(0, x), positions) && number(word.substr(x + 1), rows);
}

// A glyph's rows in the size form, each its positions as "o" or "."; an empty
// string or a message.
std::string parseRows(const std::vector<std::string>& w, Cell& cell)
{
    const size_t rowWords = cell.rows && cell.positions ? (size_t)cell.rows : 0;
    if (w.size() - 2 != rowWords)
        return "'" + w[1] + "' takes " + std::to_string(rowWords) + " rows of positions, found " +
               std::to_string(w.size() - 2);
    cell.marks.assign((size_t)cell.rows * (size_t)cell.positions, 0);
    for (size_t r = 0; r < rowWords; ++r) {
        const std::string& row = w[2 + r];
        if (row.size() != (size_t)cell.positions || row.find_first_not_of("o.") != std::string::npos)
            return "row " + std::to_string(r + 1) + " '" + row + "' is not " + std::to_string(cell.positions) +
                   " positions of 'o' (dot) or '.' (none)";
        for (size_t p = 0; p < row.size(); ++p)
            cell.marks[r * row.size() + p] = row[p] == 'o';
    }
    return "";
}

std::string formatSize(const Cell& c)
{
    std::string out = std::to_string(c.positions) + "x" + std::to_string(c.rows);
    for (int r = 0; c.positions && r < c.rows; ++r) {
        out += ' ';
        for (int p = 0; p < c.positions; ++p)
            out += c.marks[(size_t)r * c.positions + p] ? 'o' : '.';
    }
    return out;
}

class TableReader {
public:
    TableReader(Table& table, std::vector<Problem>& problems) : table_(table), problems_(problems) {}

    void line(int number, std::string text)
    {
        if (!text.empty() && text.back() == '\r')
            text.pop_back();
        if (number == 1 && text.compare(0, 3, "\xEF\xBB\xBF") == 0)
            text.erase(0, 3);  // a byte-order mark some editors write
        std::string content = trim(text);
        if (content.empty())
            return;
        if (content[0] == '#') {
            setting(number, content);
            return;
        }
        cell(number, content);
    }

    void finish()
    {
        for (const Cell& c : table_.cells)
            if (table_.cellDots == 6 && !c.sized && (c.dots & 0xC0))
                report(c.line, "dot " + std::string(c.dots & 0x40 ? "7" : "8") +
                                   " in a 6-dot table (add '# cell: 8' for 8-dot cells)");
        if (characterLines_ == 0)
            report(0, "no characters: a font needs at least one");
        if (table_.cells.size() > kMaxGlyphs)
            report(0, "more than " + std::to_string(kMaxGlyphs) + " characters");
    }

private:
    void report(int line, const std::string& what) { problems_.push_back({line, what}); }

    void setting(int number, const std::string& content)
    {
        std::string key, value;
        if (!parseSetting(content, key, value))
            return;  // an ordinary comment
        auto seen = settingLines_.find(key);
        if (seen != settingLines_.end()) {
            report(number, "'# " + key + ":' was already given on line " + std::to_string(seen->second));
            return;
        }
        settingLines_[key] = number;
        if (key == "cell") {
            if (value == "6" || value == "8")
                table_.cellDots = value[0] - '0';
            else
                report(number, "'# cell: " + value + "': a cell has 6 or 8 dots");
            return;
        }
        std::u16string units;
        std::string name, problem;
        if (value.empty())
            report(number, "'# name:' gives no name");
        else if (!toUtf16(value, units))
            report(number, "the name is not UTF-8 text");
        else if (!(problem = unescapeName(value, name)).empty())
            report(number, problem);
        else if (toUtf16(name, units), units.size() > kMaxNameUnits)
            report(number, "the name is longer than " + std::to_string(kMaxNameUnits) + " characters");
        else if (name.find('\0') != std::string::npos)
            // A font's name ends at its first zero character, so one inside it
            // would cut the name short in every font made from the table.
            report(number, "the name holds a zero character");
        else
            table_.name = name;
    }

    void cell(int number, const std::string& content)
    {
        ++characterLines_;
        std::string body = content;
        size_t hash = body.find('#');
        while (hash != std::string::npos && (hash == 0 || !isBlank(body[hash - 1])))
            hash = body.find('#', hash + 1);
        if (hash != std::string::npos)
            body = trim(body.substr(0, hash));  // a comment after the dots
        std::vector<std::string> w = words(body);
        if (w.size() == 1) {
            report(number, "'" + w[0] + "' has no dots (write - for a blank cell)");
            return;
        }
        Cell sized{0, 0, number};
        if (w.size() >= 2 && parseSize(w[1], sized.positions, sized.rows)) {
            glyph(number, w, sized);
            return;
        }
        if (w.size() != 2) {
            report(number, "expected a character and its dots, found " + std::to_string(w.size()) + " words");
            return;
        }
        uint16_t code = 0;
        Dots dots = 0;
        std::string problem = parseCharacter(w[0], code);
        if (problem.empty())
            problem = parseDots(w[1], dots);
        if (!problem.empty()) {
            report(number, problem);
            return;
        }
        auto seen = codeLines_.find(code);
        if (seen != codeLines_.end()) {
            report(number, "'" + formatCode(code) + "' was already given on line " + std::to_string(seen->second));
            return;
        }
        codeLines_[code] = number;
        table_.cells.push_back({code, dots, number});
    }

    // A line in the size form: a glyph as a font holds it.
    void glyph(int number, const std::vector<std::string>& w, Cell& cell)
    {
        cell.sized = true;
        std::string problem = parseCharacter(w[0], cell.code);
        if (problem.empty())
            problem = parseRows(w, cell);
        if (!problem.empty())
            report(number, problem);
        else
            table_.cells.push_back(std::move(cell));
    }

    Table& table_;
    std::vector<Problem>& problems_;
    std::map<std::string, int> settingLines_;
    std::map<uint16_t, int> codeLines_;
    int characterLines_ = 0;
};

void putBig16(std::string& out, unsigned v)
{
    out += (char)((v >> 8) & 0xFF);
    out += (char)(v & 0xFF);
}

void putBig32(std::string& out, uint32_t v)
{
    putBig16(out, v >> 16);
    putBig16(out, v & 0xFFFF);
}

unsigned big16(const std::string& b, size_t at) { return ((uint8_t)b[at] << 8) | (uint8_t)b[at + 1]; }

// Bytes a glyph row takes in a font: four positions a byte.
size_t rowBytes(int positions) { return ((size_t)positions + 3) / 4; }

// A glyph of the size form after its code: height, width, three bytes the
// reader skips, then each row with the leftmost position in bits 7-6 of its
// first byte, bit 6 (4, 2, 0) marking a dot.
void appendGlyph(std::string& out, const Cell& c)
{
    out += (char)c.rows;
    out += (char)c.positions;
    out.append(3, '\0');
    for (int r = 0; r < c.rows; ++r) {
        std::string row(rowBytes(c.positions), '\0');
        for (int p = 0; p < c.positions; ++p)
            if (c.marks[(size_t)r * c.positions + p])
                row[(size_t)p / 4] = (char)(row[(size_t)p / 4] | (0x40 >> (2 * (p % 4))));
        out += row;
    }
}

// A glyph's rows read in the size form.
void readMarks(const std::string& bytes, size_t at, Cell& c)
{
    c.marks.assign((size_t)c.rows * c.positions, 0);
    for (int r = 0; r < c.rows; ++r)
        for (int p = 0; p < c.positions; ++p)
            c.marks[(size_t)r * c.positions + p] =
                ((uint8_t)bytes[at + r * rowBytes(c.positions) + (size_t)p / 4] >> (6 - 2 * (p % 4))) & 1;
}

// The file at path into bytes; false after telling err why it cannot be had.
bool readWholeFile(const std::string& path, size_t maxBytes, std::string& bytes, std::ostream& err)
{
    std::string problem;
    if (formats::readInputFile(path, maxBytes, bytes, problem))
        return true;
    err << path << ": " << problem << "\n";
    return false;
}

}  // namespace

bool parseTable(const std::string& text, Table& table, std::vector<Problem>& problems)
{
    size_t before = problems.size();
    table = Table();
    TableReader reader(table, problems);
    std::istringstream in(text);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number)
        reader.line(number, line);
    reader.finish();
    // In line order, whole-file problems last, as a reader goes through the table.
    std::stable_sort(problems.begin() + (std::ptrdiff_t)before, problems.end(), [](const Problem& a, const Problem& b) {
        return (a.line == 0 ? INT32_MAX : a.line) < (b.line == 0 ? INT32_MAX : b.line);
    });
    return problems.size() == before;
}

std::string formatCode(uint16_t code)
{
    if (code == 0x20)
        return "SPACE";
    if (code > 0x20 && code < 0x7F && code != '#')
        return std::string(1, (char)code);
    return "U+" + hex4(code);
}

std::string formatDots(Dots dots)
{
    if (dots == 0)
        return "-";
    std::string out;
    for (int k = 0; k < 8; ++k)
        if (dots & (1u << k))
            out += (char)('1' + k);
    return out;
}

std::string formatTable(const Table& table, const std::string& heading)
{
    std::string out = heading;
    if (!table.name.empty())
        out += "# name: " + escapeName(table.name) + "\n";
    out += "# cell: " + std::to_string(table.cellDots) + "\n";
    for (const Cell& c : table.cells)
        out += formatCode(c.code) + " " + (c.sized ? formatSize(c) : formatDots(c.dots)) + "\n";
    return out;
}

std::string writeFont(const Table& table)
{
    const int rows = table.cellDots == 8 ? 4 : 3;
    std::u16string name;
    toUtf16(table.name, name);
    if (name.size() > kMaxNameUnits)
        name.resize(kMaxNameUnits);

    int largestRows = 0, largestPositions = 0;
    for (const Cell& c : table.cells) {
        largestRows = std::max(largestRows, c.sized ? c.rows : rows);
        largestPositions = std::max(largestPositions, c.sized ? c.positions : 2);
    }
    std::string out;
    out += "DP";
    putBig32(out, 0);  // not interpreted by the reader
    putBig32(out, 0);  // the file size, filled in below
    putBig16(out, (unsigned)table.cells.size());
    out += (char)largestRows;
    out += (char)largestPositions;
    putBig16(out, 0);
    out += (char)(name.size() * 2);
    for (char16_t u : name) {
        out += (char)(u & 0xFF);
        out += (char)(u >> 8);
    }
    for (const Cell& c : table.cells) {
        putBig16(out, c.code);
        if (c.sized) {
            appendGlyph(out, c);
            continue;
        }
        out += (char)rows;
        out += (char)2;
        out.append(3, '\0');
        for (int r = 0; r < rows; ++r) {
            uint8_t byte = 0;
            for (int p = 0; p < 2; ++p)
                if (c.dots & (1u << (kCellPlaces[r][p] - 1)))
                    byte |= kPositionBit[p];
            out += (char)byte;
        }
    }
    std::string size;
    putBig32(size, (uint32_t)out.size());
    out.replace(6, 4, size);
    return out;
}

bool readFont(const std::string& bytes, Table& table, std::string& problem)
{
    table = Table();
    if (bytes.size() < kHeaderBytes) {
        problem = "too short for a braille font header (" + std::to_string(bytes.size()) + " bytes)";
        return false;
    }
    if (bytes[0] != 'D' || bytes[1] != 'P') {
        problem = "not a braille font file: it does not start with \"DP\"";
        return false;
    }
    const size_t count = big16(bytes, 10);
    const size_t nameBytes = (uint8_t)bytes[16];
    if (count == 0) {
        problem = "the font holds no glyphs";
        return false;
    }
    if (kHeaderBytes + nameBytes > bytes.size()) {
        problem = "the file ends inside the font's name";
        return false;
    }
    // The name's bytes pair up into UTF-16 units; an odd last byte is a unit of
    // its own. The plug-in's name ends at a zero unit, and no table names more
    // than kMaxNameUnits.
    std::u16string name;
    for (size_t i = 0; i < nameBytes && name.size() < kMaxNameUnits; i += 2) {
        char16_t unit = (uint8_t)bytes[kHeaderBytes + i];
        if (i + 1 < nameBytes)
            unit |= (char16_t)((uint8_t)bytes[kHeaderBytes + i + 1] << 8);
        if (unit == 0)
            break;
        name += unit;
    }
    table.name = fromUtf16(name);

    std::map<uint16_t, size_t> seen;
    size_t at = kHeaderBytes + nameBytes;
    int cellRows = 0;  // rows of the table's cells: the first 2-position glyph of 3 or 4 rows says
    for (size_t g = 1; g <= count; ++g) {
        const std::string which = "glyph " + std::to_string(g) + " of " + std::to_string(count);
        if (at + kGlyphHeaderBytes > bytes.size()) {
            problem = "the file ends before " + which;
            return false;
        }
        Cell cell{(uint16_t)big16(bytes, at), 0, 0};
        cell.rows = (uint8_t)bytes[at + 2];
        cell.positions = (uint8_t)bytes[at + 3];
        at += kGlyphHeaderBytes;
        const size_t size = rowBytes(cell.positions) * (size_t)cell.rows;
        if (at + size > bytes.size()) {
            problem = "the file ends inside " + which + " (U+" + hex4(cell.code) + ")";
            return false;
        }
        if (!cellRows && cell.positions == 2 && (cell.rows == 3 || cell.rows == 4))
            cellRows = cell.rows;
        if (cellRows && cell.positions == 2 && cell.rows == cellRows && seen.emplace(cell.code, g).second) {
            for (int r = 0; r < cell.rows; ++r)
                for (int p = 0; p < 2; ++p)
                    if ((uint8_t)bytes[at + r] & kPositionBit[p])
                        cell.dots |= (Dots)(1u << (kCellPlaces[r][p] - 1));
        } else {
            cell.sized = true;
            readMarks(bytes, at, cell);
        }
        at += size;
        table.cells.push_back(std::move(cell));
    }
    table.cellDots = cellRows == 4 ? 8 : 6;
    return true;
}

Table unicodePatternsTable()
{
    Table table;
    table.name = "Unicode Braille 8-dot";
    table.cellDots = 8;
    for (unsigned dots = 0; dots < 256; ++dots)
        table.cells.push_back({(uint16_t)(0x2800 + dots), (Dots)dots, 0});
    return table;
}

std::string nameFromPath(const std::string& path)
{
    size_t slash = path.find_last_of("/\\");
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = base.find_last_of('.');
    if (dot != std::string::npos && dot > 0)
        base.erase(dot);
    std::u16string units;
    if (!toUtf16(base, units))
        return "";
    if (units.size() > kMaxNameUnits) {
        units.resize(kMaxNameUnits);
        if (units.back() >= 0xD800 && units.back() <= 0xDBFF)
            units.pop_back();  // never keep half a character
    }
    return fromUtf16(units);
}

int buildFont(const std::string& tablePath, std::string& font, std::ostream& err)
{
    std::string text;
    if (!readWholeFile(tablePath, kMaxTableBytes, text, err))
        return 1;
    Table table;
    std::vector<Problem> problems;
    if (!parseTable(text, table, problems)) {
        for (const Problem& p : problems) {
            err << tablePath;
            if (p.line > 0)
                err << ":" << p.line;
            err << ": " << p.what << "\n";
        }
        return 1;
    }
    if (table.name.empty())
        table.name = nameFromPath(tablePath);
    font = writeFont(table);
    return 0;
}

int dumpFontFile(const std::string& fontPath, std::ostream& out, std::ostream& err)
{
    std::string bytes;
    if (!readWholeFile(fontPath, kMaxFontBytes, bytes, err))
        return 1;
    Table table;
    std::string problem;
    if (!readFont(bytes, table, problem)) {
        err << fontPath << ": " << problem << "\n";
        return 1;
    }
    out << formatTable(table);
    return 0;
}

}  // namespace braille
