// Where sensorctl's result lines go, kept apart from the library's console output.
#include "tools/Console.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace {
constexpr long long kTailBytes = 4096; // enough for the last few library lines
}

Console::Console(bool verbose) {
    std::fflush(stdout);
    const int saved = ::dup(STDOUT_FILENO);
    if (saved >= 0) {
        ::fcntl(saved, F_SETFD, FD_CLOEXEC);
        m_pResults = ::fdopen(saved, "w");
    }
    if (m_pResults == nullptr)
        m_pResults = stdout;
    m_bTerminal = ::isatty(STDERR_FILENO) == 1;
    if (verbose || m_pResults == stdout)
        return;
    std::FILE* capture = std::tmpfile();
    if (capture != nullptr) {
        m_nCaptureFd = ::dup(::fileno(capture));
        std::fclose(capture);
    }
    if (m_nCaptureFd < 0) {
        m_nCaptureFd = -1;
        const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null >= 0) {
            ::dup2(null, STDOUT_FILENO);
            ::close(null);
        }
        return;
    }
    std::fflush(stderr);
    const int savedErr = ::dup(STDERR_FILENO);
    if (savedErr >= 0) {
        ::fcntl(savedErr, F_SETFD, FD_CLOEXEC);
        m_pProgress = ::fdopen(savedErr, "w");
        if (m_pProgress == nullptr) {
            ::close(savedErr);
            m_pProgress = stderr;
        }
    }
    ::dup2(m_nCaptureFd, STDOUT_FILENO);
    if (m_pProgress != stderr)
        ::dup2(m_nCaptureFd, STDERR_FILENO);
}

Console::~Console() {
    progressDone();
    std::fflush(stdout);
    if (m_pResults != stdout) {
        // Give the library its standard output back for whatever it prints last.
        ::dup2(::fileno(m_pResults), STDOUT_FILENO);
        std::fclose(m_pResults);
    }
    if (m_pProgress != stderr) {
        std::fflush(stderr);
        ::dup2(::fileno(m_pProgress), STDERR_FILENO);
        std::fclose(m_pProgress);
    }
    if (m_nCaptureFd >= 0)
        ::close(m_nCaptureFd);
}

void Console::result(const std::string& line) {
    progressDone();
    std::fflush(stdout);
    std::fputs(line.c_str(), m_pResults);
    std::fputc('\n', m_pResults);
    std::fflush(m_pResults);
}

void Console::mark() {
    std::fflush(stdout);
    if (m_nCaptureFd >= 0)
        m_nMark = ::lseek(m_nCaptureFd, 0, SEEK_END);
}

std::string Console::lastLibraryLine() {
    std::fflush(stdout);
    if (m_nCaptureFd < 0)
        return "";
    const long long end = ::lseek(m_nCaptureFd, 0, SEEK_END);
    const long long from = std::max(m_nMark, end - kTailBytes);
    if (end <= from)
        return "";
    std::vector<char> buffer(static_cast<size_t>(end - from));
    const ssize_t got = ::pread(m_nCaptureFd, buffer.data(), buffer.size(), from);
    if (got <= 0)
        return "";
    std::string text(buffer.data(), static_cast<size_t>(got));
    // A refusal ("...(v) is out of range") says most; otherwise the last line.
    // Lines opening with '=', '!' or '#' are the worker thread's banners.
    std::string line;
    std::string refusal;
    size_t start = 0;
    while (start < text.size()) {
        size_t stop = text.find('\n', start);
        if (stop == std::string::npos)
            stop = text.size();
        std::string item = text.substr(start, stop - start);
        while (!item.empty() && (item.back() == '\r' || item.back() == ' '))
            item.pop_back();
        start = stop + 1;
        if (item.empty() || item[0] == '=' || item[0] == '!' || item[0] == '#')
            continue;
        if (refusal.empty() && item.find(") is out of range") != std::string::npos)
            refusal = item;
        line = item;
    }
    if (!refusal.empty())
        line = refusal;
    // Printable characters only: the reason goes on a result line.
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E)
            c = '?';
    return line;
}

void Console::progress(const std::string& text) {
    if (!m_bTerminal)
        return;
    std::fprintf(m_pProgress, "\r%s\033[K", text.c_str());
    std::fflush(m_pProgress);
    m_bProgressShown = true;
}

void Console::progressDone() {
    if (!m_bProgressShown)
        return;
    std::fputs("\r\033[K", m_pProgress);
    std::fflush(m_pProgress);
    m_bProgressShown = false;
}
