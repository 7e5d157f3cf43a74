// Helpers shared by the configuration readers: bounded file reads, strict numbers.
#pragma once

#include <string>

// The configuration files (module list, language list, the XML files of the
// configuration tool) are small, hand-edited and sometimes corrupt. Every
// reader goes through these helpers so that a truncated, oversized or
// malicious file gives a clear failure (XML text goes through XmlText.h) instead of a crash, and so
// that every reader accepts numbers and white space the same way.
namespace kvconfig {

// Largest configuration file any reader accepts.
constexpr long long MaxConfigFileBytes = 4LL * 1024 * 1024;

// How far a whole-file read got, for callers whose messages tell the steps
// apart: whether the file opened, its length (-1 if unknown) and the bytes read.
struct FileReadInfo {
    bool opened = false;
    long long length = -1;
    long long read = 0;
};

// Reads the whole file at a device path (resolved under the platform root)
// into `text`. Fails, leaving `text` untouched and describing the reason in
// `error`, when the file is missing, larger than `maxBytes` (nothing is read
// then) or cannot be read in full.
int readWholeFile(const std::string& path, std::string& text, std::string& error,
                  long long maxBytes = MaxConfigFileBytes, FileReadInfo* info = nullptr);

// Strict signed decimal 32-bit integer: optional sign, at least one digit,
// nothing else (no blanks, no base prefix). Out-of-range values fail.
// `value` is untouched on failure.
int parseDecimalInt(const std::string& text, int& value);

// Exactly `count` strict decimal integers separated by commas (blanks around
// each allowed), nothing before or after: "9600,8,0,1xyz" is not four
// numbers. `values` may be partly written on failure.
int parseDecimalIntList(const std::string& text, int* values, int count);

// True for the blanks the text formats tolerate: space, tab, CR, LF.
inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// `text` without leading and trailing blanks.
std::string trimBlanks(const std::string& text);

} // namespace kvconfig
