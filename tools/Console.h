// Where sensorctl's result lines go, kept apart from the library's console output.
#pragma once

#include <cstdio>
#include <string>

// The library prints traces and error lines on standard output. Results are
// written to a duplicate of the original standard output, and unless verbose
// the library's fds 1 and 2 are pointed at an unlinked temporary file: its
// lines do not mix into the results, and a failed command's reason is taken
// from what the library printed while it ran.
class Console {
public:
    explicit Console(bool verbose);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // One result line (a newline is added), flushed at once.
    void result(const std::string& line);
    // Starts collecting the library's lines for one command.
    void mark();
    // The library line explaining a failure since mark(): the first one naming
    // a range, else the last non-empty one ("" if none or verbose).
    std::string lastLibraryLine();
    // A progress line on stderr, only when stderr is a terminal; done() clears it.
    void progress(const std::string& text);
    void progressDone();

private:
    FILE* m_pResults = nullptr;
    FILE* m_pProgress = stderr;
    int m_nCaptureFd = -1;
    long long m_nMark = 0;
    bool m_bTerminal = false;
    bool m_bProgressShown = false;
};
