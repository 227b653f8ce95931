// Files the pumex verbs write. Nothing a user already has is lost: the new
// contents go to a temporary file beside the target, are synced, and are
// renamed over the target only when complete. A target that is a folder, a
// device, a file the user may not write, or one of the verb's own inputs is
// refused before anything is touched. Every file operation goes through the
// platform's system-call table, so tests can make any of them fail.
#pragma once

#include <cstdio>
#include <functional>
#include <utility>
#include <string>
#include <vector>

namespace tools {

// Checks that target may be written and is none of inputs (compared as files,
// not as names). Returns "" or a one-line message naming the target.
std::string checkOutputTarget(const std::string& target, const std::vector<std::string>& inputs);

// A new file beside its target, filled through a buffered stream and put in
// the target's place by commit(). Until then the target is untouched; a file
// destroyed uncommitted leaves nothing behind. Nothing is made on disk
// before open().
class OutputFile {
public:
    explicit OutputFile(std::string target) : target_(std::move(target)) {}
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Makes the temporary file; false (and error()) when it cannot.
    bool open();
    bool opened() const { return !temp_.empty(); }
    // "" while the file is usable, else a one-line message naming the target.
    const std::string& error() const { return error_; }
    // The stream to write (null once closed or when the file could not be made).
    FILE* stream() const { return file_; }
    // Bytes accepted by the stream so far.
    long long bytes() const { return bytes_; }
    // Flushes, syncs and closes the stream. Returns error().
    const std::string& close();
    // Renames the closed file over the target. Returns error().
    const std::string& commit();
    // Marks the file failed with a reason (the stream's writer gave up).
    void fail(const std::string& why);

private:
    static ssize_t cookieWrite(void* self, const char* data, size_t size);
    static int cookieClose(void* self);

    std::string target_, temp_, error_;
    FILE* file_ = nullptr;
    int fd_ = -1;
    int writeErrno_ = 0;
    long long bytes_ = 0;
    bool committed_ = false;
};

// Writes target through write, which fills the open temporary file and returns
// "" or the reason it failed. Returns "" or a one-line message naming the
// target; on failure the target is as it was and no temporary file remains.
std::string writeOutputFile(const std::string& target, const std::function<std::string(FILE*)>& write);

// The same for contents already in memory.
std::string writeOutputFile(const std::string& target, const std::string& bytes);

}  // namespace tools
