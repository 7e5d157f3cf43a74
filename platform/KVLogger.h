// Rotating, time-stamped log file of the platform.
#pragma once

#include <memory>
#include <mutex>

// Appends one line per entry, "2026-11-22 10:00:01.123 [tag] text", stamped
// with the device clock, and flushes it at once so that a crash loses nothing
// already logged. The file never grows beyond `maxSize` bytes: an entry that
// would pass the limit first rotates the files. `count` files are kept in
// total: for "/mnt/mtd/log/SensorError.log" and count 3 these are
// SensorError.log (current), SensorError.1.log and SensorError.2.log (oldest);
// the index goes before the extension. With count 0 or 1 the one file is
// emptied and starts again.
//
// Several loggers may name the same file (two controllers each opening the
// error log): they share one writer, so their entries interleave whole and
// the size limit holds for the file as a whole; the settings of the first
// logger opened on the file apply while it is shared. writeLog may be called
// from any thread.
class KVLogger {
public:
    KVLogger();
    virtual ~KVLogger();
    KVLogger(const KVLogger&) = delete;
    KVLogger& operator=(const KVLogger&) = delete;

    // Opens (creating it and its missing folders) the log at the device path
    // `path`. 1 on success, 0 on failure (null or empty path, maxSize 0,
    // count above 1000, folder or file cannot be made). A logger already
    // open is reopened on the new file; after a failure it is closed.
    int init(const char* path, unsigned maxSize, unsigned count);

    // Appends one entry. Trailing line breaks of `text` are dropped and inner
    // ones become blanks, so each entry stays one line; an entry longer than
    // the size limit is cut to it. 1 on success, 0 before init or when the
    // file could not be written.
    int writeLog(const char* tag, const char* text);

private:
    struct Impl;
    std::mutex m_mutex;
    std::unique_ptr<Impl> m_pImpl;
};
