// Tests of the ASCII register protocol against the simulated register module.
// labels: threaded
#include "drivers/protocols/AsciiRegisterProtocol.h"

#include "drivers/ScriptedModule.h"
#include "platform/TermiosUARTController.h"
#include "sim/AsciiSimulator.h"
#include "support/TestRoot.h"
#include "support/controller/RecordingController.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

// A controller whose serial port, lock and log the protocol borrows.
class AsciiTestController : public kvtest::RecordingController {
public:
    AsciiTestController() : protocol(m_pUART, m_nUARTPort, m_mutex, *this) {}
    bool attach(const std::string& device) {
        m_pUART = SafePointer<IUARTController>(new TermiosUARTController());
        m_nUARTPort = m_pUART->open(device.c_str());
        return m_nUARTPort >= 0 && m_pUART->setParameter(m_nUARTPort, 9600, 8, 1, 0) == 1;
    }
    AsciiRegisterProtocol protocol;
};

// The frame as recodeArray dumps it: "3A 57 ... \n".
std::string dump(const std::string& frame) {
    std::string out;
    char byte[4];
    for (char c : frame) {
        std::snprintf(byte, sizeof byte, "%02X ", static_cast<unsigned char>(c));
        out += byte;
    }
    return out + "\n";
}

// The log of one failed attempt; `reply` is what was read ("" for nothing).
std::string failure(const char* what, int attempt, const char* name, const std::string& frame,
                    const std::string& reply) {
    return "===" + std::string(what) + "(" + std::to_string(attempt) + " times) @" + name +
           " failed,send:\n" + dump(frame) + "===recv(" + std::to_string(reply.size()) + "):\n" +
           (reply.empty() ? "" : dump(reply));
}

class AsciiProtocolTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_sim.isRunning());
        ASSERT_TRUE(m_ctl.attach(m_sim.slavePath()));
    }
    AsciiRegisterProtocol& protocol() { return m_ctl.protocol; }

    // Echo time-out 5 tenths of a device second = 100 ms: ample for the simulator.
    kvtest::TestRoot m_root{0.2};
    AsciiSimulator m_sim{findAsciiModel("sc110n")};
    AsciiTestController m_ctl;
};

} // namespace

TEST(AsciiRegisterProtocolFormat, AssembleAndConvert) {
    const struct {
        const char* prefix;
        int value;
        int width;
        const char* frame;
    } frames[] = {
        {":WFDAE", 100 * 255 / 100, 2, ":WFDAEFF"},
        {":WFC12", 116 * 1 / 50, 2, ":WFC1202"},
        {":WFBF9", 50 * 63 / 100, 2, ":WFBF91F"},
        {":wFD46", 5 * 32, 4, ":wFD4600A0"},
        {":wFD46", 0xabcd, 4, ":wFD46ABCD"},
        {":RFB38", 0, 4, ":RFB380000"},
        {":w", 0xfe, 2, ":wFE"}, // only the digits are upper-cased
    };
    for (const auto& f : frames)
        EXPECT_EQ(AsciiRegisterProtocol::assembleString(f.prefix, f.value, f.width), f.frame)
            << f.prefix << " " << f.value;

    const struct {
        const char* text;
        int value;
    } numbers[] = {{"FF", 255}, {"ff", 255}, {"01A0", 0x1A0}, {"0", 0},   {"7FFFFFF", 0x7FFFFFF},
                   {"", -1},    {"G1", -1},  {" 1", -1},      {"1-", -1}, {"12345678", -1},
                   {"0x1", -1}};
    for (const auto& n : numbers)
        EXPECT_EQ(AsciiRegisterProtocol::ascToHex(n.text), n.value) << '"' << n.text << '"';
}

TEST_F(AsciiProtocolTest, WritesAreEchoedAndStored) {
    kvtest::StdoutCapture out;
    EXPECT_EQ(protocol().sendData(":WFCC820"), 1);
    EXPECT_EQ(protocol().sendData(":wFD4601A0"), 1);
    EXPECT_EQ(protocol().sendData(":WFCBBAA9"), 1) << "the nine-character frame, whole";
    EXPECT_EQ(kvtest::printed(out), "");
    EXPECT_EQ(m_sim.frames(), (std::vector<std::string>{":WFCC820", ":wFD4601A0", ":WFCBBAA9"}));
    EXPECT_EQ(m_sim.registerValue(0xFCC8), 0x20);
    EXPECT_EQ(m_sim.registerValue(0xFD46), 0x1A0);
}

// A wrong echo counts as delivered on the first two attempts and fails the
// third; a missing or short echo is retried.
TEST_F(AsciiProtocolTest, EchoFaultsAndTheirAttempts) {
    const std::string frame = ":WFFE6C0";
    const std::string wrong = ":WFFE0C0";
    const struct {
        const char* name;
        int silent;
        int cut;
        int wrongEchoes;
        int result;
        size_t attempts;
        std::string log;
    } cases[] = {
        {"wrong on the first", 0, 0, 1, 1, 1, failure("check", 1, "sendData", frame, wrong)},
        {"silent, then wrong on the third", 2, 0, 1, 0, 3,
         failure("recv", 1, "sendData", frame, "") + failure("recv", 2, "sendData", frame, "") +
             failure("check", 3, "sendData", frame, wrong)},
        {"silent twice, then right", 2, 0, 0, 1, 3,
         failure("recv", 1, "sendData", frame, "") + failure("recv", 2, "sendData", frame, "")},
        {"silent throughout", AsciiSimulator::kForever, 0, 0, 0, 3,
         failure("recv", 1, "sendData", frame, "") + failure("recv", 2, "sendData", frame, "") +
             failure("recv", 3, "sendData", frame, "")},
        {"cut short once", 0, 1, 0, 1, 2, failure("recv", 1, "sendData", frame, ":WFF")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        m_sim.clearFaults();
        m_sim.clearFrames();
        if (c.silent != 0)
            m_sim.setSilence(c.silent);
        if (c.cut != 0)
            m_sim.setCutShort(4, c.cut);
        if (c.wrongEchoes != 0)
            m_sim.setWrongEcho(c.wrongEchoes);
        kvtest::StdoutCapture out;
        EXPECT_EQ(protocol().sendData(frame), c.result);
        EXPECT_EQ(kvtest::printed(out), c.log);
        EXPECT_EQ(m_sim.frames(), std::vector<std::string>(c.attempts, frame));
    }
}

TEST_F(AsciiProtocolTest, ReadsTakeOnlyTheAnswerToTheirRequest) {
    m_sim.setRegisterValue(0xFFE7, 0x01);
    m_sim.setRegisterValue(0xFB38, 0x1234);
    const std::string dn = ":RFFE700";
    const struct {
        const char* name;
        std::string request;
        int n;
        int silent;
        int wrongEchoes;
        std::string garbage;
        int result;
        int value;
        size_t attempts;
        std::string log;
    } cases[] = {
        {"one byte", dn, 2, 0, 0, "", 1, 1, 1, ""},
        {"power-up video register", ":R170100", 2, 0, 0, "", 1, 0x01, 1, ""},
        {"two bytes", ":RFB380000", 4, 0, 0, "", 1, 0x1234, 1, ""},
        {"another register answers first", dn, 2, 0, 1, "", 1, 1, 2,
         failure("check", 1, "getParameterValue", dn, ":RFFE001")},
        {"another register throughout", dn, 2, 0, AsciiSimulator::kForever, "", 0, -1, 3,
         failure("check", 1, "getParameterValue", dn, ":RFFE001") +
             failure("check", 2, "getParameterValue", dn, ":RFFE001") +
             failure("check", 3, "getParameterValue", dn, ":RFFE001")},
        {"garbage before the answer", dn, 2, 0, 0, "zz", 1, 1, 2,
         failure("check", 1, "getParameterValue", dn, "zz:RFFE7")},
        {"silent throughout", dn, 2, AsciiSimulator::kForever, 0, "", 0, -1, 3,
         failure("recv", 1, "getParameterValue", dn, "") +
             failure("recv", 2, "getParameterValue", dn, "") +
             failure("recv", 3, "getParameterValue", dn, "")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        m_sim.clearFaults();
        m_sim.clearFrames();
        if (c.silent != 0)
            m_sim.setSilence(c.silent);
        if (c.wrongEchoes != 0)
            m_sim.setWrongEcho(c.wrongEchoes);
        if (!c.garbage.empty())
            m_sim.setGarbage(c.garbage, 1);
        kvtest::StdoutCapture out;
        int value = -1;
        EXPECT_EQ(protocol().recvData(c.request, c.n, value), c.result);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(kvtest::printed(out), c.log);
        EXPECT_EQ(m_sim.frames(), std::vector<std::string>(c.attempts, c.request));
    }
}

// The module never answers the initialisation-complete frame: with nothing
// read back the send succeeds at once, even through sendData.
TEST_F(AsciiProtocolTest, InitialisationNoticeIsNotReadBack) {
    kvtest::StdoutCapture out;
    EXPECT_EQ(protocol().sendNotice(AsciiRegisterProtocol::kInitComplete), 1);
    EXPECT_EQ(protocol().sendData(":rE1ED0000"), 1);
    ASSERT_TRUE(m_sim.waitForFrames(2, 5.0));
    EXPECT_EQ(m_sim.frames(), (std::vector<std::string>{":rE1ED0000", ":rE1ED0000"}));
    EXPECT_EQ(kvtest::printed(out), "");
}

// Threads sharing the protocol each get their own register's answer: one
// exchange, with its retries, at a time.
TEST_F(AsciiProtocolTest, ConcurrentReadsAndWritesDoNotMix) {
    m_sim.setRegisterValue(0xFFE7, 0x01);
    int wrong = 0;
    int failed = 0;
    std::thread reader([&] {
        for (int i = 0; i < 20; ++i) {
            int value = -1;
            if (protocol().recvData(":RFFE700", 2, value) != 1)
                ++failed;
            else if (value != 1)
                ++wrong;
        }
    });
    int writesFailed = 0;
    for (int i = 0; i < 20; ++i)
        writesFailed += 1 - protocol().sendData(":WFF4A01");
    reader.join();
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(writesFailed, 0);
    EXPECT_EQ(m_sim.frames().size(), 40u);
}
