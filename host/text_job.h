// A job made from a plain UTF-8 text file: the text laid out in pages of
// braille, in the printer's first braille-mapped face, so a person can emboss
// a text file in one command.
#pragma once

#include "job_file.h"

#include <string>

namespace host {

// Embossing positions a character and a line take: a cell two dots wide and
// a blank column; a cell up to four rows high and two blank rows.
constexpr int kTextCellColumns = 3;
constexpr int kTextLineRows = 6;
// Blank positions around the text on every side.
constexpr int kTextMarginPositions = 10;

// The first face of the printer's braille font list. Throws HostError when
// the printer lists none.
std::string firstBrailleFace(const std::string& printer);

// Pages of lines of at most `columns` characters (UTF-16 units): lines break
// at line ends, words wrap at spaces, a word longer than a line is cut, a
// form feed starts a new page, tabs become spaces. Always at least one page.
std::vector<std::vector<std::u16string>> layOutText(const std::u16string& text, size_t columns, size_t lines);

// One job for the bytes of a text file (source names it in messages), on
// Letter paper unless the options say otherwise. Throws JobError when the
// bytes are not UTF-8 or the page has no room for a line.
JobSpec textJob(const std::string& source, const std::string& utf8, const ImageJobOptions& options);

}  // namespace host
