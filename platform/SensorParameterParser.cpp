// Conversion between parameter texts and id/value maps.
#include "platform/SensorParameterParser.h"

#include "platform/ConfigFileText.h"

#include <cstdio>

namespace {

// Reading position in a text; every step moves forward or fails.
class Cursor {
public:
    explicit Cursor(const std::string& text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }

    void skipBlanks() {
        while (!atEnd() && kvconfig::isBlank(m_text[m_pos]))
            ++m_pos;
    }

    // Consumes `c` after optional blanks.
    bool expect(char c) {
        skipBlanks();
        if (atEnd() || m_text[m_pos] != c)
            return false;
        ++m_pos;
        return true;
    }

    // Reads a signed decimal 32-bit integer after optional blanks.
    bool readInt(int& value) {
        skipBlanks();
        const std::string::size_type begin = m_pos;
        if (!atEnd() && (m_text[m_pos] == '-' || m_text[m_pos] == '+'))
            ++m_pos;
        while (!atEnd() && m_text[m_pos] >= '0' && m_text[m_pos] <= '9')
            ++m_pos;
        return kvconfig::parseDecimalInt(m_text.substr(begin, m_pos - begin), value) != 0;
    }

private:
    const std::string& m_text;
    std::string::size_type m_pos = 0;
};

} // namespace

int SensorParameterParser::parseSensorParameter(const std::string& text,
                                                std::map<int, int>& values) {
    std::map<int, int> parsed;
    Cursor cursor(text);
    cursor.skipBlanks();
    while (!cursor.atEnd()) {
        int id = 0;
        int value = 0;
        if (!cursor.expect('(') || !cursor.readInt(id) || !cursor.expect(',') ||
            !cursor.readInt(value) || !cursor.expect(')'))
            return 0;
        parsed[id] = value;
        cursor.skipBlanks();
    }
    for (const auto& item : parsed)
        values[item.first] = item.second;
    return 1;
}

std::string SensorParameterParser::createSensorParameterString(const std::map<int, int>& values) {
    std::string text;
    char item[32];
    for (const auto& entry : values) {
        const int length = std::snprintf(item, sizeof(item), "(%d,%d)", entry.first, entry.second);
        text.append(item, static_cast<size_t>(length));
    }
    return text;
}

int SensorParameterParser::parseParameterIdList(const std::string& text, std::set<int>& ids) {
    std::set<int> parsed;
    Cursor cursor(text);
    cursor.skipBlanks();
    if (!cursor.atEnd()) {
        do {
            int id = 0;
            if (!cursor.readInt(id))
                return 0;
            parsed.insert(id);
        } while (cursor.expect(','));
        cursor.skipBlanks();
        if (!cursor.atEnd())
            return 0;
    }
    ids.insert(parsed.begin(), parsed.end());
    return 1;
}
