// Atomic output files for the pumex verbs.
#include "output_file.h"

#include "px/posix.h"

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

PxSyscalls& sys() { return *PxGetSyscalls(); }

}  // namespace

std::string checkOutputTarget(const std::string& target, const std::vector<std::string>& inputs)
{
    if (target.empty())
        return "no output file named";
    struct stat out;
    if (sys().stat(target.c_str(), &out) != 0) {
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
        if (sys().stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
            return target + ": is the input file; name another file to write";
    }
    if (::access(target.c_str(), W_OK) != 0)
        return failed(target, "cannot write", errno);
    return {};
}

bool OutputFile::open()
{
    if (opened() || !error_.empty())
        return error_.empty();
    static std::atomic<unsigned> serial{0};
    temp_ = folderOf(target_) + "/." + baseOf(target_) + "." + std::to_string(::getpid()) + "-" +
            std::to_string(++serial) + ".tmp";
    fd_ = sys().open(temp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd_ < 0) {
        error_ = failed(target_, "cannot write", errno);
        temp_.clear();
        return false;
    }
    struct stat st;
    if (sys().stat(target_.c_str(), &st) == 0)
        ::fchmod(fd_, st.st_mode & 07777);  // a replaced file keeps its permissions
    static const cookie_io_functions_t calls = {nullptr, &OutputFile::cookieWrite, nullptr, &OutputFile::cookieClose};
    file_ = fopencookie(this, "wb", calls);
    if (!file_)
        error_ = failed(target_, "cannot write", errno);
    return error_.empty();
}

OutputFile::~OutputFile()
{
    if (file_)
        std::fclose(file_);
    if (fd_ >= 0)
        sys().close(fd_);
    if (!committed_ && !temp_.empty())
        sys().unlink(temp_.c_str());
}

ssize_t OutputFile::cookieWrite(void* self, const char* data, size_t size)
{
    auto* out = static_cast<OutputFile*>(self);
    size_t done = 0;
    while (done < size) {
        ssize_t n = sys().write(out->fd_, data + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            out->writeErrno_ = n < 0 ? errno : ENOSPC;
            errno = out->writeErrno_;
            return done ? (ssize_t)done : -1;
        }
        done += (size_t)n;
    }
    out->bytes_ += (long long)size;
    return (ssize_t)size;
}

int OutputFile::cookieClose(void*) { return 0; }  // the descriptor is closed by close()

void OutputFile::fail(const std::string& why)
{
    if (error_.empty())
        error_ = target_ + ": cannot write: " + why;
}

const std::string& OutputFile::close()
{
    if (!file_)
        return error_.empty() ? (error_ = target_ + ": cannot write: already closed") : error_;
    int err = 0;
    if (std::fflush(file_) != 0 || writeErrno_)
        err = writeErrno_ ? writeErrno_ : errno;
    std::fclose(file_);
    file_ = nullptr;
    if (!err && sys().fsync(fd_) != 0)
        err = errno;
    if (sys().close(fd_) != 0 && !err)
        err = errno;
    fd_ = -1;
    if (err && error_.empty())
        error_ = failed(target_, "cannot write", err);
    return error_;
}

const std::string& OutputFile::commit()
{
    if (file_ || fd_ >= 0)
        close();
    if (!error_.empty())
        return error_;
    if (sys().rename(temp_.c_str(), target_.c_str()) != 0) {
        error_ = failed(target_, "cannot write", errno);
        return error_;
    }
    committed_ = true;
    int dir = sys().open(folderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (dir >= 0) {
        sys().fsync(dir);  // the rename survives a crash; best effort
        sys().close(dir);
    }
    return error_;
}

std::string writeOutputFile(const std::string& target, const std::function<std::string(FILE*)>& write)
{
    std::string error = checkOutputTarget(target, {});
    if (!error.empty())
        return error;
    OutputFile file(target);
    if (!file.open())
        return file.error();
    std::string why = write(file.stream());
    if (!why.empty())
        file.fail(why);
    return file.commit();
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
