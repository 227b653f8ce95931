// Reports on a decoded embosser stream, in words and as JSON.
#include "stream_report.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <sstream>

namespace formats {

namespace {

std::string hexOffset(size_t offset)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%zX", offset);
    return text;
}

std::string checksumText(uint16_t sum)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", sum);
    return text;
}

// "blank 36950, height 3 12, braille 420" in order of dot value.
std::string dotsText(const DecodedPage& page)
{
    std::string out;
    for (unsigned v = 0; v < 256; ++v) {
        if (!page.histogram[v])
            continue;
        if (!out.empty())
            out += ", ";
        out += dotValueName(v, page.form) + " " + std::to_string(page.histogram[v]);
    }
    return out.empty() ? "none" : out;
}

void describePage(std::ostream& out, const DecodedPage& page)
{
    const PageHeader& h = page.header;
    out << "page " << page.index << " at offset " << page.offset << " (" << hexOffset(page.offset) << "): " << page.size
        << " bytes, " << bodyFormName(page.form) << "\n";
    out << "  size: " << h.width << " x " << h.height << " cells\n";
    out << "  dot height: " << dotHeightName(h.dotHeightCode()) << " (code " << h.dotHeightCode() << "); "
        << (h.professional() ? "professional model" : "other model") << "\n";
    out << "  media: " << mediaName(h.mediaCode(), h.professional()) << " (code " << h.mediaCode()
        << "); paper source: " << paperSourceName(h.paperSource()) << " (code " << h.paperSource() << "); "
        << (h.perforation() ? "perforation" : "no perforation") << "\n";
    out << "  punch force: minimum " << unsigned(h.minForce) << ", maximum " << unsigned(h.maxForce) << "\n";
    out << "  byte count: " << h.byteCount << (h.byteCount ? " (stored page)" : " (written as made)")
        << "; checksum " << checksumText(h.checksum) << ", good\n";
    if (page.form != BodyForm::None)
        out << "  dots: " << dotsText(page) << "\n";
    for (const std::string& w : page.warnings)
        out << "  warning: " << w << "\n";
}

nlohmann::json pageJson(const DecodedPage& page)
{
    const PageHeader& h = page.header;
    nlohmann::json histogram = nlohmann::json::object();
    for (unsigned v = 0; v < 256; ++v)
        if (page.histogram[v])
            histogram[std::to_string(v)] = page.histogram[v];
    return {
        {"page", page.index},
        {"offset", page.offset},
        {"size", page.size},
        {"body", bodyFormName(page.form)},
        {"compressed", h.compressed()},
        {"width", h.width},
        {"height", h.height},
        {"dotHeight", {{"code", h.dotHeightCode()}, {"name", dotHeightName(h.dotHeightCode())}}},
        {"professional", h.professional()},
        {"media", {{"code", h.mediaCode()}, {"name", mediaName(h.mediaCode(), h.professional())}}},
        {"paperSource", {{"code", h.paperSource()}, {"name", paperSourceName(h.paperSource())}}},
        {"perforation", h.perforation()},
        {"minForce", h.minForce},
        {"maxForce", h.maxForce},
        {"byteCount", h.byteCount},
        {"checksum", h.checksum},
        {"histogram", histogram},
        {"warnings", page.warnings},
    };
}

}  // namespace

std::string streamReportText(const DecodedStream& stream, const std::string& name, unsigned version)
{
    std::ostringstream out;
    out << name << ": " << stream.pages.size() << (stream.pages.size() == 1 ? " page, " : " pages, ") << stream.bytes
        << " bytes, read as output version " << version << "\n";
    for (const DecodedPage& page : stream.pages)
        describePage(out, page);
    if (!stream.ok)
        out << "page " << stream.problem.page << " at offset " << stream.problem.offset << ": damaged, reading stopped\n";
    return out.str();
}

std::string streamReportJson(const DecodedStream& stream, const std::string& name, unsigned version)
{
    nlohmann::json pages = nlohmann::json::array();
    for (const DecodedPage& page : stream.pages)
        pages.push_back(pageJson(page));
    nlohmann::json error = nullptr;
    if (!stream.ok)
        error = {{"page", stream.problem.page}, {"offset", stream.problem.offset}, {"message", stream.problem.message}};
    nlohmann::json doc = {{"file", name}, {"bytes", stream.bytes}, {"version", version},
                          {"ok", stream.ok},  {"pages", pages},       {"error", error}};
    return doc.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string streamProblemText(const DecodedStream& stream, const std::string& name)
{
    if (stream.ok)
        return {};
    return name + ": page " + std::to_string(stream.problem.page) + " at byte offset " +
           std::to_string(stream.problem.offset) + " (" + hexOffset(stream.problem.offset) +
           "): " + stream.problem.message;
}

}  // namespace formats
