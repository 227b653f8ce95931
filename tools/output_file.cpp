// Atomic output files for the pumex verbs.
#include "output_file.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tools {

namespace {

std::string folderOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string failed(const std::string& target, const std::string& what, int err)
{
    return target + ": " + what + ": " + std::strerror(err);
}

// A new file beside target, open for writing, with a name no other writer uses.
FILE* openTemporary(const std::string& target, std::string& temp, std::string& error)
{
    static std::atomic<unsigned> serial{0};
    temp = folderOf(target) + "/." + baseOf(target) + "." + std::to_string(::getpid()) + "-" +
           std::to_string(++serial) + ".tmp";
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = failed(target, "cannot write", errno);
        return nullptr;
    }
    struct stat st;
    if (::stat(target.c_str(), &st) == 0)
        ::fchmod(fd, st.st_mode & 07777);  // a replaced file keeps its permissions
    FILE* file = ::fdopen(fd, "wb");
    if (!file) {
        error = failed(target, "cannot write", errno);
        ::close(fd);
        ::unlink(temp.c_str());
    }
    return file;
}

// Flushes, syncs and closes file; "" or why it failed.
std::string finish(FILE* file, const std::string& target)
{
    int err = 0;
    if (std::fflush(file) != 0 || ::fsync(::fileno(file)) != 0)
        err = errno;
    if (std::fclose(file) != 0 && !err)
        err = errno;
    return err ? failed(target, "cannot write", err) : std::string();
}

}  // namespace

std::string checkOutputTarget(const std::string& target, const std::vector<std::string>& inputs)
{
    if (target.empty())
        return "no output file named";
    struct stat out;
    if (::stat(target.c_str(), &out) != 0) {
        if (errno == ENOENT)
            return {};
        return failed(target, "cannot write", errno);
    }
    if (S_ISDIR(out.st_mode))
        return target + ": is a directory; name a file to write";
    if (!S_ISREG(out.st_mode))
        return target + ": is not a regular file; refusing to replace it";
    for (const std::string& input : inputs) {
        struct stat in;
        if (::stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
            return target + ": is the input file; name another file to write";
    }
    if (::access(target.c_str(), W_OK) != 0)
        return failed(target, "cannot write", errno);
    return {};
}

std::string writeOutputFile(const std::string& target, const std::function<std::string(FILE*)>& write)
{
    std::string error = checkOutputTarget(target, {});
    if (!error.empty())
        return error;
    std::string temp;
    FILE* file = openTemporary(target, temp, error);
    if (!file)
        return error;
    std::string why = write(file);
    error = why.empty() ? finish(file, target) : (std::fclose(file), target + ": cannot write: " + why);
    if (error.empty() && ::rename(temp.c_str(), target.c_str()) != 0)
        error = failed(target, "cannot write", errno);
    if (!error.empty()) {
        ::unlink(temp.c_str());
        return error;
    }
    int dir = ::open(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);  // the rename survives a crash; best effort
        ::close(dir);
    }
    return {};
}

std::string writeOutputFile(const std::string& target, const std::string& bytes)
{
    return writeOutputFile(target, [&](FILE* file) -> std::string {
        if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
            return std::strerror(errno);
        return {};
    });
}

}  // namespace tools
