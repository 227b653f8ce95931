#include "page_replay.h"

#include "cairo_render.h"
#include "driver_functions.h"
#include "surface.h"
#include "text_services.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace host {

DriverTable::DriverTable(const DRVENABLEDATA* hooks)
{
    const DRVENABLEDATA& own = hostDriverFunctions();
    for (ULONG i = 0; i < own.c; ++i)
        fns_[own.pdrvfn[i].iFunc] = own.pdrvfn[i].pfn;
    for (ULONG i = 0; hooks && i < hooks->c; ++i)
        if (hooks->pdrvfn[i].iFunc < kSize && hooks->pdrvfn[i].pfn)
            fns_[hooks->pdrvfn[i].iFunc] = hooks->pdrvfn[i].pfn;
}

PictureStore::PictureStore(const JobSpec& job) : job_(job), lastPage_(job.images.size()), pictures_(job.images.size())
{
    for (size_t p = 0; p < job.pages.size(); ++p)
        for (const Op& op : job.pages[p].ops)
            if (const auto* image = std::get_if<ImageOp>(&op))
                lastPage_[image->image] = p;
}

namespace {

// Smaller pictures are read whole: a thread would buy nothing.
constexpr int64_t kStreamedBytes = 1 << 20;

}  // namespace

const Picture& PictureStore::get(size_t image, int32_t rows)
{
    const ImageRef& ref = job_.images[image];
    if (!pictures_[image]) {
        bool large = (int64_t)ref.width * ref.height * 3 >= kStreamedBytes;
        pictures_[image] = std::make_unique<PictureReader>(ref.path, large);
    }
    std::string error;
    if (!pictures_[image]->wait(rows, error))
        throw JobError(ref.path + ": " + error);
    return pictures_[image]->picture();
}

void PictureStore::pageDone(size_t page)
{
    for (size_t i = 0; i < pictures_.size(); ++i) {
        if (!pictures_[i] || lastPage_[i] > page)
            continue;
        std::string error;
        bool read = pictures_[i]->wait(INT32_MAX, error);
        pictures_[i].reset();
        if (!read)
            throw JobError(job_.images[i].path + ": " + error);
    }
}

namespace {

// What one replay needs at hand for every operation.
struct Replay {
    const DriverTable& table;
    SURFOBJ* so;
    POINTL origin;
    PictureStore& pictures;
    const JobSpec& job;
    std::string where;  // "pages[i].ops[j]"
    CLIPOBJ clip{};     // the band, as a rectangle clip

    RECTL toBand(LONG x0, LONG y0, LONG x1, LONG y1) const
    {
        return {x0 - origin.x, y0 - origin.y, x1 - origin.x, y1 - origin.y};
    }
    bool outside(const RECTL& r) const { return isEmpty(intersect(r, clip.rclBounds)); }

    void check(BOOL result) const
    {
        HostDevice* device = deviceOf(so);
        std::string why = device && !device->failure.empty() ? device->failure : "";
        if (result && why.empty())
            return;
        throw JobError(job.source + ": " + where + ": " + (why.empty() ? "the driver refused to draw it" : why));
    }

    void operator()(const RectOp& op)
    {
        RECTL target = toBand(op.x0, op.y0, op.x1, op.y1);
        if (outside(target))
            return;
        BRUSHOBJ brush{brushColor(op.fill.r, op.fill.g, op.fill.b), nullptr, 0};
        POINTL brushOrigin{0, 0};
        auto fn = table.get<PFN_DrvBitBlt>(INDEX_DrvBitBlt);
        check(fn(so, nullptr, nullptr, &clip, nullptr, &target, nullptr, nullptr, &brush, &brushOrigin, kRopPatCopy));
    }

    void operator()(const ImageOp& op)
    {
        RECTL target = toBand(op.x, op.y, op.x + op.width, op.y + op.height);
        if (outside(target))
            return;
        // A copy at its own size reads the picture's rows down to the band's
        // bottom edge only, so it need not wait for the rest (the plug-in
        // passes the source on to the host's copy without reading it). A
        // stretch may read any row.
        const ImageRef& ref = job.images[op.image];
        bool ownSize = op.width == ref.width && op.height == ref.height;
        const Picture* read =
            &pictures.get(op.image, ownSize ? std::min(ref.height, clip.rclBounds.bottom - target.top) : ref.height);
        if (read->width != ref.width || read->height != ref.height)  // the file changed since the job was read
            read = &pictures.get(op.image, INT32_MAX);
        const Picture& picture = *read;
        SURFOBJ source = pictureSurface(picture);
        if (op.width == picture.width && op.height == picture.height) {
            POINTL from{0, 0};
            auto fn = table.get<PFN_DrvBitBlt>(INDEX_DrvBitBlt);
            check(fn(so, &source, nullptr, &clip, nullptr, &target, &from, nullptr, nullptr, nullptr, kRopSrcCopy));
            return;
        }
        RECTL whole{0, 0, picture.width, picture.height};
        auto fn = table.get<PFN_DrvStretchBlt>(INDEX_DrvStretchBlt);
        check(fn(so, &source, nullptr, &clip, nullptr, nullptr, nullptr, &target, &whole, nullptr, kStretchHalftone));
    }

    void operator()(const LineOp& op)
    {
        LONG m = op.width / 2 + 1;
        RECTL reach = toBand(std::min(op.x0, op.x1) - m, std::min(op.y0, op.y1) - m, std::max(op.x0, op.x1) + m + 1,
                             std::max(op.y0, op.y1) + m + 1);
        if (outside(reach))
            return;
        BRUSHOBJ pen{brushColor(op.color.r, op.color.g, op.color.b), nullptr, 0};
        RECTL from = toBand(op.x0, op.y0, op.x1, op.y1);
        if (op.width == 1) {
            auto fn = table.get<PFN_DrvLineTo>(INDEX_DrvLineTo);
            check(fn(so, &clip, &pen, from.left, from.top, from.right, from.bottom, &reach, kMixCopyPen));
            return;
        }
        HostPath path;
        path.fl = 0;
        path.cCurves = 1;
        path.points = {{from.left, from.top}, {from.right, from.bottom}};
        LINEATTRS attrs{};
        attrs.fl = kLineGeometric;
        float width = (float)op.width;
        std::memcpy(&attrs.elWidth.e, &width, sizeof width);
        auto fn = table.get<PFN_DrvStrokePath>(INDEX_DrvStrokePath);
        check(fn(so, &path, &clip, nullptr, &pen, nullptr, &attrs, kMixCopyPen));
    }

    // Every band gets the run: braille cells reach below the text's box by an
    // amount only the plug-in knows, and it keeps to its page buffer itself.
    void operator()(const TextOp& op)
    {
        std::unique_ptr<HostTextRun> run;
        try {
            run = layoutText(op, origin);
        } catch (const JobError& e) {
            throw JobError(job.source + ": " + where + ": " + e.what());
        }
        BRUSHOBJ brush{brushColor(op.color.r, op.color.g, op.color.b), nullptr, 0};
        POINTL brushOrigin{0, 0};
        auto fn = table.get<PFN_DrvTextOut>(INDEX_DrvTextOut);
        check(fn(so, run.get(), &run->fontObject, &clip, nullptr, nullptr, &brush, nullptr, &brushOrigin,
                 kMixCopyPen));
    }
};

}  // namespace

void replayPage(const DriverTable& table, SURFOBJ* so, const JobSpec& job, size_t page, POINTL origin,
                SIZEL pageSize, PictureStore& pictures)
{
    Replay replay{table, so, origin, pictures, job, {}, {}};
    RECTL band{0, 0, so->sizlBitmap.cx, so->sizlBitmap.cy};
    replay.clip.rclBounds = intersect(band, replay.toBand(0, 0, pageSize.cx, pageSize.cy));
    replay.clip.iDComplexity = DC_RECT;
    replay.clip.iFComplexity = 1;  // FC_RECT
    const std::vector<Op>& ops = job.pages[page].ops;
    for (size_t i = 0; i < ops.size(); ++i) {
        replay.where = "pages[" + std::to_string(page) + "].ops[" + std::to_string(i) + "]";
        std::visit(replay, ops[i]);
    }
}

}  // namespace host
