#include "host_fixture.h"

#include "driver_functions.h"
#include "page_replay.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace hosttest {

Folder::Folder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "pumex-host-XXXXXX").string();
    path_ = mkdtemp(&pattern[0]) ? pattern : "";
}

Folder::~Folder() { std::filesystem::remove_all(path_); }

std::string Folder::write(const std::string& name, const std::string& text) const
{
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
}

host::Rgb pictureColor(int i, int j) { return {(uint8_t)(i * 37 + 5), (uint8_t)(j * 53 + 11), (uint8_t)(i * j + 90)}; }

std::string Folder::writePicture(const std::string& name, int width, int height) const
{
    host::Picture picture;
    picture.width = width;
    picture.height = height;
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i) {
            host::Rgb c = pictureColor(i, j);
            picture.rgb.insert(picture.rgb.end(), {c.r, c.g, c.b});
        }
    std::string error;
    EXPECT_TRUE(host::writePng(path(name), picture, error)) << error;
    return path(name);
}

std::unique_ptr<host::Surface> drawBand(const host::JobSpec& job, size_t page, POINT origin, int cx, int cy,
                                        SIZEL pageSize)
{
    if (pageSize.cx == 0)
        pageSize = {cx, cy};
    auto surface = std::make_unique<host::Surface>(cx, cy, job.surface.format);
    host::HostDevice device;
    surface->obj()->dhpdev = reinterpret_cast<DHPDEV>(static_cast<DEVOBJ*>(&device));
    host::PictureStore pictures(job);
    host::replayPage(host::DriverTable(), surface->obj(), job, page, {origin.x, origin.y}, pageSize,
                     pictures);
    surface->obj()->dhpdev = nullptr;
    return surface;
}

}  // namespace hosttest
