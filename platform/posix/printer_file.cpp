// Printer files: reading, checking and writing printers/<name>.json.
//
// The checks are tables of the members each object may hold, so a file that
// carries a misspelt or unknown key is refused with the key's path, never
// half-understood. Writes go to a temporary file in the same folder, are
// synced, and are renamed over the printer, all under the printer's lock file.
#include "printer_file.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using px::PrinterDoc;

// A printer file larger than this is not a printer file.
constexpr size_t kMaxPrinterFile = 16u << 20;

std::string at(const std::string& path, const std::string& problem)
{
    return path.empty() ? problem : path + ": " + problem;
}

std::string join(const std::string& path, const std::string& key) { return path.empty() ? key : path + "." + key; }

std::string inQuotes(const std::string& key) { return "\"" + key + "\""; }

bool integerIn(const PrinterDoc& v, int64_t lo, int64_t hi)
{
    if (v.is_number_unsigned())
        return v.get<uint64_t>() <= (uint64_t)hi && (int64_t)v.get<uint64_t>() >= lo;
    if (v.is_number_integer())
        return v.get<int64_t>() >= lo && v.get<int64_t>() <= hi;
    return false;
}

// One member an object may hold. check is given the member's value, the path
// of the object holding it and the member's name; null when any value will do.
using MemberCheck = std::string (*)(const PrinterDoc& v, const std::string& path, const std::string& key);
struct Member {
    const char* key;
    bool required;
    MemberCheck check;
};

// Checks obj against its table of members: nothing unknown, nothing required missing.
template <size_t N>
std::string checkObject(const PrinterDoc& obj, const std::string& path, const Member (&members)[N])
{
    if (!obj.is_object())
        return at(path, "must be an object");
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        bool known = false;
        for (const Member& m : members)
            known = known || it.key() == m.key;
        if (!known)
            return at(path, "unknown key " + inQuotes(it.key()));
    }
    for (const Member& m : members) {
        auto it = obj.find(m.key);
        if (it == obj.end()) {
            if (m.required)
                return at(path, "missing key " + inQuotes(m.key));
            continue;
        }
        if (m.check) {
            std::string problem = m.check(*it, path, m.key);
            if (!problem.empty())
                return problem;
        }
    }
    return {};
}

// The registry cannot hold two names that differ only in case; neither can a
// file. Sorted by folded name, so a key of thousands of values stays cheap.
std::string checkDistinctNames(const PrinterDoc& obj, const std::string& path)
{
    std::vector<std::pair<std::string, const std::string*>> folded;
    folded.reserve(obj.size());
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        std::string lower = it.key();
        for (char& c : lower)
            c = (c >= 'A' && c <= 'Z') ? (char)(c + 32) : c;
        folded.emplace_back(std::move(lower), &it.key());
    }
    std::stable_sort(folded.begin(), folded.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (size_t i = 1; i < folded.size(); ++i)
        if (folded[i - 1].first == folded[i].first)
            return at(path, "names " + inQuotes(*folded[i - 1].second) + " and " + inQuotes(*folded[i].second) +
                                " differ only in case");
    return {};
}

std::string checkString(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    return v.is_string() ? std::string() : at(path, inQuotes(key) + " must be a string");
}

std::string checkPaperId(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    return integerIn(v, 1, 32767) ? std::string() : at(path, inQuotes(key) + " must be an integer from 1 to 32767");
}

std::string checkSize(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    return integerIn(v, 1, INT32_MAX) ? std::string()
                                      : at(path, inQuotes(key) + " must be an integer from 1 to 2147483647");
}

std::string checkHexDigits(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    bool ok = v.is_string() && v.get_ref<const std::string&>().size() % 2 == 0;
    if (ok)
        for (char c : v.get_ref<const std::string&>())
            ok = ok && std::isxdigit((unsigned char)c);
    return ok ? std::string() : at(path, inQuotes(key) + " must be an even number of hexadecimal digits");
}

// The value types a file can hold, by the name it gives them.
struct TypeName {
    const char* name;
    DWORD reg;
};
const TypeName kTypes[] = {{"dword", REG_DWORD}, {"sz", REG_SZ}, {"expand_sz", REG_EXPAND_SZ}, {"binary", REG_BINARY}};

DWORD typeOf(const PrinterDoc& type)
{
    if (type.is_string())
        for (const TypeName& t : kTypes)
            if (type.get_ref<const std::string&>() == t.name)
                return t.reg;
    return REG_NONE;
}

const char* nameOfType(DWORD reg)
{
    for (const TypeName& t : kTypes)
        if (t.reg == reg)
            return t.name;
    return nullptr;
}

// A typed value: {"type": T, "value": V}, V of the shape T needs.
std::string checkTyped(const PrinterDoc& v, const std::string& path)
{
    static const Member kTyped[] = {{"type", true, nullptr}, {"value", true, nullptr}};
    if (!v.is_object())
        return at(path, "must be an object with \"type\" and \"value\"");
    std::string problem = checkObject(v, path, kTyped);
    if (!problem.empty())
        return problem;
    const PrinterDoc& value = v.at("value");
    if (value.is_null() && typeOf(v.at("type")) != REG_NONE)
        return {};  // a value of that type holding no bytes
    switch (typeOf(v.at("type"))) {
    case REG_DWORD:
        if (!integerIn(value, INT32_MIN, UINT32_MAX))
            return at(path, "\"value\" must be an integer from -2147483648 to 4294967295");
        return {};
    case REG_SZ:
    case REG_EXPAND_SZ:
        return value.is_string() ? std::string() : at(path, "\"value\" must be a string");
    case REG_BINARY: {
        static const Member kHex[] = {{"hex", true, checkHexDigits}};
        if (value.is_string())
            return {};
        if (value.is_object())
            return checkObject(value, join(path, "value"), kHex);
        return at(path, "\"value\" must be a string or an object with \"hex\"");
    }
    default: return at(path, "\"type\" must be one of dword, sz, expand_sz, binary");
    }
}

// "data": keys, each an object of typed values.
std::string checkData(const PrinterDoc& data, const std::string& path, const std::string& key)
{
    std::string here = join(path, key);
    if (!data.is_object())
        return at(path, inQuotes(key) + " must be an object of keys");
    std::string problem = checkDistinctNames(data, here);
    for (auto k = data.begin(); problem.empty() && k != data.end(); ++k) {
        std::string keyPath = join(here, k.key());
        if (!k->is_object())
            return at(keyPath, "must be an object of typed values");
        problem = checkDistinctNames(*k, keyPath);
        for (auto v = k->begin(); problem.empty() && v != k->end(); ++v)
            problem = checkTyped(*v, join(keyPath, v.key()));
    }
    return problem;
}

// "fontList": face name to font file, plain text or typed values.
std::string checkFontList(const PrinterDoc& list, const std::string& path, const std::string& key)
{
    std::string here = join(path, key);
    if (!list.is_object())
        return at(path, inQuotes(key) + " must be an object");
    std::string problem = checkDistinctNames(list, here);
    for (auto v = list.begin(); problem.empty() && v != list.end(); ++v) {
        if (v->is_string())
            continue;
        if (!v->is_object())
            return at(join(here, v.key()), "must be a string or an object with \"type\" and \"value\"");
        problem = checkTyped(*v, join(here, v.key()));
    }
    return problem;
}

template <size_t N>
std::string checkList(const PrinterDoc& list, const std::string& path, const std::string& key,
                      const Member (&members)[N])
{
    if (!list.is_array())
        return at(path, inQuotes(key) + " must be an array");
    for (size_t i = 0; i < list.size(); ++i) {
        std::string problem = checkObject(list[i], join(path, key) + "[" + std::to_string(i) + "]", members);
        if (!problem.empty())
            return problem;
    }
    return {};
}

std::string checkPapers(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    static const Member kPaper[] = {{"id", true, checkPaperId},
                                    {"name", true, checkString},
                                    {"width", true, checkSize},
                                    {"length", true, checkSize}};
    return checkList(v, path, key, kPaper);
}

std::string checkForms(const PrinterDoc& v, const std::string& path, const std::string& key)
{
    static const Member kForm[] = {
        {"name", true, checkString}, {"width", true, checkSize}, {"length", true, checkSize}};
    return checkList(v, path, key, kForm);
}

const Member kPrinter[] = {
    {"name", true, checkString},      {"driver", true, checkString},    {"port", false, checkString},
    {"data", false, checkData},       {"fontList", false, checkFontList}, {"papers", false, checkPapers},
    {"forms", false, checkForms},
};

std::string baseName(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The printer a file is for: its name without ".json".
std::string printerNameOf(const std::string& path)
{
    std::string name = baseName(path);
    const std::string ext = ".json";
    if (name.size() > ext.size() && name.compare(name.size() - ext.size(), ext.size(), ext) == 0)
        name.resize(name.size() - ext.size());
    return name;
}

// The whole file, through the system-call table so tests can make reading fail.
// Returns 0 or an errno value.
int readWhole(const std::string& path, std::string& text)
{
    PxSyscalls* sys = PxGetSyscalls();
    int fd = sys->open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0)
        return errno;
    text.clear();
    char chunk[16384];
    for (;;) {
        ssize_t n = sys->read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 || text.size() + (size_t)n > kMaxPrinterFile) {
            int err = n < 0 ? errno : EFBIG;
            sys->close(fd);
            return err;
        }
        if (n == 0)
            break;
        text.append(chunk, (size_t)n);
    }
    sys->close(fd);
    return 0;
}

// Limits no printer file reaches: its deepest value is five levels down
// (data, key, value, "value", "hex"), and a key holds tens of values.
constexpr size_t kMaxDepth = 8;
constexpr size_t kMaxMembers = 4096;

// Thrown by the parse callback to stop at a limit.
struct PastLimit {
    std::string what;
};

// Parses text, refusing a key written twice in one object (the parser would
// keep one silently) and anything past the limits. Returns "" or the parser's
// message with its position and the last key read.
std::string parse(const std::string& text, PrinterDoc& doc)
{
    std::vector<std::set<std::string>> open;
    size_t depth = 0;
    std::string duplicate, lastKey;
    auto watch = [&](int, PrinterDoc::parse_event_t event, PrinterDoc& parsed) {
        using E = PrinterDoc::parse_event_t;
        if (event == E::object_start || event == E::array_start) {
            if (++depth > kMaxDepth)
                throw PastLimit{"values nested more than " + std::to_string(kMaxDepth) + " deep"};
            if (event == E::object_start)
                open.emplace_back();
        } else if (event == E::object_end || event == E::array_end) {
            --depth;
            if (event == E::object_end && !open.empty())
                open.pop_back();
        } else if (event == E::key && !open.empty()) {
            lastKey = parsed.get<std::string>();
            if (!open.back().insert(lastKey).second && duplicate.empty())
                duplicate = lastKey;
            if (open.back().size() > kMaxMembers)
                throw PastLimit{"more than " + std::to_string(kMaxMembers) + " members in one object"};
        }
        return true;
    };
    try {
        doc = PrinterDoc::parse(text, watch);
    } catch (const PastLimit& e) {
        return e.what + (lastKey.empty() ? "" : " (at key " + inQuotes(lastKey) + ")");
    } catch (const nlohmann::json::exception& e) {
        // A syntax error, or a number too large for any type (1e999).
        std::string what = e.what();
        size_t end = what.find("] ");
        what = end == std::string::npos ? what : what.substr(end + 2);
        return what + (lastKey.empty() ? "" : " (after key " + inQuotes(lastKey) + ")");
    }
    if (!duplicate.empty())
        return "key " + inQuotes(duplicate) + " appears twice in one object";
    return {};
}

std::vector<BYTE> utf16z(const std::string& text)
{
    std::u16string w(text.size() + 1, u'\0');
    w.resize(px_utf8_to_wide(&w[0], w.size(), text.c_str()));
    std::vector<BYTE> bytes;
    bytes.reserve((w.size() + 1) * 2);
    for (char16_t c : w) {
        bytes.push_back((BYTE)(c & 0xFF));
        bytes.push_back((BYTE)(c >> 8));
    }
    bytes.push_back(0);
    bytes.push_back(0);
    return bytes;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    return (std::tolower((unsigned char)c) - 'a' + 10) & 0xF;
}

// The member of an object whose name matches as the registry compares names.
template <typename Doc>
auto findName(Doc& obj, const std::string& name) -> decltype(obj.begin())
{
    for (auto it = obj.begin(); it != obj.end(); ++it)
        if (px::sameName(it.key(), name))
            return it;
    return obj.end();
}

// Text of a value on one line: { "type": "dword", "value": 1 }.
std::string inlineJson(const PrinterDoc& v)
{
    auto scalar = [](const PrinterDoc& s) { return s.dump(-1, ' ', false, PrinterDoc::error_handler_t::replace); };
    if (!(v.is_object() || v.is_array()) || v.empty())
        return scalar(v);
    std::string out = v.is_object() ? "{ " : "[ ";
    for (auto it = v.begin(); it != v.end(); ++it) {
        if (it != v.begin())
            out += ", ";
        if (v.is_object())
            out += scalar(PrinterDoc(it.key())) + ": ";
        out += inlineJson(*it);
    }
    return out + (v.is_object() ? " }" : " ]");
}

// Writes v with its members one per line for `levels` levels, inline below that.
void writeBlock(std::string& out, const PrinterDoc& v, size_t indent, int levels)
{
    if (levels == 0 || !(v.is_object() || v.is_array()) || v.empty()) {
        out += inlineJson(v);
        return;
    }
    out += v.is_object() ? "{\n" : "[\n";
    size_t i = 0;
    for (auto it = v.begin(); it != v.end(); ++it, ++i) {
        out.append(indent + 2, ' ');
        if (v.is_object())
            out += inlineJson(PrinterDoc(it.key())) + ": ";
        writeBlock(out, *it, indent + 2, levels - 1);
        out += i + 1 < v.size() ? ",\n" : "\n";
    }
    out.append(indent, ' ');
    out += v.is_object() ? "}" : "]";
}

// Syncs a folder so a rename in it survives a crash; best effort.
void syncFolder(const std::string& dir)
{
    int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Replaces the file at path by text: a synced temporary file renamed over it.
// Returns a Windows error code; on failure the old file is untouched.
DWORD replaceFile(const std::string& dir, const std::string& path, const std::string& text)
{
    static std::atomic<unsigned> serial{0};
    PxSyscalls* sys = PxGetSyscalls();
    std::string temp = dir + "/.write-" + std::to_string(::getpid()) + "-" + std::to_string(++serial) + ".tmp";
    int fd = sys->open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        return px::errorFromErrno(errno);
    struct stat st;
    if (::stat(path.c_str(), &st) == 0)
        ::fchmod(fd, st.st_mode & 07777);  // keep the printer's permissions

    int err = 0;
    size_t done = 0;
    while (!err && done < text.size()) {
        ssize_t n = sys->write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            err = n < 0 ? errno : ENOSPC;
        else
            done += (size_t)n;
    }
    if (!err && ::fsync(fd) != 0)
        err = errno;
    if (sys->close(fd) != 0 && !err)
        err = errno;
    if (!err && sys->rename(temp.c_str(), path.c_str()) != 0)
        err = errno;
    if (err) {
        ::unlink(temp.c_str());
        return px::errorFromErrno(err);
    }
    syncFolder(dir);
    return ERROR_SUCCESS;
}

// An exclusive lock on a printer, held while its file is rewritten.
class PrinterLock {
public:
    explicit PrinterLock(const std::string& path)
    {
        fd_ = PxGetSyscalls()->open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ < 0) {
            error_ = px::errorFromErrno(errno);
            return;
        }
        while (::flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                error_ = px::errorFromErrno(errno);
                break;
            }
        }
    }
    ~PrinterLock()
    {
        if (fd_ >= 0)
            PxGetSyscalls()->close(fd_);  // closing drops the lock
    }
    PrinterLock(const PrinterLock&) = delete;
    PrinterLock& operator=(const PrinterLock&) = delete;

    DWORD error() const { return error_; }

private:
    int fd_ = -1;
    DWORD error_ = ERROR_SUCCESS;
};

}  // namespace

namespace px {

bool isPrinterName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

bool sameName(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z')
            x = (char)(x + 32);
        if (y >= 'A' && y <= 'Z')
            y = (char)(y + 32);
        if (x != y)
            return false;
    }
    return true;
}

std::string printerFileLabel(const std::string& path)
{
    std::string root = std::string(PxGetSystemRoot()) + "/";
    return path.compare(0, root.size(), root) == 0 ? path.substr(root.size()) : path;
}

std::string checkPrinter(const PrinterDoc& doc, const std::string& printerName)
{
    if (!doc.is_object())
        return "must be an object";
    std::string problem = checkObject(doc, "", kPrinter);
    if (!problem.empty())
        return problem;
    const std::string& name = doc.at("name").get_ref<const std::string&>();
    if (name != printerName)
        return "\"name\" is " + inQuotes(name) + " but the file is for printer " + inQuotes(printerName);
    return {};
}

PrinterLoad loadPrinterFile(const std::string& path, PrinterDoc& doc, std::string& problem)
{
    std::string label = printerFileLabel(path);
    std::string text;
    int err = readWhole(path, text);
    if (err == ENOENT || err == ENOTDIR) {
        problem = label + ": no such printer file";
        return PrinterLoad::Missing;
    }
    if (err) {
        problem = label + ": cannot read: " + (err == EFBIG ? "larger than 16 MiB" : std::strerror(err));
        return PrinterLoad::Unreadable;
    }
    problem = parse(text, doc);
    if (problem.empty())
        problem = checkPrinter(doc, printerNameOf(path));
    if (!problem.empty()) {
        problem = label + ": " + problem;
        return PrinterLoad::Invalid;
    }
    return PrinterLoad::Ok;
}

bool findPrinterValue(const PrinterDoc& doc, const std::string& key, const std::string& value, PrinterValue& out)
{
    auto data = doc.find("data");
    if (data == doc.end())
        return false;
    auto k = findName(*data, key);
    if (k == data->end())
        return false;
    auto v = findName(*k, value);
    if (v == k->end())
        return false;
    out = decodePrinterValue(*v);
    return true;
}

PrinterValue decodePrinterValue(const PrinterDoc& typed)
{
    PrinterValue out;
    if (typed.is_string()) {
        out.type = REG_SZ;
        out.bytes = utf16z(typed.get<std::string>());
        return out;
    }
    const PrinterDoc& value = typed.at("value");
    out.type = typeOf(typed.at("type"));
    if (value.is_null())
        return out;
    switch (out.type) {
    case REG_DWORD: {
        uint32_t n = value.is_number_unsigned() ? (uint32_t)value.get<uint64_t>() : (uint32_t)value.get<int64_t>();
        out.bytes = {(BYTE)n, (BYTE)(n >> 8), (BYTE)(n >> 16), (BYTE)(n >> 24)};
        break;
    }
    case REG_SZ:
    case REG_EXPAND_SZ: out.bytes = utf16z(value.get<std::string>()); break;
    default:
        if (value.is_string()) {
            const std::string& s = value.get_ref<const std::string&>();
            out.bytes.assign(s.begin(), s.end());
        } else {
            const std::string& hex = value.at("hex").get_ref<const std::string&>();
            for (size_t i = 0; i + 1 < hex.size(); i += 2)
                out.bytes.push_back((BYTE)(hexDigit(hex[i]) << 4 | hexDigit(hex[i + 1])));
        }
        break;
    }
    return out;
}

DWORD encodePrinterValue(DWORD type, const BYTE* data, DWORD size, PrinterDoc& typed)
{
    if (!data && size)
        return ERROR_INVALID_PARAMETER;
    PrinterDoc value;  // null: no bytes, as the registry keeps a value set to zero bytes
    switch (size || type == REG_BINARY ? type : REG_NONE) {
    case REG_NONE:
        if (!nameOfType(type))
            return ERROR_NOT_SUPPORTED;
        break;
    case REG_DWORD:
        if (size != 4)
            return ERROR_INVALID_PARAMETER;
        value = (uint32_t)data[0] | (uint32_t)data[1] << 8 | (uint32_t)data[2] << 16 | (uint32_t)data[3] << 24;
        break;
    case REG_SZ:
    case REG_EXPAND_SZ: {
        // Text up to its first zero; the terminator itself is the reader's to add back.
        std::u16string w;
        for (DWORD i = 0; i + 1 < size; i += 2) {
            char16_t c = (char16_t)(data[i] | data[i + 1] << 8);
            if (c == 0)
                break;
            w.push_back(c);
        }
        std::string text(w.size() * 3 + 1, '\0');
        text.resize(px_wide_to_utf8(&text[0], text.size(), w.c_str()));
        value = text;
        break;
    }
    case REG_BINARY: {
        bool printable = true;
        for (DWORD i = 0; i < size && printable; ++i)
            printable = data[i] >= 0x20 && data[i] < 0x7F;
        if (printable) {
            value = std::string(reinterpret_cast<const char*>(data), size);
        } else {
            static const char kDigits[] = "0123456789abcdef";
            std::string hex;
            for (DWORD i = 0; i < size; ++i) {
                hex += kDigits[data[i] >> 4];
                hex += kDigits[data[i] & 0xF];
            }
            value = PrinterDoc::object();
            value["hex"] = hex;
        }
        break;
    }
    default: return ERROR_NOT_SUPPORTED;  // the file has no form for other types
    }
    typed = PrinterDoc::object();
    typed["type"] = nameOfType(type);
    typed["value"] = std::move(value);
    return ERROR_SUCCESS;
}

void setPrinterValue(PrinterDoc& doc, const std::string& key, const std::string& value, const PrinterDoc& typed)
{
    if (!doc.contains("data")) {
        // "data" belongs after the printer's identity, where people look for it.
        const char* anchor = doc.contains("port") ? "port" : doc.contains("driver") ? "driver" : "name";
        PrinterDoc rebuilt = PrinterDoc::object();
        bool placed = false;
        for (auto it = doc.begin(); it != doc.end(); ++it) {
            rebuilt[it.key()] = *it;
            if (it.key() == anchor) {
                rebuilt["data"] = PrinterDoc::object();
                placed = true;
            }
        }
        if (!placed)
            rebuilt["data"] = PrinterDoc::object();
        doc = std::move(rebuilt);
    }
    PrinterDoc& data = doc["data"];
    auto k = findName(data, key);
    PrinterDoc& values = k != data.end() ? *k : (data[key] = PrinterDoc::object());
    auto v = findName(values, value);
    if (v != values.end())
        *v = typed;
    else
        values[value] = typed;
}

std::string formatPrinter(const PrinterDoc& doc)
{
    std::string out = "{\n";
    size_t i = 0;
    for (auto it = doc.begin(); it != doc.end(); ++it, ++i) {
        out += "  " + inlineJson(PrinterDoc(it.key())) + ": ";
        writeBlock(out, *it, 2, it.key() == "data" ? 2 : 1);
        out += i + 1 < doc.size() ? ",\n" : "\n";
    }
    return out + "}\n";
}

DWORD updatePrinterFile(const std::string& name, const std::function<DWORD(PrinterDoc&)>& edit, std::string& problem)
{
    problem.clear();
    if (!isPrinterName(name))
        return ERROR_INVALID_PRINTER_NAME;
    std::string dir = std::string(PxGetSystemRoot()) + "/printers";
    PrinterLock lock(dir + "/." + name + ".lock");
    if (lock.error())
        return lock.error();

    // Another process may have written since this one last read: start from the file.
    std::string path = printerFilePath(name);
    PrinterDoc doc;
    switch (loadPrinterFile(path, doc, problem)) {
    case PrinterLoad::Ok: break;
    case PrinterLoad::Missing: return ERROR_INVALID_PRINTER_NAME;
    case PrinterLoad::Unreadable: return ERROR_READ_FAULT;
    case PrinterLoad::Invalid: return ERROR_INVALID_DATA;
    }
    DWORD rc = edit(doc);
    if (rc != ERROR_SUCCESS)
        return rc;
    std::string broken = checkPrinter(doc, name);
    if (!broken.empty()) {
        problem = printerFileLabel(path) + ": refusing to write: " + broken;
        return ERROR_INVALID_DATA;
    }
    return replaceFile(dir, path, formatPrinter(doc));
}

}  // namespace px

BOOL PxValidatePrinterFile(const char* path, char* message, size_t cap)
{
    std::string problem;
    bool ok = false;
    try {
        px::PrinterDoc doc;
        if (!path || !*path)
            problem = "no printer file given";
        else
            ok = px::loadPrinterFile(path, doc, problem) == px::PrinterLoad::Ok;
    } catch (const std::exception& e) {
        problem = std::string(path ? path : "") + ": " + e.what();
        ok = false;
    }
    if (ok)
        problem.clear();
    if (message && cap) {
        size_t n = std::min(problem.size(), cap - 1);
        std::memcpy(message, problem.data(), n);
        message[n] = 0;
    }
    return ok ? TRUE : FALSE;
}
