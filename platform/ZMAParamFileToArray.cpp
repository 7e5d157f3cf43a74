// Reader of the zoom lens magnification file.
#include "platform/ZMAParamFileToArray.h"

#include "platform/KVRoot.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A whole token as a non-negative int: decimal, or hexadecimal after "0x"
// when `allowHex`. No signs, no trailing characters.
bool parseNumber(const std::string& token, bool allowHex, int& out) {
    int base = 10;
    size_t start = 0;
    if (allowHex && token.size() > 2 && token[0] == '0' && (token[1] == 'x' || token[1] == 'X')) {
        base = 16;
        start = 2;
    }
    if (start >= token.size())
        return false;
    for (size_t i = start; i < token.size(); ++i) {
        if (base == 16 ? !isHexDigit(token[i]) : !isDigit(token[i]))
            return false;
    }
    // Twelve digits already exceed an int; longer runs are refused here so
    // that strtoll never sees an unbounded number.
    if (token.size() - start > 12)
        return false;
    errno = 0;
    const long long v = std::strtoll(token.c_str() + start, nullptr, base);
    if (errno != 0 || v > INT_MAX)
        return false;
    out = static_cast<int>(v);
    return true;
}

// Splits a line (comment already removed) into blank-separated tokens.
std::vector<std::string> tokens(const std::string& line) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && isBlank(line[i]))
            ++i;
        size_t j = i;
        while (j < line.size() && !isBlank(line[j]))
            ++j;
        if (j > i)
            out.push_back(line.substr(i, j - i));
        i = j;
    }
    return out;
}

} // namespace

int ZMAParamFileToArray::fail(const std::string& why) {
    m_strError = why;
    return 0;
}

int ZMAParamFileToArray::setFilePath(const std::string& path) {
    m_strPath = path;
    struct stat st {};
    if (path.empty() || ::stat(kvroot::resolve(path).c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return fail("no file at " + path);
    m_strError.clear();
    return 1;
}

int ZMAParamFileToArray::get(ZMAParam& param) {
    if (m_strPath.empty())
        return fail("no file path set");
    const int fd = ::open(kvroot::resolve(m_strPath).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return fail("cannot open " + m_strPath);
    std::string text;
    char buf[4096];
    bool tooBig = false;
    bool readError = false;
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            readError = true;
        if (n <= 0)
            break;
        text.append(buf, static_cast<size_t>(n));
        if (text.size() >= kMaxFileBytes) {
            tooBig = true;
            break;
        }
    }
    ::close(fd);
    if (readError)
        return fail("cannot read " + m_strPath);
    if (tooBig)
        return fail(m_strPath + " is too large");
    return parse(text, param);
}

int ZMAParamFileToArray::parse(const std::string& text, ZMAParam& param) {
    ZMAParam table;
    std::istringstream in(text);
    std::string line;
    int lineNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        const std::string where = "line " + std::to_string(lineNo) + ": ";
        const auto hash = line.find('#');
        if (hash != std::string::npos)
            line.erase(hash);
        const std::vector<std::string> fields = tokens(line);
        if (fields.empty())
            continue;
        if (fields.size() != 2)
            return fail(where + "expected \"position magnification\"");
        int position = 0;
        int magnification = 0;
        if (!parseNumber(fields[0], true, position))
            return fail(where + "bad position \"" + fields[0] + "\"");
        if (!parseNumber(fields[1], false, magnification) || magnification == 0)
            return fail(where + "bad magnification \"" + fields[1] + "\"");
        if (table.size() >= ZMAParam::kMaxPoints)
            return fail(where + "too many rows");
        if (!table.addPoint(position, magnification))
            return fail(where + "position " + fields[0] + " does not rise above the row before");
    }
    if (table.empty())
        return fail("no rows");
    param = table;
    m_strError.clear();
    return 1;
}
