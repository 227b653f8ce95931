// Fuzz target: the stream decoder in every output version, its text and JSON
// reports and its picture. The first byte picks the version.
#include "stream_decode.h"
#include "stream_picture.h"
#include "stream_report.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    formats::DecodeOptions options;
    options.version = 1 + data[0] % 4;
    options.maxKeptCells = size_t(1) << 20;  // the limits scaled down, so the fuzzer meets them
    options.maxPages = 64;
    formats::DecodedStream stream = formats::decodeStream(data + 1, size - 1, options);
    (void)formats::streamReportText(stream, "fuzz.prn", options.version);
    (void)formats::streamReportJson(stream, "fuzz.prn", options.version);
    formats::PictureOptions picture;
    picture.maxPixels = uint64_t(1) << 20;
    formats::Picture out;
    std::string error;
    formats::drawStream(stream, picture, out, error);
    return 0;
}
