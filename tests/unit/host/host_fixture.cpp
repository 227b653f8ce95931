#include "host_fixture.h"

namespace hosttest {

std::string Folder::write(const std::string& name, const std::string& text) const
{
    testkit::writeFile(path(name), text);
    return path(name);
}

host::Rgb pictureColor(int i, int j) { return {(uint8_t)(i * 37 + 5), (uint8_t)(j * 53 + 11), (uint8_t)(i * j + 90)}; }

std::vector<uint8_t> pictureBytes(int width, int height)
{
    std::vector<uint8_t> rgb;
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i) {
            host::Rgb c = pictureColor(i, j);
            rgb.insert(rgb.end(), {c.r, c.g, c.b});
        }
    return rgb;
}

std::string Folder::writePicture(const std::string& name, int width, int height) const
{
    host::Picture picture;
    picture.width = width;
    picture.height = height;
    std::vector<uint8_t> rgb = pictureBytes(width, height);
    picture.rgb.assign(rgb.begin(), rgb.end());
    std::string error;
    EXPECT_TRUE(host::writePng(path(name), picture, error)) << error;
    return path(name);
}

std::unique_ptr<host::Surface> drawBand(const host::JobSpec& job, size_t page, POINT origin, int cx, int cy,
                                        SIZEL pageSize, host::PictureStore* pictures)
{
    if (pageSize.cx == 0)
        pageSize = {cx, cy};
    auto surface = std::make_unique<host::Surface>(cx, cy, job.surface.format);
    host::HostDevice device;  // the device the surface's drawing calls report to
    surface->obj()->dhpdev = reinterpret_cast<DHPDEV>(static_cast<DEVOBJ*>(&device));
    host::PictureStore own(job);
    host::replayPage(host::DriverTable(), surface->obj(), job, page, {origin.x, origin.y}, pageSize,
                     pictures ? *pictures : own);
    surface->obj()->dhpdev = nullptr;
    return surface;
}

}  // namespace hosttest
