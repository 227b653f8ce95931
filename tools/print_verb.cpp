// pumex print: runs a job file, or one picture, through the plug-in as the
// print system would, and leaves the embosser stream in OUT. The stream is
// written beside OUT and renamed over it only when the job succeeds. A
// double-sided job ends with the plug-in's two page files (fronts and backs),
// handed to the driver's dialog program; they are moved to OUT's name with
// "-front" and "-back" before the extension. Errors: one line on stderr,
// exit status 1 for a bad job or picture, 2 for a bad command line, module,
// printer or system root.
#include "input_file.h"
#include "job_runner.h"
#include "text_job.h"
#include "output_file.h"
#include "verbs.h"

#include "px/posix.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <iostream>
#include <memory>

#ifndef PUMEX_MODULE_DEFAULT
#define PUMEX_MODULE_DEFAULT "pumexuni.so"
#endif

namespace fs = std::filesystem;

namespace verbs {

namespace {

// A text file is read whole; a book of braille is far below this.
constexpr size_t kMaxTextBytes = size_t(4) << 20;

struct PrintOptions {
    std::string input;
    std::string out;
    std::string root;
    std::string printer;
    std::string module;
    host::ImageJobOptions picture;
    CLI::App* cmd = nullptr;
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

mode_t currentUmask()
{
    mode_t mask = umask(0);
    umask(mask);
    return mask;
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
        if (!path_.empty())
            std::remove(path_.c_str());
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

// The output stream, written to a temporary file beside its target.
class OutputFile {
public:
    explicit OutputFile(const std::string& target) : target_(target)
    {
        temp_ = target + ".XXXXXX";
        int fd = mkstemp(&temp_[0]);
        if (fd >= 0)
            fchmod(fd, 0666 & ~currentUmask());  // as any new file, not mkstemp's 0600
        if (fd < 0 || !(file_ = fdopen(fd, "wb"))) {
            if (fd >= 0)
                close(fd);
            throw host::HostError(target + ": cannot write beside it: " + std::strerror(errno));
        }
    }
    ~OutputFile()
    {
        if (file_)
            std::fclose(file_);
        if (!kept_)
            std::remove(temp_.c_str());
    }
    bool write(const BYTE* data, DWORD size) { return std::fwrite(data, 1, size, file_) == size; }
    // Closes the file; true when it holds any bytes.
    bool close_()
    {
        bool good = std::fflush(file_) == 0 && fsync(fileno(file_)) == 0;
        good = std::fclose(file_) == 0 && good;
        file_ = nullptr;
        if (!good)
            throw host::HostError(target_ + ": cannot write: " + std::strerror(errno));
        return fs::file_size(temp_) > 0;
    }
    void commit()
    {
        if (std::rename(temp_.c_str(), target_.c_str()) != 0)
            throw host::HostError(target_ + ": cannot write: " + std::strerror(errno));
        kept_ = true;
    }

private:
    std::string target_, temp_;
    FILE* file_ = nullptr;
    bool kept_ = false;
};

// Moves a page file of the plug-in to its place beside OUT (copying when the
// two lie on different file systems).
void movePageFile(const std::string& from, const std::string& to)
{
    std::error_code ec;
    fs::rename(from, to, ec);
    if (!ec)
        return;
    std::string temp = to + ".part";
    fs::copy_file(from, temp, fs::copy_options::overwrite_existing, ec);
    if (!ec)
        fs::rename(temp, to, ec);
    if (ec) {
        fs::remove(temp);
        throw host::HostError(to + ": cannot move the page file " + from + " here: " + ec.message());
    }
    fs::remove(from);
}

std::string programName(const Started& s)
{
    return s.argv.empty() ? "?" : fs::path(posixPath(s.argv[0])).filename().string();
}

// Moves the fronts and backs the dialog program was given beside OUT and says
// what became of every started program.
void reportStarted(const std::vector<Started>& started, const std::string& out, bool& sides,
                   std::vector<std::pair<std::string, std::string>>& renamed)
{
    for (const Started& s : started) {
        std::cout << "started:  " << programName(s);
        for (size_t i = 1; i < s.argv.size(); ++i)
            std::cout << " \"" << s.argv[i] << "\"";
        std::cout << " (exit code " << s.exitCode << ")\n";
        for (size_t i = 1; i + 2 < s.argv.size(); ++i) {
            if (s.argv[i] != "--files")
                continue;
            std::string front = sideName(out, "-front"), back = sideName(out, "-back");
            movePageFile(posixPath(s.argv[i + 1]), front);
            movePageFile(posixPath(s.argv[i + 2]), back);
            renamed.emplace_back(s.argv[i + 1], front);
            renamed.emplace_back(s.argv[i + 2], back);
            std::cout << "front:    " << front << " (" << fs::file_size(front) << " bytes)\n"
                      << "back:     " << back << " (" << fs::file_size(back) << " bytes)\n";
            sides = true;
        }
    }
}

host::JobSpec loadInput(const PrintOptions& o)
{
    bool pictureOptions = false;
    for (const char* name : {"--quality", "--copies", "--landscape", "--double-sided", "--collate"})
        pictureOptions = pictureOptions || o.cmd->count(name) > 0;
    if (endsWith(o.input, ".png")) {
        host::ImageJobOptions options = o.picture;
        if (!o.printer.empty())
            options.printer = o.printer;
        return host::imageJob(o.input, options);
    }
    if (endsWith(o.input, ".txt")) {
        host::ImageJobOptions options = o.picture;
        if (!o.printer.empty())
            options.printer = o.printer;
        std::string bytes, problem;
        if (!formats::readInputFile(o.input, kMaxTextBytes, bytes, problem))
            throw host::JobError(o.input + ": " + problem);
        return host::textJob(o.input, bytes, options);
    }
    if (pictureOptions)
        throw CLI::ValidationError("--quality, --copies, --landscape, --double-sided and --collate apply to pictures; "
                                   "a job file says them in its devmode");
    host::JobSpec job = host::loadJob(o.input);
    if (!o.printer.empty())
        job.printer = o.printer;
    return job;
}

std::string defaultOut(const std::string& input) { return fs::path(input).stem().string() + ".prn"; }

int runPrint(const PrintOptions& o)
{
    if (!o.root.empty() && !PxSetSystemRoot(o.root.c_str())) {
        std::cerr << "pumex print: " << o.root << ": cannot use as system root\n";
        return 2;
    }
    std::string out = o.out.empty() ? defaultOut(o.input) : o.out;
    try {
        host::JobSpec job = loadInput(o);
        // Nothing is touched when OUT (or a page file named after it) is a
        // folder, a device, unwritable, or the job itself.
        for (const std::string& target : {out, sideName(out, "-front"), sideName(out, "-back")}) {
            std::string problem = tools::checkOutputTarget(target, {o.input});
            if (!problem.empty()) {
                std::cerr << "pumex print: " << problem << "\n";
                return 2;
            }
        }
        OutputFile file(out);
        Messages messages;
        host::Session session(o.module);
        host::RunOptions options;
        if (isatty(STDERR_FILENO))
            options.progress = [](size_t page, size_t pages) {
                std::cerr << "pumex print: page " << page << " of " << pages << "\n";
            };
        host::RunResult result;
        try {
            result = session.run(job, [&](const BYTE* data, DWORD size) { return file.write(data, size); }, options);
        } catch (...) {
            waitForStarted();
            throw;
        }
        std::vector<Started> started = waitForStarted();
        bool spooled = file.close_();
        bool sides = false;
        std::vector<std::pair<std::string, std::string>> renamed;
        std::cout << "pages:    " << result.pages << "\n";
        reportStarted(started, out, sides, renamed);
        if (spooled || !sides) {
            file.commit();
            std::cout << "output:   " << out << " (" << result.bytesSpooled << " bytes)\n";
        }
        std::cout << "sides:    " << (sides ? "double-sided (fronts and backs in their own files)" : "single-sided")
                  << "\n";
        std::string said = messages.text(renamed);
        if (!said.empty())
            std::cout << "\n" << said;
        return 0;
    } catch (const host::JobError& e) {
        std::cerr << "pumex print: " << e.what() << "\n";
        return 1;
    } catch (const CLI::ValidationError& e) {
        std::cerr << "pumex print: " << e.what() << "\n";
        return 2;
    } catch (const host::HostError& e) {
        std::cerr << "pumex print: " << e.what() << "\n";
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "pumex print: " << out << ": " << e.what() << "\n";
        return 2;
    }
}

}  // namespace

Runner addPrint(CLI::App& app)
{
    auto o = std::make_shared<PrintOptions>();
    const char* env = std::getenv("PUMEX_MODULE");
    o->module = env && *env ? env : PUMEX_MODULE_DEFAULT;
    CLI::App* cmd = app.add_subcommand("print", "print a job file or a picture into an embosser stream");
    o->cmd = cmd;
    cmd->add_option("INPUT", o->input, "job file (.json) or picture (.png)")->required();
    cmd->add_option("-o,--output", o->out,
                    "embosser stream to write (default: INPUT's name with .prn, here); a double-sided job "
                    "leaves OUT-front and OUT-back (before OUT's extension)");
    cmd->add_option("--root", o->root, "system root folder (default: $PUMEX_ROOT, else the bundled one)");
    cmd->add_option("--printer", o->printer, "printer to print on (default: the job's, else \"Pumex Embosser\")");
    cmd->add_option("--module", o->module, "plug-in module to load (default: $PUMEX_MODULE or the built one)");
    cmd->add_option("--quality", o->picture.printQuality, "picture: dots per inch (default 100)")
        ->check(CLI::Range(1, 32767));
    cmd->add_option("--copies", o->picture.copies, "picture: copies (default 1)")->check(CLI::Range(0, 32767));
    cmd->add_flag("--landscape", o->picture.landscape, "picture: landscape page");
    cmd->add_flag("--double-sided", o->picture.doubleSided, "picture: interpoint (both sides of the sheet)");
    cmd->add_flag("--collate", o->picture.collate, "picture: collate copies");
    return [cmd, o]() -> int {
        if (!cmd->parsed())
            return -1;
        return runPrint(*o);
    };
}

}  // namespace verbs
