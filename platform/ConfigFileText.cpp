// Helpers shared by the configuration readers.
#include "platform/ConfigFileText.h"

#include "platform/KVFile.h"

#include <tinyxml.h>

#include <climits>
#include <vector>

namespace {

// Position just past `end` at or after `from`, or npos.
std::string::size_type skipPast(const std::string& text, std::string::size_type from,
                                const char* end) {
    const std::string::size_type at = text.find(end, from);
    if (at == std::string::npos)
        return std::string::npos;
    return at + std::char_traits<char>::length(end);
}

// Upper estimate of the element nesting of an XML text, stopping as soon as
// `limit` is exceeded. Comments, CDATA, processing instructions and quoted
// attribute values are skipped so that markup-like text in them does not
// count. Malformed text is left for the parser to reject.
int nestingExceeds(const std::string& text, int limit) {
    int depth = 0;
    std::string::size_type i = 0;
    while (i < text.size()) {
        i = text.find('<', i);
        if (i == std::string::npos)
            break;
        if (text.compare(i, 4, "<!--") == 0) {
            i = skipPast(text, i + 4, "-->");
        } else if (text.compare(i, 9, "<![CDATA[") == 0) {
            i = skipPast(text, i + 9, "]]>");
        } else if (text.compare(i, 2, "<?") == 0) {
            i = skipPast(text, i + 2, "?>");
        } else if (text.compare(i, 2, "<!") == 0 || text.compare(i, 2, "</") == 0) {
            if (text[i + 1] == '/' && depth > 0)
                --depth;
            i = skipPast(text, i + 2, ">");
        } else {
            // A start tag: find its end outside quoted attribute values.
            char quote = 0;
            std::string::size_type j = i + 1;
            for (; j < text.size(); ++j) {
                const char c = text[j];
                if (quote != 0) {
                    if (c == quote)
                        quote = 0;
                } else if (c == '"' || c == '\'') {
                    quote = c;
                } else if (c == '>') {
                    break;
                }
            }
            if (j >= text.size())
                break;
            if (text[j - 1] != '/' && ++depth > limit)
                return 1;
            i = j + 1;
        }
    }
    return 0;
}

} // namespace

namespace kvconfig {

int readWholeFile(const std::string& path, std::string& text, std::string& error,
                  long long maxBytes) {
    KVFile file;
    if (file.open(path, KVFile::ModeRead) == 0) {
        error = "cannot open the file";
        return 0;
    }
    const long long length = file.getLength();
    if (length < 0 || length > maxBytes) {
        error = "file size " + std::to_string(length) + " is out of bounds";
        return 0;
    }
    std::vector<char> buffer(static_cast<size_t>(length));
    long long done = 0;
    while (done < length) {
        const int count = file.read(buffer.data() + done, static_cast<int>(length - done));
        if (count <= 0)
            break;
        done += count;
    }
    if (done != length) {
        error = "short read";
        return 0;
    }
    text.assign(buffer.begin(), buffer.end());
    return 1;
}

int parseXmlDocument(const std::string& text, TiXmlDocument& doc, std::string& error) {
    if (text.find('\0') != std::string::npos) {
        error = "text holds a NUL byte";
        return 0;
    }
    if (nestingExceeds(text, MaxXmlDepth) != 0) {
        error = "elements nest deeper than " + std::to_string(MaxXmlDepth);
        return 0;
    }
    doc.Clear();
    doc.ClearError();
    const char* rest = doc.Parse(text.c_str());
    if (doc.Error()) {
        error = std::string(doc.ErrorDesc()) + " at line " + std::to_string(doc.ErrorRow()) +
                ", column " + std::to_string(doc.ErrorCol());
        return 0;
    }
    // The parser stops quietly at text it cannot place after the root.
    while (rest != nullptr && isBlank(*rest))
        ++rest;
    if (rest != nullptr && *rest != '\0') {
        error = "text after the root element";
        return 0;
    }
    int elements = 0;
    for (const TiXmlNode* node = doc.FirstChild(); node != nullptr; node = node->NextSibling()) {
        if (node->ToElement() != nullptr) {
            ++elements;
        } else if (node->ToComment() == nullptr && node->ToDeclaration() == nullptr &&
                   node->ToUnknown() == nullptr) {
            error = "text outside the root element";
            return 0;
        }
    }
    if (elements != 1) {
        error = elements == 0 ? "no root element" : "more than one root element";
        return 0;
    }
    return 1;
}

int parseDecimalInt(const std::string& text, int& value) {
    std::string::size_type i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    if (i == text.size())
        return 0;
    long long magnitude = 0;
    const long long limit = negative ? -static_cast<long long>(INT_MIN) : INT_MAX;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c < '0' || c > '9')
            return 0;
        magnitude = magnitude * 10 + (c - '0');
        if (magnitude > limit)
            return 0;
    }
    value = static_cast<int>(negative ? -magnitude : magnitude);
    return 1;
}

std::string trimBlanks(const std::string& text) {
    std::string::size_type begin = 0;
    std::string::size_type end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

} // namespace kvconfig
