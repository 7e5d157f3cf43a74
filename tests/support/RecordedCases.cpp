// Recorded exchanges kept as text files under tests/.
#include "support/RecordedCases.h"

#include <fstream>
#include <sstream>

namespace kvtest {

namespace {
std::string trim(const std::string& s) {
    const std::size_t a = s.find_first_not_of(' ');
    return a == std::string::npos ? "" : s.substr(a, s.find_last_not_of(' ') - a + 1);
}
} // namespace

std::vector<RecordedCase> loadRecordedCases(const std::string& relativePath) {
    std::ifstream in(std::string(KV_SOURCE_DIR) + "/tests/" + relativePath);
    std::vector<RecordedCase> cases;
    std::string text;
    for (int line = 1; std::getline(in, text); ++line) {
        if (text.empty() || text[0] == '#')
            continue;
        RecordedCase c;
        c.line = line;
        const std::size_t quote = text.find('"');
        if (quote != std::string::npos) {
            c.log = text.substr(quote + 1, text.rfind('"') - quote - 1);
            text.resize(quote);
        }
        std::istringstream parts(text);
        std::string head;
        std::getline(parts, head, '|');
        for (std::string frame; std::getline(parts, frame, '|');)
            c.frames.push_back(trim(frame));
        std::istringstream words(head);
        for (std::string word; words >> word;)
            c.words.push_back(word);
        cases.push_back(c);
    }
    return cases;
}

} // namespace kvtest
