// PNG through libpng's simplified interface, which reports errors as text
// instead of long jumps.
#include "png_image.h"

#include <png.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace host {

namespace {

// libpng's message for a missing file is terse; say what a person would.
std::string openProblem(const std::string& path)
{
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (in)
        return {};
    return errno ? std::strerror(errno) : "cannot open";
}

bool begin(png_image& image, const std::string& path, std::string& error)
{
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    error = openProblem(path);
    if (!error.empty())
        return false;
    if (!png_image_begin_read_from_file(&image, path.c_str())) {
        error = std::string("not a readable PNG picture (") + image.message + ")";
        png_image_free(&image);
        return false;
    }
    if (image.width == 0 || image.height == 0 || image.width > 0x7FFF || image.height > 0x7FFF) {
        error = "picture size " + std::to_string(image.width) + " x " + std::to_string(image.height) +
                " is out of range (1 to 32767)";
        png_image_free(&image);
        return false;
    }
    return true;
}

}  // namespace

bool readPngSize(const std::string& path, int32_t& width, int32_t& height, std::string& error)
{
    png_image image;
    if (!begin(image, path, error))
        return false;
    width = (int32_t)image.width;
    height = (int32_t)image.height;
    png_image_free(&image);
    return true;
}

bool readPng(const std::string& path, Picture& picture, std::string& error)
{
    png_image image;
    if (!begin(image, path, error))
        return false;
    image.format = PNG_FORMAT_RGB;
    picture.width = (int32_t)image.width;
    picture.height = (int32_t)image.height;
    picture.rgb.assign(PNG_IMAGE_SIZE(image), 0);
    png_color white = {255, 255, 255};
    if (!png_image_finish_read(&image, &white, picture.rgb.data(), 0, nullptr)) {
        error = std::string("cannot decode the picture (") + image.message + ")";
        png_image_free(&image);
        picture = Picture();
        return false;
    }
    return true;
}

bool writePng(const std::string& path, const Picture& picture, std::string& error)
{
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = (png_uint_32)picture.width;
    image.height = (png_uint_32)picture.height;
    image.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&image, path.c_str(), 0, picture.rgb.data(), 0, nullptr)) {
        error = std::string("cannot write the picture (") + image.message + ")";
        return false;
    }
    return true;
}

}  // namespace host
