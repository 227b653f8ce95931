// PNG output through libpng: 8-bit RGB, no interlacing.
#include "stream_png.h"

#include <png.h>

#include <cstdio>
#include <vector>

namespace tools {

namespace {

// libpng reports errors by long jump; this keeps the message for the caller.
void onPngError(png_structp png, png_const_charp message)
{
    auto* text = static_cast<std::string*>(png_get_error_ptr(png));
    if (text)
        *text = message;
    png_longjmp(png, 1);
}

void onPngWarning(png_structp, png_const_charp) {}

// Writes the rows; false when libpng gave up. Kept apart from writePng so no
// object with a destructor lives across the long jump.
bool writeRows(FILE* file, const formats::Picture& picture, std::string& message)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, onPngError, onPngWarning);
    if (!png)
        return false;
    png_infop info = png_create_info_struct(png);
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    std::vector<png_bytep> rows(picture.height);
    for (unsigned y = 0; y < picture.height; ++y)
        rows[y] = const_cast<png_bytep>(&picture.rgb[(size_t)y * picture.width * 3]);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, picture.width, picture.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

std::string writePng(const formats::Picture& picture, FILE* file)
{
    std::string message;
    if (!writeRows(file, picture, message))
        return message.empty() ? "libpng failed" : message;
    return {};
}

}  // namespace tools
