// Helpers of the host tests: a folder of job files and pictures, and pages
// drawn by the host's own driver functions (no plug-in in between).
#pragma once

#include "driver_functions.h"
#include "job_file.h"
#include "page_replay.h"
#include "png_image.h"
#include "surface.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace hosttest {

// A temporary folder (a fresh system root), removed at the end of the test.
class Folder : public testkit::TempRoot {
public:
    std::string path(const std::string& name) const { return TempRoot::path() + "/" + name; }
    std::string write(const std::string& name, const std::string& text) const;
    // A picture whose pixel (i, j) is pictureColor(i, j).
    std::string writePicture(const std::string& name, int width, int height) const;
};

host::Rgb pictureColor(int i, int j);
// The pixels of such a picture, rows top to bottom, three bytes a pixel.
std::vector<uint8_t> pictureBytes(int width, int height);

// Draws one page of the job into a surface of cx x cy pixels whose top-left
// is `origin` on the page (of pageSize; the surface's own size when not
// given), through the host's own driver functions, with pictures from the
// given store (a store of its own when none).
std::unique_ptr<host::Surface> drawBand(const host::JobSpec& job, size_t page, POINT origin, int cx, int cy,
                                        SIZEL pageSize = {0, 0}, host::PictureStore* pictures = nullptr);

}  // namespace hosttest
