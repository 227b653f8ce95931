// Pictures a job draws: PNG files read into 8-bit RGB rows (transparency
// composed over white paper), and written back for fixtures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace host {

// Storage for a picture's pixels. Sizing it leaves the bytes as they are
// (the reader writes every one), and a large block asks the kernel for huge
// pages: a 300 dpi page of pixels then takes a dozen page faults instead of
// six thousand.
void* allocatePixels(size_t bytes);
void freePixels(void* p, size_t bytes) noexcept;

template <typename T>
struct PixelAllocator {
    using value_type = T;
    PixelAllocator() = default;
    template <typename U>
    PixelAllocator(const PixelAllocator<U>&) noexcept
    {
    }
    T* allocate(size_t n) { return static_cast<T*>(allocatePixels(n * sizeof(T))); }
    void deallocate(T* p, size_t n) noexcept { freePixels(p, n * sizeof(T)); }
    template <typename U, typename... Args>
    void construct(U* p, Args&&... args)
    {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
    template <typename U>
    void construct(U* p) noexcept
    {
        ::new (static_cast<void*>(p)) U;
    }
    bool operator==(const PixelAllocator&) const { return true; }
    bool operator!=(const PixelAllocator&) const { return false; }
};

struct Picture {
    int32_t width = 0, height = 0;
    std::vector<uint8_t, PixelAllocator<uint8_t>> rgb;  // rows top to bottom, 3 bytes a pixel, no padding
};

// The picture's size from its header; false and a one-line reason (without
// the file name) when the file is missing or not a readable PNG.
bool readPngSize(const std::string& path, int32_t& width, int32_t& height, std::string& error);

// Decodes the whole picture; false and a one-line reason on failure.
bool readPng(const std::string& path, Picture& picture, std::string& error);

// A picture read on a thread of its own, a scan line at a time, so the rows
// already in can be drawn while the rest are still being read. Only plain
// pictures (8-bit RGB, not interlaced, no transparency, nothing for the
// reader to convert) are read this way; any other, and any the row reader
// fails on, is read whole by readPng when first waited for, so the pixels and
// the verdict on a broken file are readPng's.
class PictureReader {
public:
    // Reads the picture on a thread when `streamed`, whole at the first wait
    // otherwise.
    PictureReader(std::string path, bool streamed);
    // Stops the reading thread and waits for it.
    ~PictureReader();
    PictureReader(const PictureReader&) = delete;
    PictureReader& operator=(const PictureReader&) = delete;

    // Waits until the picture's first `rows` scan lines are in (all of them
    // when rows is its height or more); false and a one-line reason when the
    // picture cannot be read.
    bool wait(int32_t rows, std::string& error);
    // The picture; its first rows, as many as the last wait asked for, are in.
    const Picture& picture() const { return picture_; }

private:
    struct Progress;
    void readRows();
    bool readWhole(std::string& error);

    std::string path_;
    Picture picture_;
    std::unique_ptr<Progress> progress_;
    bool whole_ = false;  // every row is in
    std::string error_;   // why the picture cannot be read, once known
};

// Writes an 8-bit RGB PNG; false and a one-line reason on failure.
bool writePng(const std::string& path, const Picture& picture, std::string& error);

}  // namespace host
