// Recorded exchanges kept as text files under tests/: one case a line.
#pragma once

#include <string>
#include <vector>

namespace kvtest {

// A line of a case file: its words, the frames after a "|" (each "|" starts
// one), and a trailing quoted text, the line the code under test must log.
struct RecordedCase {
    int line = 0;
    std::vector<std::string> words;
    std::vector<std::string> frames;
    std::string log;
};

// Reads tests/<relativePath> of the source tree; empty lines and lines
// starting with "#" are skipped.
std::vector<RecordedCase> loadRecordedCases(const std::string& relativePath);

} // namespace kvtest
