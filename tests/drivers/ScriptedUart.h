// Test support: an in-memory serial port whose module plays a script of answers.
#pragma once

#include "platform/IUARTController.h"
#include "support/controller/RecordingController.h"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

namespace kvtest {

// A serial port whose module answers the n-th frame written with the n-th
// scripted answer ("" for silence), and that records every frame and the
// size of every read.
class ScriptedUart : public IUARTController {
public:
    std::vector<std::string> answers;
    std::vector<std::string> frames;
    std::vector<int> reads;
    std::deque<char> input;

    int open(const char*) override { return 0; }
    int setParameter(int, int, int, int, int) override { return 1; }
    int send(int, const char* buf, int len) override {
        frames.emplace_back(buf, static_cast<std::size_t>(len));
        if (frames.size() <= answers.size())
            input.insert(input.end(), answers[frames.size() - 1].begin(),
                         answers[frames.size() - 1].end());
        return len;
    }
    int recv(int, char* buf, int len, int) override {
        reads.push_back(len);
        const int n = std::min<int>(len, static_cast<int>(input.size()));
        std::copy_n(input.begin(), n, buf);
        input.erase(input.begin(), input.begin() + n);
        return n;
    }
    int clearRecvBuffer(int) override {
        input.clear();
        return 1;
    }
    int close(int) override { return 1; }
};

// A controller lending a serial protocol its port (a ScriptedUart), lock and log.
template <class Protocol>
class ScriptedHost : public RecordingController {
public:
    ScriptedHost() : protocol(m_pUART, m_nUARTPort, m_mutex, *this) {
        uart = new ScriptedUart();
        m_pUART = SafePointer<IUARTController>(uart);
        m_nUARTPort = 0;
    }
    ScriptedUart* uart;
    Protocol protocol;
};

} // namespace kvtest
