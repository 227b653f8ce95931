// The job file, read strictly: every key is known, every value has its type
// and range, every picture is readable, and there is at least one page. The
// first problem ends the reading with one line naming the file and the key.
#include "job_file.h"

#include "page_geometry.h"
#include "png_image.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>

namespace host {

namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kCoordLimit = 10000000;  // far beyond any page, far from overflow

class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    [[noreturn]] void fail(const std::string& key, const std::string& what) const
    {
        throw JobError(file_ + ": " + key + ": " + what);
    }

    void onlyKeys(const Json& obj, const std::string& path, std::initializer_list<const char*> known) const
    {
        for (const auto& item : obj.items())
            if (std::none_of(known.begin(), known.end(), [&](const char* k) { return item.key() == k; }))
                fail(join(path, item.key()), "unknown key");
    }

    const Json& object(const Json& parent, const std::string& key, const std::string& path) const
    {
        const Json& v = parent.at(key);
        if (!v.is_object())
            fail(join(path, key), "must be an object");
        return v;
    }

    int64_t integer(const Json& v, const std::string& key, int64_t lo, int64_t hi) const
    {
        if (!v.is_number_integer())
            fail(key, "must be a whole number");
        int64_t n = v.is_number_unsigned() ? (int64_t)std::min<uint64_t>(v.get<uint64_t>(), INT64_MAX) : v.get<int64_t>();
        if (n < lo || n > hi)
            fail(key, std::to_string(n) + " is out of range (" + std::to_string(lo) + " to " + std::to_string(hi) + ")");
        return n;
    }

    std::string text(const Json& v, const std::string& key, size_t maxLength = 4096) const
    {
        if (!v.is_string())
            fail(key, "must be a text");
        std::string s = v.get<std::string>();
        if (s.empty() || s.size() > maxLength)
            fail(key, "must be 1 to " + std::to_string(maxLength) + " characters");
        return s;
    }

    bool flag(const Json& v, const std::string& key) const
    {
        if (!v.is_boolean())
            fail(key, "must be true or false");
        return v.get<bool>();
    }

    Rgb color(const Json& v, const std::string& key) const
    {
        if (!v.is_array() || v.size() != 3)
            fail(key, "must be a colour [red, green, blue]");
        return {(uint8_t)integer(v[0], key + "[0]", 0, 255), (uint8_t)integer(v[1], key + "[1]", 0, 255),
                (uint8_t)integer(v[2], key + "[2]", 0, 255)};
    }

    // Four coordinates [x0, y0, x1, y1].
    std::array<int32_t, 4> quad(const Json& v, const std::string& key) const
    {
        if (!v.is_array() || v.size() != 4)
            fail(key, "must be four numbers [x0, y0, x1, y1]");
        std::array<int32_t, 4> q{};
        for (size_t i = 0; i < 4; ++i)
            q[i] = (int32_t)integer(v[i], key + "[" + std::to_string(i) + "]", -kCoordLimit, kCoordLimit);
        return q;
    }

    int32_t coord(const Json& obj, const char* name, const std::string& path) const
    {
        return (int32_t)integer(required(obj, name, path), join(path, name), -kCoordLimit, kCoordLimit);
    }

    const Json& required(const Json& obj, const char* name, const std::string& path) const
    {
        if (!obj.contains(name))
            fail(join(path, name), "missing");
        return obj.at(name);
    }

    static std::string join(const std::string& path, const std::string& key)
    {
        return path.empty() ? key : path + "." + key;
    }

    const std::string& file() const { return file_; }

private:
    std::string file_;
};

std::string folderOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

// Reads the document, and the pictures it names (each once), into a JobSpec.
class JobReader {
public:
    JobReader(const std::string& path, JobSpec& job) : r_(path), job_(job), folder_(folderOf(path)) {}

    void read(const Json& doc)
    {
        if (!doc.is_object())
            r_.fail("(top)", "must be an object");
        r_.onlyKeys(doc, "", {"printer", "devmode", "surface", "controlFlags", "pages"});
        if (doc.contains("printer"))
            job_.printer = r_.text(doc["printer"], "printer", 220);
        if (doc.contains("devmode"))
            readDevMode(r_.object(doc, "devmode", ""));
        if (doc.contains("surface"))
            readSurface(r_.object(doc, "surface", ""));
        if (doc.contains("controlFlags"))
            job_.controlFlags = r_.text(doc["controlFlags"], "controlFlags");
        const Json& pages = r_.required(doc, "pages", "");
        if (!pages.is_array())
            r_.fail("pages", "must be a list of pages");
        if (pages.empty())
            r_.fail("pages", "the job has no pages");
        for (size_t i = 0; i < pages.size(); ++i)
            readPage(pages[i], "pages[" + std::to_string(i) + "]");
    }

private:
    void readDevMode(const Json& d)
    {
        r_.onlyKeys(d, "devmode", {"paperWidth", "paperLength", "paperSize", "formName", "printQuality",
                                   "yResolution", "orientation", "copies", "collate"});
        DevModeSpec& dm = job_.devmode;
        auto i16 = [&](const char* key, int64_t lo) {
            return (int16_t)r_.integer(d[key], std::string("devmode.") + key, lo, 32767);
        };
        int kinds = 0;
        if (d.contains("paperWidth") || d.contains("paperLength")) {
            ++kinds;
            r_.required(d, "paperWidth", "devmode");
            r_.required(d, "paperLength", "devmode");
            dm.paperWidth = i16("paperWidth", 1);
            dm.paperLength = i16("paperLength", 1);
        }
        if (d.contains("paperSize"))
            ++kinds, dm.paperSize = i16("paperSize", 1);
        if (d.contains("formName"))
            ++kinds, dm.formName = r_.text(d["formName"], "devmode.formName", CCHFORMNAME - 1);
        if (kinds > 1)
            r_.fail("devmode", "give the paper one way: paperWidth and paperLength, paperSize, or formName");
        if (d.contains("printQuality"))
            dm.printQuality = dm.yResolution = i16("printQuality", 1);
        if (d.contains("yResolution"))
            dm.yResolution = i16("yResolution", 1);
        if (d.contains("orientation")) {
            std::string o = r_.text(d["orientation"], "devmode.orientation");
            if (o != "portrait" && o != "landscape")
                r_.fail("devmode.orientation", "must be \"portrait\" or \"landscape\"");
            dm.landscape = o == "landscape";
        }
        if (d.contains("copies"))
            dm.copies = i16("copies", 0);
        if (d.contains("collate"))
            dm.collate = r_.flag(d["collate"], "devmode.collate");
    }

    void readSurface(const Json& s)
    {
        r_.onlyKeys(s, "surface", {"format", "banding", "bandHeight"});
        if (s.contains("format")) {
            std::string f = r_.text(s["format"], "surface.format");
            if (f != "24bpp" && f != "1bpp")
                r_.fail("surface.format", "must be \"24bpp\" or \"1bpp\"");
            job_.surface.format = f == "24bpp" ? SurfaceFormat::Rgb24 : SurfaceFormat::Mono1;
        }
        if (s.contains("banding"))
            job_.surface.banding = r_.flag(s["banding"], "surface.banding");
        if (s.contains("bandHeight"))
            job_.surface.bandHeight = (int32_t)r_.integer(s["bandHeight"], "surface.bandHeight", 1, 65535);
    }

    void readPage(const Json& page, const std::string& path)
    {
        if (!page.is_object())
            r_.fail(path, "must be an object with \"ops\"");
        r_.onlyKeys(page, path, {"ops"});
        const Json& ops = r_.required(page, "ops", path);
        if (!ops.is_array())
            r_.fail(path + ".ops", "must be a list of drawing operations");
        PageSpec spec;
        for (size_t i = 0; i < ops.size(); ++i)
            spec.ops.push_back(readOp(ops[i], path + ".ops[" + std::to_string(i) + "]"));
        job_.pages.push_back(std::move(spec));
    }

    Op readOp(const Json& op, const std::string& path)
    {
        if (!op.is_object() || op.empty())
            r_.fail(path, "must be an object whose first key names the operation");
        const std::string kind = op.begin().key();
        if (kind == "rect")
            return readRect(op, path);
        if (kind == "image")
            return readImage(op, path);
        if (kind == "line")
            return readLine(op, path);
        if (kind == "text")
            return readText(op, path);
        r_.fail(path + "." + kind, "unknown operation (rect, image, line or text)");
    }

    RectOp readRect(const Json& op, const std::string& path)
    {
        r_.onlyKeys(op, path, {"rect", "fill"});
        auto q = r_.quad(op["rect"], path + ".rect");
        if (q[0] > q[2] || q[1] > q[3])
            r_.fail(path + ".rect", "x0 must not exceed x1, nor y0 y1");
        RectOp r{q[0], q[1], q[2], q[3], {}};
        if (op.contains("fill"))
            r.fill = r_.color(op["fill"], path + ".fill");
        return r;
    }

    ImageOp readImage(const Json& op, const std::string& path)
    {
        r_.onlyKeys(op, path, {"image", "x", "y", "width", "height"});
        ImageOp image;
        image.image = pictureIndex(r_.text(op["image"], path + ".image"), path + ".image");
        image.x = r_.coord(op, "x", path);
        image.y = r_.coord(op, "y", path);
        const ImageRef& ref = job_.images[image.image];
        image.width = op.contains("width") ? (int32_t)r_.integer(op["width"], path + ".width", 1, 65535) : ref.width;
        image.height =
            op.contains("height") ? (int32_t)r_.integer(op["height"], path + ".height", 1, 65535) : ref.height;
        return image;
    }

    LineOp readLine(const Json& op, const std::string& path)
    {
        r_.onlyKeys(op, path, {"line", "width", "color"});
        auto q = r_.quad(op["line"], path + ".line");
        LineOp line{q[0], q[1], q[2], q[3], 1, {}};
        if (op.contains("width"))
            line.width = (int32_t)r_.integer(op["width"], path + ".width", 1, 1000);
        if (op.contains("color"))
            line.color = r_.color(op["color"], path + ".color");
        return line;
    }

    TextOp readText(const Json& op, const std::string& path)
    {
        r_.onlyKeys(op, path, {"text", "face", "x", "y", "size", "color", "italic", "glyphIndex", "vertical"});
        TextOp t;
        t.text = r_.text(op["text"], path + ".text");
        t.face = r_.text(r_.required(op, "face", path), path + ".face", 31);
        t.x = r_.coord(op, "x", path);
        t.y = r_.coord(op, "y", path);
        t.size = (int32_t)r_.integer(r_.required(op, "size", path), path + ".size", 1, 10000);
        if (op.contains("color"))
            t.color = r_.color(op["color"], path + ".color");
        if (op.contains("italic"))
            t.italic = r_.flag(op["italic"], path + ".italic");
        if (op.contains("glyphIndex"))
            t.glyphIndex = r_.flag(op["glyphIndex"], path + ".glyphIndex");
        if (op.contains("vertical"))
            t.vertical = r_.flag(op["vertical"], path + ".vertical");
        return t;
    }

    // The picture's place in the job's list; each file is checked once.
    size_t pictureIndex(const std::string& name, const std::string& key)
    {
        std::string path = !name.empty() && name[0] == '/' ? name : folder_ + name;
        auto found = seen_.find(path);
        if (found != seen_.end())
            return found->second;
        ImageRef ref{path, 0, 0};
        std::string error;
        if (!readPngSize(path, ref.width, ref.height, error))
            r_.fail(key, path + ": " + error);
        job_.images.push_back(ref);
        return seen_[path] = job_.images.size() - 1;
    }

    Reader r_;
    JobSpec& job_;
    std::string folder_;
    std::map<std::string, size_t> seen_;
};

}  // namespace

JobSpec loadJob(const std::string& path)
{
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw JobError(path + ": cannot read the job file: " + (errno ? std::strerror(errno) : "cannot open"));
    Json doc;
    try {
        doc = Json::parse(in);
    } catch (const Json::parse_error& e) {
        throw JobError(path + ": not a JSON document (at byte " + std::to_string(e.byte) + ")");
    } catch (const Json::out_of_range&) {
        throw JobError(path + ": a number in the job file is too large to read");  // 1e999
    }
    JobSpec job;
    job.source = path;
    JobReader(path, job).read(doc);
    return job;
}

JobSpec jobFromOptions(const std::string& source, const ImageJobOptions& options)
{
    JobSpec job;
    job.source = source;
    job.printer = options.printer;
    job.devmode.printQuality = job.devmode.yResolution = options.printQuality;
    job.devmode.copies = options.copies;
    job.devmode.landscape = options.landscape;
    job.devmode.collate = options.collate;
    if (options.doubleSided)
        job.controlFlags = "INTERPOINT=1";
    return job;
}

JobSpec imageJob(const std::string& path, const ImageJobOptions& options)
{
    JobSpec job = jobFromOptions(path, options);
    ImageRef ref{path, 0, 0};
    std::string error;
    if (!readPngSize(path, ref.width, ref.height, error))
        throw JobError(path + ": " + error);
    job.images.push_back(ref);

    // Letter paper: the device mode names none.
    DEVMODEW dm = buildDevMode(job.devmode, job.printer);
    PageSize page = pageSizeFor(dm, paperOf(dm, nullptr, {}));
    double scale = std::min((double)page.cx / ref.width, (double)page.cy / ref.height);
    ImageOp op;
    op.width = std::max(1, (int32_t)(ref.width * scale));
    op.height = std::max(1, (int32_t)(ref.height * scale));
    op.x = (page.cx - op.width) / 2;
    op.y = (page.cy - op.height) / 2;
    job.pages.push_back(PageSpec{{op}});
    return job;
}

}  // namespace host
