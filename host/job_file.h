// A print job as the host runs it: the printer, the job's device mode, the
// surface the driver renders into, and each page's drawing in order. Read from
// a job file (JSON) or made from one picture.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace host {

// A job that cannot run as written. The message is one line:
// "<file>: <key path>: <what is wrong>".
class JobError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Rgb {
    uint8_t r = 0, g = 0, b = 0;
    bool operator==(const Rgb& o) const { return r == o.r && g == o.g && b == o.b; }
};

// The drawing operations of a page. Coordinates are device pixels of the page
// (in landscape, x runs along the paper's length).
struct RectOp {
    int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // covers x0 <= x < x1, y0 <= y < y1
    Rgb fill;
};
struct ImageOp {
    size_t image = 0;  // index into JobSpec::images
    int32_t x = 0, y = 0;
    int32_t width = 0, height = 0;  // as drawn; the picture's own size unless given
};
struct LineOp {
    int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    int32_t width = 1;
    Rgb color;
};
struct TextOp {
    std::string text;
    std::string face;
    int32_t x = 0, y = 0;
    int32_t size = 0;
    Rgb color;
    bool italic = false;
    bool glyphIndex = false;
    bool vertical = false;
};
using Op = std::variant<RectOp, ImageOp, LineOp, TextOp>;

struct PageSpec {
    std::vector<Op> ops;
};

// A picture the job draws: its file and its size in pixels.
struct ImageRef {
    std::string path;
    int32_t width = 0, height = 0;
};

// The public device mode fields a job sets. Paper comes from the explicit size,
// else the paper id, else the form name, else the printer's default (Letter).
struct DevModeSpec {
    std::optional<int16_t> paperWidth, paperLength;  // tenths of a millimetre
    std::optional<int16_t> paperSize;                // paper id of the printer's list
    std::optional<std::string> formName;
    int16_t printQuality = 100;  // dpi across
    int16_t yResolution = 100;   // dpi down
    bool landscape = false;
    int16_t copies = 1;
    bool collate = false;
};

enum class SurfaceFormat { Rgb24, Mono1 };

struct SurfaceSpec {
    SurfaceFormat format = SurfaceFormat::Rgb24;
    bool banding = true;     // false: whole pages, finished by page send
    int32_t bandHeight = 128;  // band extent along the banding direction, in pixels
};

struct JobSpec {
    std::string source;  // the job file (or picture) it came from, for messages
    std::string printer = "Pumex Embosser";
    DevModeSpec devmode;
    SurfaceSpec surface;
    std::optional<std::string> controlFlags;  // one-shot control string for the printer
    std::vector<ImageRef> images;             // every picture, once
    std::vector<PageSpec> pages;
};

// Reads and checks a job file; throws JobError naming the file and the key.
JobSpec loadJob(const std::string& path);

// Options of a one-page job made from a picture.
struct ImageJobOptions {
    std::string printer = "Pumex Embosser";
    int16_t printQuality = 100;
    int16_t copies = 1;
    bool landscape = false;
    bool collate = false;
    bool doubleSided = false;  // asks the printer for interpoint through the control string
};

// One page on Letter paper: the picture scaled to fit the page, aspect kept,
// centred. Throws JobError when the picture cannot be read.
JobSpec imageJob(const std::string& path, const ImageJobOptions& options);

// A job of no pages yet whose printer, device mode and control string are
// what the options say; source names it in messages.
JobSpec jobFromOptions(const std::string& source, const ImageJobOptions& options);

}  // namespace host
