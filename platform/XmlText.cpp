// Strict checking and padded parsing of XML text.
#include "platform/XmlText.h"

#include "platform/ConfigFileText.h"

#include <tinyxml.h>

#include <cstring>
#include <vector>

namespace {

enum class Encoding { Utf8, Ascii, Bytes };

bool isSpace(unsigned char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool isAsciiLetter(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}
// Names as the XML library reads them: every byte from 127 up counts as a letter.
bool isNameStart(unsigned char c) {
    return isAsciiLetter(c) || c == '_' || c >= 127;
}
bool isNameChar(unsigned char c) {
    return isNameStart(c) || isDigit(c) || c == '-' || c == '.' || c == ':';
}

bool equalsNoCase(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b))
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const unsigned char x = static_cast<unsigned char>(a[i]);
        const unsigned char y = static_cast<unsigned char>(b[i]);
        if ((x >= 'a' && x <= 'z' ? x - 32 : x) != (y >= 'a' && y <= 'z' ? y - 32 : y))
            return false;
    }
    return true;
}

// A code point that may stand in a document of this encoding, written out or
// by reference. Never NUL: the library would end the value there.
bool isCharacter(unsigned long cp, Encoding encoding) {
    if (cp == 0)
        return false;
    switch (encoding) {
    case Encoding::Utf8:
        return cp <= 0x10FFFF && (cp < 0xD800 || cp > 0xDFFF) && cp != 0xFFFE && cp != 0xFFFF;
    case Encoding::Ascii:
        return cp <= 0x7F;
    case Encoding::Bytes:
        return cp <= 0xFF;
    }
    return false;
}

// Offset of the first byte that breaks UTF-8 (overlong forms, surrogates,
// non-characters U+FFFE/U+FFFF, values past U+10FFFF, a sequence cut off by
// the end), or npos.
std::size_t badUtf8At(const std::string& s) {
    std::size_t i = 0;
    while (i < s.size()) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        std::size_t more = 0;
        unsigned long cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if (c >= 0xC2 && c <= 0xDF) {
            more = 1;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            more = 2;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            more = 3;
            cp = c & 0x07;
        } else {
            return i;
        }
        if (s.size() - i <= more)
            return i;
        for (std::size_t k = 1; k <= more; ++k) {
            const unsigned char b = static_cast<unsigned char>(s[i + k]);
            if ((b & 0xC0) != 0x80)
                return i;
            cp = (cp << 6) | (b & 0x3F);
        }
        if ((more == 2 && cp < 0x800) || (more == 3 && cp < 0x10000) ||
            !isCharacter(cp, Encoding::Utf8))
            return i;
        i += more + 1;
    }
    return std::string::npos;
}

bool startsWithNoCase(const std::string& text, std::size_t at, const char* word) {
    const std::size_t n = std::strlen(word);
    return at + n <= text.size() && equalsNoCase(text.substr(at, n), word);
}

// Reads a declaration ("<?xml", in any case, as the XML library recognises
// it) at `at` the way the library does: blanks, then either a pseudo-attribute
// whose name starts with "version", "encoding" or "standalone" (name, '=',
// quoted value), or any other token up to a blank or '>'; the first '>' outside
// a value ends it. Refused (false) is anything a strict reader could take
// otherwise: a '>' or a blank the library does not count as one before the
// end, a quote outside a value, an unquoted value, an end not "?>". On success
// `end` is just past the declaration and `encoding` holds the value of the
// pseudo-attribute "encoding" ("" when there is none).
bool readDeclaration(const std::string& t, std::size_t at, std::size_t& end,
                     std::string& encoding) {
    encoding.clear();
    std::size_t j = at + 5;
    while (j < t.size()) {
        if (t[j] == '>') {
            if (t[j - 1] != '?')
                return false;
            end = j + 1;
            return true;
        }
        while (j < t.size() && isSpace(static_cast<unsigned char>(t[j])))
            ++j;
        if (j >= t.size() || t[j] == '\v' || t[j] == '\f')
            return false;
        if (startsWithNoCase(t, j, "version") || startsWithNoCase(t, j, "encoding") ||
            startsWithNoCase(t, j, "standalone")) {
            const std::size_t nameStart = j;
            while (j < t.size() && isNameChar(static_cast<unsigned char>(t[j])))
                ++j;
            const std::string name = t.substr(nameStart, j - nameStart);
            while (j < t.size() && isSpace(static_cast<unsigned char>(t[j])))
                ++j;
            if (j >= t.size() || t[j] != '=')
                return false;
            ++j;
            while (j < t.size() && isSpace(static_cast<unsigned char>(t[j])))
                ++j;
            if (j >= t.size() || (t[j] != '"' && t[j] != '\''))
                return false;
            const std::size_t close = t.find(t[j], j + 1);
            if (close == std::string::npos)
                return false;
            const std::string value = t.substr(j + 1, close - j - 1);
            if (value.find_first_of("<>&") != std::string::npos)
                return false;
            if (name == "encoding")
                encoding = value;
            j = close + 1;
        } else {
            while (j < t.size() && t[j] != '>' && !isSpace(static_cast<unsigned char>(t[j]))) {
                if (t[j] == '"' || t[j] == '\'' || t[j] == '\v' || t[j] == '\f')
                    return false;
                ++j;
            }
        }
    }
    return false;
}

// Walks a whole document without recursion, token by token the way the XML
// library does, and refuses what the library would read differently from a
// strict reader.
class Checker {
public:
    Checker(const std::string& text, Encoding encoding, kvconfig::XmlRoots roots)
        : m_t(text), m_enc(encoding), m_roots(roots) {}

    bool run(std::size_t start, std::string& error) {
        m_i = start;
        const bool ok = document();
        if (!ok)
            error = m_strError;
        return ok;
    }

private:
    bool fail(const std::string& what) {
        m_strError = what + " at byte " + std::to_string(m_i);
        return false;
    }
    bool atEnd() const { return m_i >= m_t.size(); }
    unsigned char cur() const { return static_cast<unsigned char>(m_t[m_i]); }
    bool at(const char* s) const { return m_t.compare(m_i, std::strlen(s), s) == 0; }
    bool nameStartsAfter(std::size_t skip) const {
        return m_i + skip < m_t.size() && isNameStart(static_cast<unsigned char>(m_t[m_i + skip]));
    }
    bool skipSpace() {
        const std::size_t from = m_i;
        while (!atEnd() && isSpace(cur()))
            ++m_i;
        return m_i != from;
    }
    bool readName(std::string& name) {
        if (atEnd() || !isNameStart(cur()))
            return fail("a name was expected");
        const std::size_t from = m_i;
        while (!atEnd() && isNameChar(cur()))
            ++m_i;
        name.assign(m_t, from, m_i - from);
        return true;
    }
    // Moves past `end`; fails with `what` when it never comes.
    bool skipPast(const char* end, const char* what) {
        const std::size_t at = m_t.find(end, m_i);
        if (at == std::string::npos)
            return fail(what);
        m_i = at + std::strlen(end);
        return true;
    }

    bool document() {
        bool seenRoot = false;
        for (;;) {
            skipSpace();
            if (atEnd())
                break;
            if (cur() != '<')
                return fail(seenRoot ? "text after the root element"
                                     : "text outside the root element");
            if (atMisc()) {
                if (!misc())
                    return false;
            } else if (at("<!DOCTYPE") && !seenRoot) {
                if (!doctype())
                    return false;
            } else if (nameStartsAfter(1)) {
                if (seenRoot && m_roots == kvconfig::XmlRoots::One)
                    return fail("more than one root element");
                if (!element())
                    return false;
                seenRoot = true;
            } else {
                return fail("unexpected markup");
            }
        }
        return seenRoot || m_roots == kvconfig::XmlRoots::Any || fail("no root element");
    }

    // The root element and everything in it, with an explicit stack of the
    // open elements' names.
    bool element() {
        std::vector<std::string> open;
        bool empty = false;
        std::string name;
        if (!startTag(name, empty))
            return false;
        if (!empty)
            open.push_back(name);
        while (!open.empty()) {
            if (!charactersUntil('<'))
                return false;
            if (atEnd())
                return fail("element <" + open.back() + "> is not closed");
            if (at("</")) {
                m_i += 2;
                if (!readName(name))
                    return false;
                if (name != open.back())
                    return fail("end tag </" + name + "> does not close <" + open.back() + ">");
                skipSpace();
                if (atEnd() || cur() != '>')
                    return fail("end tag without '>'");
                ++m_i;
                open.pop_back();
            } else if (atMisc()) {
                if (!misc())
                    return false;
            } else if (at("<![CDATA[")) {
                m_i += 9;
                if (!skipPast("]]>", "unterminated CDATA section"))
                    return false;
            } else if (nameStartsAfter(1)) {
                if (open.size() >= static_cast<std::size_t>(kvconfig::MaxXmlDepth))
                    return fail("elements nest deeper than " +
                                std::to_string(kvconfig::MaxXmlDepth));
                if (!startTag(name, empty))
                    return false;
                if (!empty)
                    open.push_back(name);
            } else {
                return fail("unexpected markup");
            }
        }
        return true;
    }

    bool startTag(std::string& name, bool& empty) {
        ++m_i; // '<'
        if (!readName(name))
            return false;
        for (;;) {
            const bool spaced = skipSpace();
            if (atEnd())
                return fail("unterminated tag <" + name + ">");
            if (cur() == '/') {
                ++m_i;
                if (atEnd() || cur() != '>')
                    return fail("'/' without '>' in tag <" + name + ">");
                ++m_i;
                empty = true;
                return true;
            }
            if (cur() == '>') {
                ++m_i;
                empty = false;
                return true;
            }
            if (!spaced)
                return fail("attributes must be separated by blanks");
            std::string attribute;
            if (!readName(attribute))
                return false;
            skipSpace();
            if (atEnd() || cur() != '=')
                return fail("'=' expected after attribute " + attribute);
            ++m_i;
            skipSpace();
            if (atEnd() || (cur() != '"' && cur() != '\''))
                return fail("attribute " + attribute + " has no quoted value");
            const char quote = m_t[m_i++];
            if (!charactersUntil(quote))
                return false;
            if (atEnd())
                return fail("unterminated value of attribute " + attribute);
            ++m_i;
        }
    }

    // Text up to `stop` (or the end), checking every reference in it.
    bool charactersUntil(char stop) {
        while (!atEnd() && m_t[m_i] != stop) {
            if (cur() != '&')
                ++m_i;
            else if (!reference())
                return false;
        }
        return true;
    }

    // An entity or character reference at '&'.
    bool reference() {
        const std::size_t semi = m_t.find(';', m_i);
        if (semi == std::string::npos || semi - m_i > 12)
            return fail("'&' that starts no reference");
        const std::string body = m_t.substr(m_i + 1, semi - m_i - 1);
        if (body == "amp" || body == "lt" || body == "gt" || body == "quot" || body == "apos") {
            m_i = semi + 1;
            return true;
        }
        if (body.size() < 2 || body[0] != '#')
            return fail("unknown entity &" + body + ";");
        const bool hex = body[1] == 'x';
        const std::size_t first = hex ? 2 : 1;
        if (first >= body.size())
            return fail("empty character reference");
        unsigned long cp = 0;
        for (std::size_t k = first; k < body.size(); ++k) {
            const unsigned char c = static_cast<unsigned char>(body[k]);
            unsigned long digit = 0;
            if (isDigit(c))
                digit = c - '0';
            else if (hex && c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else if (hex && c >= 'A' && c <= 'F')
                digit = c - 'A' + 10;
            else
                return fail("bad character reference &" + body + ";");
            cp = cp * (hex ? 16 : 10) + digit;
            if (cp > 0x10FFFF)
                break;
        }
        if (!isCharacter(cp, m_enc))
            return fail("character reference &" + body +
                        "; names no character this document can hold");
        m_i = semi + 1;
        return true;
    }

    // A comment or a processing instruction: markup that may stand anywhere.
    bool atMisc() const { return at("<!--") || at("<?"); }
    bool misc() {
        if (at("<?"))
            return instruction();
        m_i += 4; // the comment's end is searched after its opener
        return skipPast("-->", "unterminated comment");
    }

    // A processing instruction or a declaration. The library ends an
    // instruction at its first '>', so that '>' must be its "?>" and stand
    // outside quotes; a declaration it reads value by value.
    bool instruction() {
        if (startsWithNoCase(m_t, m_i, "<?xml")) {
            std::string encoding;
            std::size_t end = 0;
            if (!readDeclaration(m_t, m_i, end, encoding))
                return fail("XML declaration the parser would read otherwise");
            m_i = end;
            return true;
        }
        if (!nameStartsAfter(2))
            return fail("processing instruction without a target");
        char quote = 0;
        for (std::size_t j = m_i + 2; j < m_t.size(); ++j) {
            const char c = m_t[j];
            if (quote != 0) {
                if (c == quote)
                    quote = 0;
                else if (c == '>')
                    break;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                if (m_t[j - 1] != '?')
                    break;
                m_i = j + 1;
                return true;
            }
        }
        return fail("processing instruction holds '>' before its end");
    }

    // A document type declaration without an internal subset.
    bool doctype() {
        const std::size_t end = m_t.find('>', m_i);
        if (end == std::string::npos)
            return fail("unterminated document type declaration");
        const std::string::size_type bad = m_t.find_first_of("[<", m_i + 1);
        if (bad != std::string::npos && bad < end)
            return fail("document type declaration with an internal subset");
        m_i = end + 1;
        return true;
    }

    const std::string& m_t;
    const Encoding m_enc;
    const kvconfig::XmlRoots m_roots;
    std::size_t m_i = 0;
    std::string m_strError;
};

} // namespace

namespace kvconfig {

bool isEncodingName(const std::string& name) {
    if (name.empty() || name.size() > 40 || !isAsciiLetter(static_cast<unsigned char>(name[0])))
        return false;
    for (const char c : name) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (!isAsciiLetter(u) && !isDigit(u) && c != '.' && c != '_' && c != '-')
            return false;
    }
    return true;
}

int parseXmlDocument(const std::string& text, TiXmlDocument& doc, std::string& error,
                     std::string* encodingName, XmlRoots roots) {
    doc.Clear();
    doc.ClearError();
    if (static_cast<long long>(text.size()) > MaxConfigFileBytes) {
        error = "text of " + std::to_string(text.size()) + " bytes is too large";
        return 0;
    }
    if (text.find('\0') != std::string::npos) {
        error = "text holds a NUL byte";
        return 0;
    }
    const bool marked = text.compare(0, 3, "\xEF\xBB\xBF") == 0;
    const std::size_t start = marked ? 3 : 0;
    std::string declared;
    std::size_t declarationEnd = 0;
    if (startsWithNoCase(text, start, "<?xml") &&
        (!readDeclaration(text, start, declarationEnd, declared) ||
         (!declared.empty() && !kvconfig::isEncodingName(declared)))) {
        error = "malformed XML declaration";
        return 0;
    }
    Encoding encoding = Encoding::Bytes;
    if (declared.empty() || equalsNoCase(declared, "UTF-8") || equalsNoCase(declared, "UTF8")) {
        encoding = Encoding::Utf8;
    } else if (equalsNoCase(declared, "US-ASCII") || equalsNoCase(declared, "ASCII")) {
        encoding = Encoding::Ascii;
    } else {
        std::string upper = declared;
        for (char& c : upper)
            c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
        if (upper.compare(0, 3, "UTF") == 0 || upper.compare(0, 3, "UCS") == 0) {
            error = "unsupported encoding " + declared;
            return 0;
        }
    }
    if (marked && encoding != Encoding::Utf8) {
        error = "UTF-8 byte-order mark in a document declared " + declared;
        return 0;
    }
    if (encoding == Encoding::Utf8) {
        const std::size_t bad = badUtf8At(text);
        if (bad != std::string::npos) {
            error = "not valid UTF-8 at byte " + std::to_string(bad);
            return 0;
        }
    } else if (encoding == Encoding::Ascii) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (static_cast<unsigned char>(text[i]) > 0x7F) {
                error = "byte above 0x7F in a US-ASCII document at byte " + std::to_string(i);
                return 0;
            }
        }
    }
    if (!Checker(text, encoding, roots).run(start, error))
        return 0;
    if (text.find_first_not_of(" \t\r\n", start) == std::string::npos) {
        // Only XmlRoots::Any gets here: a list of no blocks, which the
        // library would call an error.
        if (encodingName != nullptr)
            *encodingName = "UTF-8";
        return 1;
    }

    // The library may step over a multi-byte character without looking at
    // every byte; the padding keeps any such step inside the buffer.
    std::string padded = text;
    padded.append(8, '\0');
    const char* rest =
        doc.Parse(padded.c_str(), nullptr,
                  encoding == Encoding::Utf8 ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY);
    if (doc.Error()) {
        error = std::string(doc.ErrorDesc()) + " at line " + std::to_string(doc.ErrorRow()) +
                ", column " + std::to_string(doc.ErrorCol());
        doc.Clear();
        return 0;
    }
    if (rest != nullptr && (rest < padded.c_str() || rest > padded.c_str() + text.size())) {
        error = "the parser left the text";
        doc.Clear();
        return 0;
    }
    while (rest != nullptr && isSpace(static_cast<unsigned char>(*rest)))
        ++rest;
    if (rest != nullptr && *rest != '\0') {
        error = "text after the root element";
        doc.Clear();
        return 0;
    }
    if (doc.RootElement() == nullptr && roots == XmlRoots::One) {
        error = "no root element";
        return 0;
    }
    if (encodingName != nullptr)
        *encodingName = declared.empty() ? "UTF-8" : declared;
    return 1;
}

} // namespace kvconfig
