// PNG through libpng's simplified interface, which reports errors as text
// instead of long jumps.
#include "png_image.h"

#include <png.h>
#include <sys/mman.h>

#include <cerrno>
#include <condition_variable>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <thread>

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

namespace {

constexpr size_t kHugePage = 2 << 20;

}  // namespace

void* allocatePixels(size_t bytes)
{
    if (bytes < 2 * kHugePage)
        return ::operator new(bytes);
    size_t whole = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    void* p = std::aligned_alloc(kHugePage, whole);
    if (!p)
        throw std::bad_alloc();
    madvise(p, whole, MADV_HUGEPAGE);  // a hint: without it the pixels take ordinary pages
    return p;
}

void freePixels(void* p, size_t bytes) noexcept
{
    if (bytes < 2 * kHugePage)
        ::operator delete(p);
    else
        std::free(p);
}

bool readPng(const std::string& path, Picture& picture, std::string& error)
{
    png_image image;
    if (!begin(image, path, error))
        return false;
    image.format = PNG_FORMAT_RGB;
    picture.width = (int32_t)image.width;
    picture.height = (int32_t)image.height;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    png_color white = {255, 255, 255};
    if (!png_image_finish_read(&image, &white, picture.rgb.data(), 0, nullptr)) {
        error = std::string("cannot decode the picture (") + image.message + ")";
        png_image_free(&image);
        picture = Picture();
        return false;
    }
    return true;
}

namespace {

// Where the row reader hands its rows: sizes the picture, then hears of each
// row as it comes in.
class RowSink {
public:
    virtual ~RowSink() = default;
    // The picture's bytes, 3 a pixel, rows unpadded; nullptr to give up.
    virtual uint8_t* start(int32_t width, int32_t height) = 0;
    // The first `rows` rows are in; false to stop reading.
    virtual bool rowsIn(int32_t rows) = 0;
};

struct Jump {
    std::jmp_buf to;
};

void PNGCBAPI jumpOut(png_structp png, png_const_charp)
{
    std::longjmp(static_cast<Jump*>(png_get_error_ptr(png))->to, 1);
}
void PNGCBAPI ignoreWarning(png_structp, png_const_charp) {}

// A picture whose file rows are already the pixels readPng would give:
// nothing to expand, compose or gamma-correct. 45455 is sRGB's own gamma,
// which libpng's simplified reader leaves alone.
bool isPlain(png_structp png, png_infop info)
{
    png_uint_32 width = png_get_image_width(png, info), height = png_get_image_height(png, info);
    png_fixed_point gamma = 0;
    return png_get_bit_depth(png, info) == 8 && png_get_color_type(png, info) == PNG_COLOR_TYPE_RGB &&
           png_get_interlace_type(png, info) == PNG_INTERLACE_NONE && !png_get_valid(png, info, PNG_INFO_tRNS) &&
           (!png_get_gAMA_fixed(png, info, &gamma) || gamma == 45455) && width >= 1 && width <= 0x7FFF &&
           height >= 1 && height <= 0x7FFF;
}

// Reads a plain picture's rows in order into the sink; false when the file
// is not plain, libpng fails on it, or the sink stops it. libpng reports a
// failure by a long jump, so nothing here has a destructor to skip.
bool readPlainRows(std::FILE* file, RowSink& sink)
{
    Jump jump;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &jump, jumpOut, ignoreWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    volatile bool read = false;
    if (info && setjmp(jump.to) == 0) {
        png_set_benign_errors(png, 1);  // as the simplified reader does
        png_init_io(png, file);
        png_read_info(png, info);
        int32_t width = 0, height = 0;
        uint8_t* pixels = nullptr;
        if (isPlain(png, info)) {
            width = (int32_t)png_get_image_width(png, info);
            height = (int32_t)png_get_image_height(png, info);
            pixels = sink.start(width, height);
        }
        int32_t y = 0;
        for (; pixels && y < height; ++y) {
            png_read_row(png, pixels + (size_t)y * (size_t)width * 3, nullptr);
            if (!sink.rowsIn(y + 1))
                break;
        }
        if (pixels && y == height) {
            png_read_end(png, nullptr);
            read = true;
        }
    }
    png_destroy_read_struct(png ? &png : nullptr, info ? &info : nullptr, nullptr);
    return read;
}

}  // namespace

// What the reading thread and the drawing one share, under `lock`.
struct PictureReader::Progress {
    std::mutex lock;
    std::condition_variable moved;  // rowsIn reached `wanted`, or the thread ended
    int32_t rowsIn = 0;
    int32_t wanted = 0;
    bool ended = false;     // the thread is done, whether or not every row came in
    bool complete = false;  // ... and every row came in
    bool stop = false;      // the picture is no longer needed
    std::thread thread;
};

PictureReader::PictureReader(std::string path, bool streamed) : path_(std::move(path))
{
    if (!streamed)
        return;
    progress_ = std::make_unique<Progress>();
    try {
        progress_->thread = std::thread(&PictureReader::readRows, this);
    } catch (const std::system_error&) {
        progress_.reset();  // no thread to be had: read it whole when it is wanted
    }
}

PictureReader::~PictureReader()
{
    if (!progress_)
        return;
    {
        std::lock_guard<std::mutex> hold(progress_->lock);
        progress_->stop = true;
    }
    progress_->thread.join();
}

// The reading thread.
void PictureReader::readRows()
{
    struct Sink : RowSink {
        explicit Sink(PictureReader& reader) : r(reader) {}
        uint8_t* start(int32_t width, int32_t height) override
        {
            try {
                r.picture_.rgb.resize((size_t)width * (size_t)height * 3);
            } catch (const std::bad_alloc&) {
                return nullptr;
            }
            r.picture_.width = width;
            r.picture_.height = height;
            return r.picture_.rgb.data();
        }
        bool rowsIn(int32_t rows) override
        {
            std::lock_guard<std::mutex> hold(r.progress_->lock);
            r.progress_->rowsIn = rows;
            if (rows >= r.progress_->wanted)
                r.progress_->moved.notify_all();
            return !r.progress_->stop;
        }
        PictureReader& r;
    } sink(*this);
    bool complete = false;
    try {
        std::vector<char> buffer(1 << 16);  // a picture is megabytes: fewer, larger reads
        if (std::FILE* file = std::fopen(path_.c_str(), "rbe")) {  // e: not inherited by helper programs
            std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
            complete = readPlainRows(file, sink);
            std::fclose(file);
        }
    } catch (const std::bad_alloc&) {
        // readPng takes the picture over, and says what is wrong
    }
    std::lock_guard<std::mutex> hold(progress_->lock);
    progress_->ended = true;
    progress_->complete = complete;
    progress_->moved.notify_all();
}

bool PictureReader::wait(int32_t rows, std::string& error)
{
    if (progress_) {
        std::unique_lock<std::mutex> hold(progress_->lock);
        progress_->wanted = rows;
        progress_->moved.wait(hold, [&] { return progress_->rowsIn >= rows || progress_->ended; });
        if (!progress_->ended)
            return true;
        whole_ = progress_->complete;
        hold.unlock();
        progress_->thread.join();
        progress_.reset();
    }
    if (!whole_ && error_.empty())
        whole_ = readWhole(error_);
    error = error_;
    return whole_;
}

// The row reader could not take the picture: readPng has the last word on it.
bool PictureReader::readWhole(std::string& error)
{
    picture_ = Picture();
    return readPng(path_, picture_, error);
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
