// The platform's command runner for simple file commands (cp, mv, rm).
#include "platform/SystemCommand.h"

#include "platform/KVFile.h"
#include "platform/KVRoot.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <glob.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::atomic<bool> g_bAllowSleep{false};
std::atomic<int> g_nMsPerTimeoutSecond{1000};

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// Characters a shell would interpret; a line holding one is not run, since
// its meaning could not be kept without a shell.
bool isRefusedChar(char c) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (u < 0x20 && c != '\t')
        return true;
    return u == 0x7f || std::strchr(";|&$`<>\\\"'(){}!#", c) != nullptr;
}

bool hasPattern(const std::string& s) {
    return s.find_first_of("*?[") != std::string::npos;
}

bool hasDotDot(const std::string& s) {
    std::string::size_type start = 0;
    while (start <= s.size()) {
        std::string::size_type end = s.find('/', start);
        if (end == std::string::npos)
            end = s.size();
        if (s.compare(start, end - start, "..") == 0)
            return true;
        start = end + 1;
    }
    return false;
}

std::vector<std::string> tokenise(const char* command) {
    std::vector<std::string> tokens;
    std::string cur;
    for (const char* p = command; *p != '\0'; ++p) {
        if (isBlank(*p)) {
            if (!cur.empty())
                tokens.push_back(cur);
            cur.clear();
        } else {
            cur += *p;
        }
    }
    if (!cur.empty())
        tokens.push_back(cur);
    return tokens;
}

// Full path of an allowed program, "" when the program is not allowed or
// not installed. Programs are looked up in the system folders only.
std::string programPath(const std::string& name) {
    const bool allowed =
        name == "cp" || name == "mv" || name == "rm" || (name == "sleep" && g_bAllowSleep.load());
    if (!allowed)
        return "";
    for (const char* dir : {"/bin/", "/usr/bin/"}) {
        const std::string path = dir + name;
        if (::access(path.c_str(), X_OK) == 0)
            return path;
    }
    return "";
}

// `text` with every glob metacharacter escaped, so that it matches only itself.
std::string globLiteral(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (std::strchr("*?[]\\", c) != nullptr)
            out += '\\';
        out += c;
    }
    return out;
}

// Appends the operand to `args` as the program must see it. False when the
// operand is refused or its expansion failed. Only the command's own text is
// a pattern: the root it is mapped under is matched literally, whatever
// characters its path holds.
bool addOperand(const std::string& token, std::vector<std::string>& args) {
    if (token[0] == '-' || (args[0] == "sleep" && token.find('/') == std::string::npos)) {
        args.push_back(token); // an option, or a number of seconds
        return true;
    }
    if (token[0] != '/' || hasDotDot(token))
        return false; // relative, or could leave the root
    const std::string mapped = kvroot::resolve(token);
    if (!hasPattern(token)) {
        args.push_back(mapped);
        return true;
    }
    const std::string pattern = globLiteral(mapped.substr(0, mapped.size() - token.size())) + token;
    glob_t g{};
    const int rc = ::glob(pattern.c_str(), GLOB_NOCHECK, nullptr, &g);
    if (rc == 0) {
        for (size_t i = 0; i < g.gl_pathc; ++i) {
            // An unmatched pattern comes back as given: the mapped literal name.
            const bool unmatched = g.gl_pathc == 1 && pattern == g.gl_pathv[i];
            args.push_back(unmatched ? mapped : g.gl_pathv[i]);
        }
    }
    ::globfree(&g);
    return rc == 0;
}

// Closes every descriptor above standard error in the child, so that the
// command holds none of the host's files, sockets or devices open.
void closeInheritedFds(int maxFd) {
#ifdef SYS_close_range
    if (::syscall(SYS_close_range, 3U, ~0U, 0U) == 0)
        return;
#endif
    for (int fd = 3; fd < maxFd; ++fd)
        ::close(fd);
}

// Runs in the child between fork and exec: async-signal-safe calls only.
[[noreturn]] void execChild(const char* program, char* const* argv, int maxFd) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    const int in = ::open("/dev/null", O_RDONLY);
    if (in > 0) {
        ::dup2(in, STDIN_FILENO);
        ::close(in);
    }
    closeInheritedFds(maxFd);
    ::execv(program, argv);
    ::_exit(127);
}

int statusOf(int status) {
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    if (WIFSIGNALED(status))
        return 128 + WTERMSIG(status);
    return -1;
}

int refuse(const char* command) {
    std::fprintf(stderr, "sy_system: refused command (%s)\n", command != nullptr ? command : "");
    std::fflush(stdout);
    return -1;
}

int runProgram(const std::string& program, std::vector<std::string>& args, const char* command,
               int timeoutSeconds);

bool isRegularFile(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool isDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// "cp" of regular files: each target is replaced as the platform replaces a
// file (new content beside it, flushed, renamed over it), so that a cut
// leaves the old or the new file, never a part-written copy. Returns false,
// leaving the command to the program, when an operand is not a regular file
// (a directory copy, a missing source) or the target is ambiguous.
bool copyFiles(const std::vector<std::string>& args, int& status) {
    std::vector<std::string> operands;
    for (size_t i = 1; i < args.size(); ++i) {
        if (args[i][0] != '-')
            operands.push_back(args[i]);
    }
    if (operands.size() < 2)
        return false;
    const std::string target = operands.back();
    operands.pop_back();
    const bool intoFolder = isDirectory(target);
    if (!intoFolder && operands.size() != 1)
        return false;
    for (const std::string& source : operands) {
        if (!isRegularFile(source))
            return false;
    }
    status = 0;
    for (const std::string& source : operands) {
        const std::string to =
            intoFolder ? target + "/" + source.substr(source.rfind('/') + 1) : target;
        if (KVFile::copyFile(source, to) == 0)
            status = 1;
    }
    return true;
}

} // namespace

void sy_system_setTestMode(bool allowSleep, int msPerTimeoutSecond) {
    g_bAllowSleep.store(allowSleep);
    g_nMsPerTimeoutSecond.store(msPerTimeoutSecond > 0 ? msPerTimeoutSecond : 1000);
}

int sy_system(const char* command, int timeoutSeconds) {
    if (command == nullptr)
        return refuse(command);
    for (const char* p = command; *p != '\0'; ++p) {
        if (isRefusedChar(*p))
            return refuse(command);
    }
    const std::vector<std::string> tokens = tokenise(command);
    if (tokens.empty())
        return refuse(command);
    const std::string program = programPath(tokens[0]);
    if (program.empty())
        return refuse(command);
    std::vector<std::string> args{tokens[0]};
    for (size_t i = 1; i < tokens.size(); ++i) {
        if (!addOperand(tokens[i], args))
            return refuse(command);
    }

    if (tokens[0] == "cp") {
        int status = 0;
        if (copyFiles(args, status))
            return status;
    }
    const int status = runProgram(program, args, command, timeoutSeconds);
    if (status == 0 && (tokens[0] == "mv" || tokens[0] == "rm")) {
        // The renames and removals are made durable, as a replacement is.
        for (size_t i = 1; i < args.size(); ++i) {
            if (args[i][0] != '-') // a folder operand is itself where entries changed
                KVFile::syncDirectoryOf(isDirectory(args[i]) ? args[i] + "/." : args[i]);
        }
    }
    return status;
}

namespace {

int runProgram(const std::string& program, std::vector<std::string>& args, const char* command,
               int timeoutSeconds) {
    // Everything the child needs is prepared before fork: it must not allocate.
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);
    const long openMax = ::sysconf(_SC_OPEN_MAX);
    const int maxFd = static_cast<int>(std::min(openMax > 0 ? openMax : 1024L, 65536L));

    const pid_t pid = ::fork();
    if (pid < 0)
        return -1;
    if (pid == 0)
        execChild(program.c_str(), argv.data(), maxFd);

    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(timeoutSeconds, 1)) *
                                             g_nMsPerTimeoutSecond.load();
    auto nap = std::chrono::milliseconds(1);
    for (;;) {
        int status = 0;
        const pid_t r = ::waitpid(pid, &status, WNOHANG);
        if (r == pid)
            return statusOf(status);
        if (r < 0 && errno != EINTR)
            return -1; // reaped elsewhere (SIGCHLD ignored by the host)
        const auto now = Clock::now();
        if (now >= deadline)
            break;
        std::this_thread::sleep_for(
            std::min<Clock::duration>(nap, deadline - now)); // real time on purpose
        nap = std::min(nap * 2, std::chrono::milliseconds(20));
    }
    ::kill(pid, SIGKILL);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    std::fprintf(stderr, "sy_system: command timed out (%s)\n", command);
    std::fflush(stdout);
    return -1;
}

} // namespace
