// Fuzz-target support: a serial port whose far side is a module replaying the fuzz input.
#pragma once

#include "platform/IUARTController.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace kvfuzz {

// The module's side of the line. The input is a run of segments, each a length byte and
// that many bytes; each frame sent releases the next segment onto the line, and a receive
// with nothing left on the line times out at once. Everything released since the last
// mark is kept, so an accepted answer can be checked against what the module sent; the
// sends and receives since the mark are counted.
class ServedUART : public IUARTController {
public:
    void serve(const std::uint8_t* data, std::size_t size) {
        m_input.assign(reinterpret_cast<const char*>(data), size);
        m_nNext = 0;
        m_strLine.clear();
        mark();
    }
    void mark() {
        m_strSent.clear();
        m_nSends = 0;
        m_nRecvs = 0;
    }
    const std::string& released() const { return m_strSent; }
    int sends() const { return m_nSends; }
    int recvs() const { return m_nRecvs; }

    int open(const char*) override { return 0; }
    int setParameter(int, int, int, int, int) override { return 1; }
    int send(int, const char*, int len) override {
        ++m_nSends;
        if (m_nNext < m_input.size()) {
            const std::size_t length = static_cast<std::uint8_t>(m_input[m_nNext++]);
            const std::string segment = m_input.substr(m_nNext, length);
            m_nNext += segment.size();
            m_strLine += segment;
            m_strSent += segment;
        }
        return len;
    }
    int recv(int, char* buf, int len, int) override {
        ++m_nRecvs;
        const std::size_t n = std::min(m_strLine.size(), static_cast<std::size_t>(len));
        std::memcpy(buf, m_strLine.data(), n);
        m_strLine.erase(0, n);
        return static_cast<int>(n);
    }
    int clearRecvBuffer(int) override {
        m_strLine.clear();
        return 1;
    }
    int close(int) override { return 1; }

private:
    std::string m_input;
    std::size_t m_nNext = 0;
    std::string m_strLine;
    std::string m_strSent;
    int m_nSends = 0;
    int m_nRecvs = 0;
};

// A property of the code under test: the run stops here when it fails.
inline void check(bool property) {
    if (!property)
        std::abort();
}

// Whether the module released these very bytes, in one piece.
inline bool released(const ServedUART& uart, const std::uint8_t* bytes, int n) {
    return uart.released().find(std::string(reinterpret_cast<const char*>(bytes),
                                            static_cast<std::size_t>(n))) != std::string::npos;
}

} // namespace kvfuzz
