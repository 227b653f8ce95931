#include "testkit.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testkit {

TempRoot::TempRoot()
{
    std::string tmpl = (std::filesystem::temp_directory_path() / "pumex-test-XXXXXX").string();
    if (!mkdtemp(&tmpl[0]))
        throw std::runtime_error("mkdtemp failed");
    path_ = tmpl;
    PxSetSystemRoot(path_.c_str());
}

TempRoot::~TempRoot()
{
    PxResetSyscalls();
    PxSetSystemRoot(nullptr);
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string TempRoot::logPath() const { return path_ + "/drive_c/ProgramData/Quorvane/PumexPro.log"; }

std::string TempRoot::log() const { return readFile(logPath()); }

bool TempRoot::logExists() const { return fileExists(logPath()); }

void TempRoot::writePrinter(const std::string& name, const std::string& json) const
{
    writeFile(path_ + "/printers/" + name + ".json", json);
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

bool fileExists(const std::string& path) { return std::filesystem::exists(path); }

std::u16string wide(const std::string& s)
{
    std::u16string out(s.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(&out[0], out.size(), s.c_str()));
    return out;
}

std::string printerJson(const std::string& name, const std::string& configMembers)
{
    return "{\n  \"name\": \"" + name + "\",\n  \"driver\": \"Pumex Pro\",\n  \"port\": \"FILE:\",\n" +
           "  \"data\": { \"Config\": { " + configMembers + " } }\n}\n";
}

}  // namespace testkit
