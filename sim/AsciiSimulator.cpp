// Simulated ASCII register block module answering on a pseudo-terminal.
#include "sim/AsciiSimulator.h"

#include "drivers/protocols/AsciiRegisterProtocol.h"

namespace {

constexpr char kStart = ':';
constexpr unsigned char kMaskStart = 0xA1;
constexpr size_t kMaskFrame = 4;
constexpr size_t kMinFrame = 8;  // ":WFCC820"
constexpr size_t kMaxFrame = 10; // ":RFB380000"
constexpr size_t kAddressAt = 2;
constexpr size_t kDataAt = 6;
// The line is quiet, and a pending frame complete, after this long without a
// byte (real seconds); a client writes a frame in one go.
constexpr double kQuietRealSeconds = 0.003;
constexpr int kModuleBaud = 9600;

} // namespace

AsciiSimulator::AsciiSimulator(const AsciiModel* model)
    : SimulatedLine(kQuietRealSeconds), m_model(model != nullptr ? *model : defaultAsciiModel()) {
    for (const auto& reg : m_model.registers)
        m_registers[reg.first] = reg.second;
    start(kModuleBaud,
          {[this](uint8_t byte, double now) { feed(byte, now); },
           [this](double now) { endFrame(now); }, [this](std::string& bytes) { bendOwn(bytes); }});
}

AsciiSimulator::~AsciiSimulator() {
    stop();
}

// A ":" begins a frame (and ends the one before), as does the mask
// commands' A1, whose frames are four bytes; bytes outside a frame are noise
// and dropped.
void AsciiSimulator::feed(uint8_t byte, double now) {
    const char c = static_cast<char>(byte);
    const bool mask = static_cast<unsigned char>(c) == kMaskStart;
    if ((c == kStart || mask) && !m_partial.empty() &&
        static_cast<unsigned char>(m_partial[0]) != kMaskStart)
        endFrame(now);
    if (m_partial.empty() && c != kStart && !mask)
        return;
    extend(byte);
    const bool maskFrame = static_cast<unsigned char>(m_partial[0]) == kMaskStart;
    if (m_partial.size() == (maskFrame ? kMaskFrame : kMaxFrame))
        endFrame(now);
}

void AsciiSimulator::endFrame(double now) {
    std::string frame;
    frame.swap(m_partial);
    record(frame);
    if (m_faults.take(ViscaFaults::Silence))
        return;
    handleFrame(frame, now);
}

void AsciiSimulator::handleFrame(const std::string& frame, double now) {
    // The zoom modules' privacy-mask commands, A1 <command> <argument> FF, are
    // binary and echoed whole.
    if (frame.size() == kMaskFrame && static_cast<unsigned char>(frame[0]) == 0xA1 &&
        static_cast<unsigned char>(frame[3]) == 0xFF) {
        answer(frame, now);
        return;
    }
    if (frame.size() < kMinFrame)
        return;
    const int address = AsciiRegisterProtocol::ascToHex(frame.substr(kAddressAt, 4));
    const std::string data = frame.substr(kDataAt);
    const int value = AsciiRegisterProtocol::ascToHex(data);
    if (address < 0 || value < 0)
        return;
    switch (frame[1]) {
    case 'W': // one byte; the 9-character focus frame is only echoed
        if (data.size() == 2)
            m_registers[address] = value;
        else if (data.size() != 3)
            return;
        answer(frame, now);
        return;
    case 'w':
        if (data.size() != 4)
            return;
        m_registers[address] = value;
        answer(frame, now);
        return;
    case 'R': {
        if (data.size() != 2 && data.size() != 4)
            return;
        const int width = static_cast<int>(data.size());
        const int mask = width == 2 ? 0xFF : 0xFFFF;
        const auto reg = m_registers.find(address);
        const int current = reg != m_registers.end() ? reg->second & mask : 0;
        answer(AsciiRegisterProtocol::assembleString(frame.substr(0, kDataAt), current, width),
               now);
        return;
    }
    case 'r': // the initialisation-complete notice: taken, never answered
    default:
        return;
    }
}

void AsciiSimulator::bendOwn(std::string& bytes) {
    if (bytes.size() >= kDataAt && m_faults.take(ViscaFaults::WrongEcho)) {
        char& digit = bytes[kDataAt - 1];
        digit = digit == '0' ? '1' : '0';
    }
}

void AsciiSimulator::setWrongEcho(int frames) {
    setFault(ViscaFaults::WrongEcho, frames);
}
