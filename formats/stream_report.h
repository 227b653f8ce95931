// What `pumex inspect` says about a decoded embosser stream: a report in words
// for people, the same facts as JSON for scripts, and the one-line message for
// a damaged stream.
#pragma once

#include "stream_decode.h"

#include <string>

namespace formats {

// Every complete page: header fields in words, size, and cells by dot value.
std::string streamReportText(const DecodedStream& stream, const std::string& name, unsigned version);
// The same as a JSON document; "error" is null or names the page and offset.
std::string streamReportJson(const DecodedStream& stream, const std::string& name, unsigned version);
// "NAME: page P at byte offset O (0x..): what is wrong"; empty for a sound stream.
std::string streamProblemText(const DecodedStream& stream, const std::string& name);

}  // namespace formats
