// pumex print's job: load the input, check every output, run the session,
// wait for the programs the plug-in started, and put the files in place.
#include "print_job.h"

#include "input_file.h"
#include "output_file.h"
#include "stream_decode.h"

#include "px/posix.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace tools {

namespace {

// A text file is read whole; a book of braille is far below this.
constexpr size_t kMaxTextBytes = size_t(4) << 20;

// A command line that asks for something the input cannot do.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A program the plug-in started during the job, as it ended.
struct Started {
    std::vector<std::string> argv;
    DWORD exitCode = 0;
};

void recordStarted(void* context, int argc, const char* const* argv, DWORD exitCode)
{
    auto* list = static_cast<std::vector<Started>*>(context);
    list->push_back({std::vector<std::string>(argv, argv + argc), exitCode});
}

std::vector<Started> waitForStarted()
{
    std::vector<Started> started;
    PxWaitForStartedPrograms(recordStarted, &started);
    return started;
}

bool endsWith(std::string s, const std::string& tail)
{
    for (char& c : s)
        c = (char)std::tolower((unsigned char)c);
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// OUT with a suffix before its extension: "job.prn" -> "job-front.prn".
std::string sideName(const std::string& out, const std::string& suffix)
{
    fs::path p(out);
    return (p.parent_path() / (p.stem().string() + suffix + p.extension().string())).string();
}

std::string posixPath(const std::string& windowsPath)
{
    char mapped[4096];
    return PxMapPath(windowsPath.c_str(), mapped, sizeof mapped) ? mapped : windowsPath;
}

// What the driver package's programs tell the user during the job: they write
// it to the file PUMEX_MESSAGES names, and the job shows it when it is done.
class Messages {
public:
    Messages()
    {
        path_ = (fs::temp_directory_path() / "pumex-messages.XXXXXX").string();
        int fd = mkstemp(&path_[0]);
        if (fd < 0) {
            path_.clear();
            return;
        }
        close(fd);
        setenv("PUMEX_MESSAGES", path_.c_str(), 1);
    }
    ~Messages()
    {
        if (!path_.empty()) {
            std::remove(path_.c_str());
            unsetenv("PUMEX_MESSAGES");
        }
    }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;
    // Everything written so far, with each page file named as it is now.
    std::string text(const std::vector<std::pair<std::string, std::string>>& renamed) const
    {
        std::ifstream in(path_);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        for (const auto& [from, to] : renamed)
            for (size_t at; (at = text.find(from)) != std::string::npos;)
                text.replace(at, from.size(), to);
        return text;
    }

private:
    std::string path_;
};

// Moves a page file of the plug-in to its place beside OUT (copying when the
// two lie on different file systems).
void movePageFile(const std::string& from, const std::string& to)
{
    if (PxGetSyscalls()->rename(from.c_str(), to.c_str()) == 0)
        return;
    if (errno != EXDEV)
        throw host::HostError(to + ": cannot move the page file " + from + " here: " + std::strerror(errno));
    std::error_code ec;
    std::string temp = to + ".part";
    fs::copy_file(from, temp, fs::copy_options::overwrite_existing, ec);
    if (!ec)
        fs::rename(temp, to, ec);
    if (ec) {
        fs::remove(temp, ec);
        throw host::HostError(to + ": cannot move the page file " + from + " here: " + ec.message());
    }
    fs::remove(from, ec);
}

// Why a page file the plug-in handed over is no whole stream, or "".
std::string pageFileProblem(const std::string& path)
{
    std::string bytes, problem;
    if (!formats::readInputFile(path, SIZE_MAX, bytes, problem))
        return problem;
    if (bytes.empty())
        return "is empty";
    formats::DecodedStream decoded = formats::decodeStream((const uint8_t*)bytes.data(), bytes.size());
    if (!decoded.ok)
        return "is no whole stream: " + decoded.problem.message + " at byte " + std::to_string(decoded.problem.offset);
    return {};
}

std::string programName(const Started& s)
{
    return s.argv.empty() ? "?" : fs::path(posixPath(s.argv[0])).filename().string();
}

// Moves the fronts and backs the dialog program was given beside OUT and says
// what became of every started program.
void reportStarted(const std::vector<Started>& started, const std::string& out, bool& sides,
                   std::vector<std::pair<std::string, std::string>>& renamed, std::ostream& report)
{
    for (const Started& s : started) {
        report << "started:  " << programName(s);
        for (size_t i = 1; i < s.argv.size(); ++i)
            report << " \"" << s.argv[i] << "\"";
        report << " (exit code " << s.exitCode << ")\n";
        for (size_t i = 1; i + 2 < s.argv.size(); ++i) {
            if (s.argv[i] != "--files")
                continue;
            std::string front = sideName(out, "-front"), back = sideName(out, "-back");
            // Neither of the user's files is replaced unless both are whole.
            for (size_t k = i + 1; k <= i + 2; ++k) {
                std::string problem = pageFileProblem(posixPath(s.argv[k]));
                if (!problem.empty())
                    throw host::HostError(posixPath(s.argv[k]) + ": the plug-in's page file " + problem +
                                          "; its log tells why");
            }
            movePageFile(posixPath(s.argv[i + 1]), front);
            movePageFile(posixPath(s.argv[i + 2]), back);
            renamed.emplace_back(s.argv[i + 1], front);
            renamed.emplace_back(s.argv[i + 2], back);
            std::error_code ec;
            report << "front:    " << front << " (" << fs::file_size(front, ec) << " bytes)\n"
                   << "back:     " << back << " (" << fs::file_size(back, ec) << " bytes)\n";
            sides = true;
        }
    }
}

host::JobSpec loadInput(const PrintRequest& r)
{
    if (endsWith(r.input, ".png") || endsWith(r.input, ".txt")) {
        host::ImageJobOptions options = r.picture;
        if (!r.printer.empty())
            options.printer = r.printer;
        if (endsWith(r.input, ".png"))
            return host::imageJob(r.input, options);
        std::string bytes, problem;
        if (!formats::readInputFile(r.input, kMaxTextBytes, bytes, problem))
            throw host::JobError(r.input + ": " + problem);
        return host::textJob(r.input, bytes, options);
    }
    if (r.pictureOptionsGiven)
        throw UsageError("--quality, --copies, --landscape, --double-sided and --collate apply to pictures; "
                         "a job file says them in its devmode");
    host::JobSpec job = host::loadJob(r.input);
    if (!r.printer.empty())
        job.printer = r.printer;
    return job;
}

std::string defaultOut(const std::string& input) { return fs::path(input).stem().string() + ".prn"; }

int run(const PrintRequest& r, const std::string& out, std::ostream& report, std::ostream& errors)
{
    host::JobSpec job = loadInput(r);
    // Nothing is touched when OUT (or a page file named after it) is a
    // folder, a device, unwritable, or the job itself.
    for (const std::string& target : {out, sideName(out, "-front"), sideName(out, "-back")}) {
        std::string problem = checkOutputTarget(target, {r.input});
        if (!problem.empty())
            throw host::HostError(problem);
    }
    OutputFile file(out);  // made with the first byte spooled
    Messages messages;
    host::Session session(r.module);
    host::RunOptions options;
    if (r.progress)
        options.progress = [&errors](size_t page, size_t pages) {
            errors << "pumex print: page " << page << " of " << pages << "\n";
        };
    host::RunResult result;
    try {
        result = session.run(
            job,
            [&](const BYTE* data, DWORD size) {
                if (size == 0)
                    return true;
                return (file.opened() || file.open()) && std::fwrite(data, 1, size, file.stream()) == size;
            },
            options);
    } catch (...) {
        waitForStarted();
        throw;
    }
    std::vector<Started> started = waitForStarted();
    if (file.opened() && !file.close().empty())
        throw host::HostError(file.error());
    bool sides = false;
    std::vector<std::pair<std::string, std::string>> renamed;
    report << "pages:    " << result.pages << "\n";
    reportStarted(started, out, sides, renamed, report);
    if (file.bytes() == 0 && !sides && job.devmode.copies > 0)
        throw host::HostError(out + ": the plug-in wrote nothing for " + std::to_string(result.pages) +
                              " page(s); its log tells why");
    if (file.bytes() > 0 || !sides) {
        if (!file.opened() && !file.open())  // nothing asked for, nothing written: OUT is left empty
            throw host::HostError(file.error());
        if (!file.commit().empty())
            throw host::HostError(file.error());
        report << "output:   " << out << " (" << result.bytesSpooled << " bytes)\n";
    }
    report << "sides:    " << (sides ? "double-sided (fronts and backs in their own files)" : "single-sided") << "\n";
    std::string said = messages.text(renamed);
    if (!said.empty())
        report << "\n" << said;
    return 0;
}

}  // namespace

int printJob(const PrintRequest& request, std::ostream& report, std::ostream& errors)
{
    std::string out = request.out.empty() ? defaultOut(request.input) : request.out;
    try {
        return run(request, out, report, errors);
    } catch (const host::JobError& e) {
        errors << "pumex print: " << e.what() << "\n";
        return 1;
    } catch (const UsageError& e) {
        errors << "pumex print: " << e.what() << "\n";
        return 2;
    } catch (const host::HostError& e) {
        errors << "pumex print: " << e.what() << "\n";
        return 2;
    } catch (const std::bad_alloc&) {
        errors << "pumex print: " << out << ": out of memory\n";
        return 2;
    } catch (const std::exception& e) {
        errors << "pumex print: " << out << ": " << e.what() << "\n";
        return 2;
    }
}

}  // namespace tools
