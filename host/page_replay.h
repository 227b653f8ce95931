// A page's drawing as GDI hands it to the driver: each operation of the job
// becomes the DDI call GDI would make (a rectangle a solid-brush bit-block
// transfer, a picture at its own size a source copy, a scaled picture a
// stretch, a thin line a line-to, a wide one a path stroke), translated to
// the origin of the band being drawn and clipped to it.
#pragma once

#include "job_file.h"
#include "page_geometry.h"
#include "png_image.h"
#include "win32.h"

#include <memory>
#include <vector>

namespace host {

// The driver functions GDI calls, by DDI index: the plug-in's hooks where it
// hooks one, the host's own functions otherwise.
class DriverTable {
public:
    explicit DriverTable(const DRVENABLEDATA* hooks = nullptr);
    template <typename Fn>
    Fn get(ULONG index) const
    {
        return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(index < kSize ? fns_[index] : nullptr));
    }

private:
    static constexpr ULONG kSize = 96;
    PFN fns_[kSize] = {};
};

// The job's pictures, each decoded once, from its first use, and let go
// after the last page that draws it. A large picture is read on a thread of
// its own while the bands above draw what is already in.
class PictureStore {
public:
    explicit PictureStore(const JobSpec& job);
    // The picture with at least its first `rows` rows in. Throws JobError
    // naming the picture when it cannot be decoded.
    const Picture& get(size_t image, int32_t rows);
    // Lets go of the pictures no later page draws, each read to its end
    // first: throws JobError when one of them turns out to be broken.
    void pageDone(size_t page);

private:
    const JobSpec& job_;
    std::vector<size_t> lastPage_;
    std::vector<std::unique_ptr<PictureReader>> pictures_;
};

// Draws page `page` of the job into the band surface whose top-left is
// `origin` on the page, clipped to the band and to the page (cx x cy). Throws JobError ("<job>: pages[i].ops[j]: ...") when an
// operation cannot be drawn, with the reason the driver functions recorded.
void replayPage(const DriverTable& table, SURFOBJ* so, const JobSpec& job, size_t page, POINTL origin,
                SIZEL pageSize, PictureStore& pictures);

}  // namespace host
