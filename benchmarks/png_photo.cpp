// The whole-process benchmark's helper: makes its photograph and times the
// plain decode it is measured against.
//
//   png_photo make FILE WIDTH HEIGHT   a photograph-like RGB picture
//   png_photo decode FILE [ROUNDS]     decodes FILE ROUNDS times (default 5)
//                                      with libpng; prints the best time and
//                                      the decoded page's bytes
#include <png.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// Smooth light, shading and fine grain, as a scanned photograph has.
int makePhoto(const char* path, unsigned width, unsigned height)
{
    std::vector<uint8_t> pixels((size_t)width * height * 3);
    std::mt19937 grain(1);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            double u = (double)x / width, v = (double)y / height;
            double light = 0.5 + 0.35 * std::sin(6.0 * u + 2.0 * v) * std::cos(4.0 * v - u);
            uint8_t* p = &pixels[((size_t)y * width + x) * 3];
            for (int c = 0; c < 3; ++c) {
                double value = 255.0 * light * (0.8 + 0.2 * c * u) + (double)(grain() % 9) - 4.0;
                p[c] = (uint8_t)(value < 0 ? 0 : value > 255 ? 255 : value);
            }
        }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&image, path, 0, pixels.data(), 0, nullptr)) {
        std::fprintf(stderr, "png_photo: %s: %s\n", path, image.message);
        return 1;
    }
    return 0;
}

// The decode every program that prints a picture must do: the file into RGB pixels.
int timeDecode(const char* path, int rounds)
{
    double best = 1e30;
    size_t bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        auto start = std::chrono::steady_clock::now();
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_file(&image, path)) {
            std::fprintf(stderr, "png_photo: %s: %s\n", path, image.message);
            return 1;
        }
        image.format = PNG_FORMAT_RGB;
        std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
        if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) {
            std::fprintf(stderr, "png_photo: %s: %s\n", path, image.message);
            return 1;
        }
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = took.count() < best ? took.count() : best;
        bytes = pixels.size();
    }
    std::printf("decode_seconds=%.4f decoded_bytes=%zu\n", best, bytes);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string verb = argc > 1 ? argv[1] : "";
    if (verb == "make" && argc == 5)
        return makePhoto(argv[2], (unsigned)std::atoi(argv[3]), (unsigned)std::atoi(argv[4]));
    if (verb == "decode" && (argc == 3 || argc == 4))
        return timeDecode(argv[2], argc == 4 ? std::atoi(argv[3]) : 5);
    std::fprintf(stderr, "usage: png_photo make FILE WIDTH HEIGHT | png_photo decode FILE [ROUNDS]\n");
    return 2;
}
