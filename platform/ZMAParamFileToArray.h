// Reader of the zoom lens magnification file ("ZMAParam.txt").
#pragma once

#include "platform/ZMAParam.h"

#include <cstddef>
#include <string>

// Turns the lens calibration file into a ZMAParam table. The file is text:
// one row per line, "position magnification" in decimal (a position may also
// be written in hexadecimal with "0x"), magnification in thousandths; '#'
// starts a comment; blank lines are skipped (docs/zma-format.md). A file that
// breaks any rule is refused as a whole, so a damaged file never yields half a
// table. The file is read whole and must be smaller than kMaxFileBytes.
class ZMAParamFileToArray {
public:
    // Remembers the device path of the file; 1 when a regular file is there.
    int setFilePath(const std::string& path);

    // Reads the file into `param`; 1 on success. On failure `param` is left
    // as it was and lastError() says why.
    int get(ZMAParam& param);

    const std::string& lastError() const { return m_strError; }

    // Parses file text; the rules and results are those of get().
    int parse(const std::string& text, ZMAParam& param);

    static constexpr size_t kMaxFileBytes = 64 * 1024;

private:
    int fail(const std::string& why);

    std::string m_strPath;
    std::string m_strError;
};
