// Whole-file reads and crash-safe whole-file replacement of device files.

#include "platform/KVFile.h"

#include "platform/KVRoot.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What marks a temporary file of a replacement: ".<name>.kvtmp.XXXXXX".
const char* const TempMark = ".kvtmp.";

int openRetry(const char* path, int flags) {
    int fd;
    do {
        fd = ::open(path, flags);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Directory part of a path ("." when there is none, "/" for a file at the top).
std::string dirOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Makes the directory entry of a renamed file durable.
void syncDirectory(const std::string& dir) {
    const int fd = openRetry(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    while (::fsync(fd) != 0 && errno == EINTR) {
    }
    ::close(fd);
}

} // namespace

KVFile::~KVFile() {
    close();
}

int KVFile::open(const std::string& path, int mode) {
    return open(path.c_str(), mode);
}

int KVFile::open(const char* path, int mode) {
    close();
    if (path == nullptr || path[0] == '\0')
        return 0;
    std::string target = kvroot::resolve(path);

    if (mode == ModeRead) {
        // O_NONBLOCK keeps a FIFO from blocking the open; only regular files
        // are accepted anyway.
        const int fd = openRetry(target.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (fd < 0)
            return 0;
        struct stat st {};
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd);
            return 0;
        }
        const int flags = ::fcntl(fd, F_GETFL);
        if (flags >= 0)
            ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
        m_nFd = fd;
        m_nMode = mode;
        m_strTarget = target;
        return 1;
    }

    if (mode != ModeReplace)
        return 0;

    // A link is followed, so that the file it names is replaced, not the link.
    struct stat st {};
    if (::lstat(target.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
        char real[PATH_MAX];
        if (::realpath(target.c_str(), real) == nullptr)
            return 0;
        target = real;
    }
    mode_t perms = 0644;
    if (::stat(target.c_str(), &st) == 0) {
        if (!S_ISREG(st.st_mode))
            return 0; // never replace a directory or a device node
        perms = st.st_mode & 07777;
    }
    const std::string base = baseOf(target);
    if (base.empty())
        return 0;
    std::string tmpl = dirOf(target);
    if (tmpl.back() != '/')
        tmpl += '/';
    tmpl += "." + base + TempMark + "XXXXXX";
    const int fd = ::mkostemp(&tmpl[0], O_CLOEXEC);
    if (fd < 0)
        return 0;
    if (::fchmod(fd, perms) != 0) {
        ::close(fd);
        ::unlink(tmpl.c_str());
        return 0;
    }
    m_nFd = fd;
    m_nMode = mode;
    m_strTarget = target;
    m_strTemp = tmpl;
    return 1;
}

long long KVFile::getLength() const {
    if (m_nFd < 0)
        return -1;
    struct stat st {};
    if (::fstat(m_nFd, &st) != 0)
        return -1;
    return static_cast<long long>(st.st_size);
}

int KVFile::read(void* buf, int n) {
    if (m_nFd < 0 || m_nMode != ModeRead || n < 0 || (buf == nullptr && n > 0))
        return -1;
    char* p = static_cast<char*>(buf);
    int done = 0;
    while (done < n) {
        const ssize_t r = ::read(m_nFd, p + done, static_cast<size_t>(n - done));
        if (r < 0) {
            if (errno == EINTR)
                continue;
            return -1;
        }
        if (r == 0)
            break; // end of file
        done += static_cast<int>(r);
    }
    return done;
}

int KVFile::write(const void* buf, int n) {
    if (m_nFd < 0 || m_nMode != ModeReplace)
        return -1;
    m_bWritten = true;
    if (n < 0 || (buf == nullptr && n > 0)) {
        m_bWriteFailed = true;
        return -1;
    }
    const char* p = static_cast<const char*>(buf);
    int done = 0;
    while (done < n) {
        const ssize_t w = ::write(m_nFd, p + done, static_cast<size_t>(n - done));
        if (w < 0 && errno == EINTR)
            continue;
        if (w <= 0) {
            m_bWriteFailed = true;
            return -1;
        }
        done += static_cast<int>(w);
    }
    return done;
}

int KVFile::close() {
    if (m_nFd < 0)
        return 1;
    int result = 1;
    if (m_nMode == ModeReplace)
        result = commit();
    else
        ::close(m_nFd);
    reset();
    return result;
}

// Puts the temporary file in place of the target, or discards it when it does
// not hold a complete new content.
int KVFile::commit() {
    bool ok = m_bWritten && !m_bWriteFailed;
    if (ok) {
        int rc;
        do {
            rc = ::fsync(m_nFd);
        } while (rc != 0 && errno == EINTR);
        ok = rc == 0;
    }
    // On Linux the descriptor is released even when close() reports an error.
    if (::close(m_nFd) != 0)
        ok = false;
    if (ok && ::rename(m_strTemp.c_str(), m_strTarget.c_str()) != 0)
        ok = false;
    if (!ok) {
        const int err = errno;
        ::unlink(m_strTemp.c_str());
        if (!m_bWritten)
            return 1; // nothing was written: the old file simply stays
        std::fprintf(stderr, "KVFile: could not replace %s (%s)\n", m_strTarget.c_str(),
                     m_bWriteFailed ? "write failed" : std::strerror(err));
        return 0;
    }
    syncDirectory(dirOf(m_strTarget));
    return 1;
}

int KVFile::copyFile(const std::string& source, const std::string& target) {
    KVFile in;
    KVFile out;
    if (in.open(source, ModeRead) == 0 || out.open(target, ModeReplace) == 0)
        return 0;
    char buffer[16 * 1024];
    out.write(buffer, 0); // even an empty source replaces the target
    for (;;) {
        const int count = in.read(buffer, sizeof buffer);
        if (count < 0 || (count > 0 && out.write(buffer, count) != count)) {
            out.m_bWriteFailed = true;
            break;
        }
        if (count == 0)
            break;
    }
    return out.close();
}

void KVFile::syncDirectoryOf(const std::string& path) {
    syncDirectory(dirOf(kvroot::resolve(path)));
}

int KVFile::removeTemporaries(const std::string& dir) {
    const std::string folder = kvroot::resolve(dir);
    DIR* d = ::opendir(folder.c_str());
    if (d == nullptr)
        return 0;
    int removed = 0;
    const std::size_t markLength = std::strlen(TempMark);
    while (const dirent* entry = ::readdir(d)) {
        const std::string name = entry->d_name;
        // "." + at least one character + mark + six characters
        if (name.size() < 2 + markLength + 6 || name[0] != '.' ||
            name.compare(name.size() - 6 - markLength, markLength, TempMark) != 0)
            continue;
        const std::string path = folder + "/" + name;
        struct stat st {};
        if (::lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && ::unlink(path.c_str()) == 0)
            ++removed;
    }
    ::closedir(d);
    if (removed > 0)
        syncDirectory(folder);
    return removed;
}

void KVFile::reset() {
    m_nFd = -1;
    m_nMode = 0;
    m_bWritten = false;
    m_bWriteFailed = false;
    m_strTarget.clear();
    m_strTemp.clear();
}

int KVFile::isExist(const std::string& path) {
    return isExist(path.c_str());
}

int KVFile::isExist(const char* path) {
    if (path == nullptr || path[0] == '\0')
        return 0;
    struct stat st {};
    if (::stat(kvroot::resolve(path).c_str(), &st) != 0)
        return 0;
    return S_ISDIR(st.st_mode) ? 0 : 1;
}
