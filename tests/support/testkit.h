// Helpers shared by the test programs.
#pragma once

#include "px/posix.h"

#include <string>

namespace testkit {

// A fresh, empty system root for one test; selected on construction, removed
// (and the default root selected again) on destruction.
class TempRoot {
public:
    TempRoot();
    ~TempRoot();
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;

    const std::string& path() const { return path_; }
    // Where the plug-in's diagnostic log lands in this root.
    std::string logPath() const;
    // The log's bytes, or "" when there is no log file.
    std::string log() const;
    bool logExists() const;
    // Writes printers/<name>.json with the given text.
    void writePrinter(const std::string& name, const std::string& json) const;

private:
    std::string path_;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);
bool fileExists(const std::string& path);

// UTF-16 text from UTF-8, for calls that take wide strings.
std::u16string wide(const std::string& s);

// A printer file with the given "Config" values (a JSON object's members, e.g.
// "\"DebugLevel\": {\"type\": \"dword\", \"value\": 1}").
std::string printerJson(const std::string& name, const std::string& configMembers = "");

}  // namespace testkit
