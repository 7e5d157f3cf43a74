// Helpers shared by the configuration readers: bounded file reads, strict numbers.
#include "platform/ConfigFileText.h"

#include "platform/KVFile.h"

#include <climits>
#include <vector>

namespace kvconfig {

int readWholeFile(const std::string& path, std::string& text, std::string& error,
                  long long maxBytes, FileReadInfo* info) {
    FileReadInfo progress;
    const int result = [&] {
        KVFile file;
        if (file.open(path, KVFile::ModeRead) == 0) {
            error = "cannot open the file";
            return 0;
        }
        progress.opened = true;
        progress.length = file.getLength();
        const long long length = progress.length;
        if (length < 0 || length > maxBytes) {
            error = "file size " + std::to_string(length) + " is out of bounds";
            return 0;
        }
        std::vector<char> buffer(static_cast<size_t>(length));
        while (progress.read < length) {
            const int count =
                file.read(buffer.data() + progress.read, static_cast<int>(length - progress.read));
            if (count <= 0)
                break;
            progress.read += count;
        }
        if (progress.read != length) {
            error = "short read";
            return 0;
        }
        text.assign(buffer.begin(), buffer.end());
        return 1;
    }();
    if (info != nullptr)
        *info = progress;
    return result;
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

int parseDecimalIntList(const std::string& text, int* values, int count) {
    std::string::size_type begin = 0;
    for (int i = 0; i < count; ++i) {
        const std::string::size_type comma = text.find(',', begin);
        const bool last = i == count - 1;
        if (last != (comma == std::string::npos))
            return 0;
        const std::string field = text.substr(begin, last ? std::string::npos : comma - begin);
        if (parseDecimalInt(trimBlanks(field), values[i]) == 0)
            return 0;
        begin = comma + 1;
    }
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
