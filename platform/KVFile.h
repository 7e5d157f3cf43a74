// Whole-file reads and crash-safe whole-file replacement of device files.
#pragma once

#include <string>

// The system's files (parameter files, scheme index, debug markers) are read
// whole and written whole. Reading is a plain open of a regular file.
// Writing (mode 98) never touches the target until the new content is
// complete: the bytes go to a hidden temporary file beside the target
// (".<name>.kvtmp.XXXXXX"), and close() flushes it to the medium and renames it over
// the target, so a power cut or a killed process leaves either the old file or
// the new one, never a mix. A write mode object that saw no write() call, or
// whose writes failed, discards the temporary file at close() and the old file
// stays as it was.
//
// Every path is a device path and goes through kvroot::resolve.
// Not thread-safe: one object belongs to one thread at a time.
class KVFile {
public:
    static constexpr int ModeRead = 1;
    static constexpr int ModeReplace = 98;

    KVFile() = default;
    ~KVFile();
    KVFile(const KVFile&) = delete;
    KVFile& operator=(const KVFile&) = delete;

    // Opens `path` in ModeRead or ModeReplace; 1 on success, 0 on failure
    // (unknown mode, missing or non-regular file for reading, directory not
    // writable for replacing...). An object already open is closed first.
    int open(const char* path, int mode);
    int open(const std::string& path, int mode);

    // Size in bytes: of the file when reading, of what has been written so far
    // when replacing; -1 when not open.
    long long getLength() const;

    // Reads up to n bytes (fewer only at end of file); the count, or -1 on an
    // error or when not open for reading.
    int read(void* buf, int n);

    // Writes all n bytes; n, or -1 on an error or when not open for replacing.
    // A failed write dooms the replacement: close() will keep the old file.
    int write(const void* buf, int n);

    // Ends the use of the file; in ModeReplace commits the new content.
    // Returns 1 when there was nothing to commit or the commit succeeded, 0
    // when the new content could not be put in place (the old file is kept).
    int close();

    bool isOpen() const { return m_nFd >= 0; }

    // 1 when the path names an existing entry that is not a directory.
    static int isExist(const char* path);
    static int isExist(const std::string& path);

    // Replaces `target` with a copy of the regular file `source`, as a write in
    // ModeReplace does (old or new file, never a mix); 1 on success.
    static int copyFile(const std::string& source, const std::string& target);

    // Makes the directory entries of the folder holding `path` durable (after
    // a rename or removal done elsewhere).
    static void syncDirectoryOf(const std::string& path);

    // Removes the temporary files that a cut mid-write left in the folder
    // `dir` (a device path); returns how many were removed. For start-up,
    // before anything writes in that folder.
    static int removeTemporaries(const std::string& dir);

private:
    void reset();
    int commit();

    int m_nFd = -1;
    int m_nMode = 0;
    bool m_bWritten = false;
    bool m_bWriteFailed = false;
    std::string m_strTarget; // resolved path of the file
    std::string m_strTemp;   // resolved path of the temporary file (replace mode)
};
