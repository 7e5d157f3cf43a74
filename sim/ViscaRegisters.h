// Register state and lens motion of a simulated VISCA block camera.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

// What the simulated module remembers between frames. A command 81 01 <key>
// <data> FF stores <data> under <key>; an inquiry 81 09 <key> FF answers it.
// The key is the category byte and the command byte (04 A1), with one more
// byte for the commands that address a sub-register (04 24 rr, 04 21 ss).
// Zoom and focus are lenses that can also be driven: a drive command moves
// the position at a speed over device time until a stop or a direct
// position. The serial-speed and video-format registers (04 24 24, 04 24 72)
// answer a written value at once but take effect only at the next restart.
class ViscaRegisters {
public:
    using Bytes = std::vector<uint8_t>;

    // Zoom positions run 0 (wide) to kZoomMax (tele), focus kFocusMin..kFocusMax.
    static constexpr int kZoomMax = 31424;
    static constexpr int kFocusMin = 0x1000;
    static constexpr int kFocusMax = 0xF000;
    // Position steps per device second at drive speed 0; speed s drives s + 1 times as fast.
    static constexpr double kStepsPerSecond = 2000.0;

    ViscaRegisters(int baudIndex, int videoFormat);

    // Body of a command frame (bytes between 81 01 and FF). False when the
    // body is too short to name a register.
    bool command(const Bytes& body, double now);
    // Body of an inquiry frame (bytes between 81 09 and FF); false for a
    // register that holds nothing.
    bool inquire(const Bytes& body, double now, Bytes& data) const;
    // Pending serial speed and video format take effect; the lenses stop.
    void restart(double now);

    Bytes value(const Bytes& key) const;
    void setValue(const Bytes& key, const Bytes& data);

    int zoomPosition(double now) const { return m_zoom.at(now); }
    int focusPosition(double now) const { return m_focus.at(now); }
    void setZoomPosition(int position, double now) { m_zoom.set(position, now); }
    void setFocusPosition(int position, double now) { m_focus.set(position, now); }

    int activeBaudIndex() const { return m_nBaudIndex; }
    int activeVideoFormat() const { return m_nVideoFormat; }
    void setActiveBaudIndex(int index);

    // Four nibbles of a 16-bit value, high first, and back.
    static Bytes nibbles4(int value);
    static int fromNibbles(const uint8_t* p, int count);

private:
    struct Lens {
        int min = 0;
        int max = 0;
        int position = 0;
        int direction = 0; // +1, -1 or 0 (still)
        double speed = 0.0;
        double since = 0.0;
        int at(double now) const;
        void set(int p, double now);
        void drive(uint8_t code, bool upOnTwo, double now);
    };

    static Bytes keyOf(const Bytes& body);
    int registerValue(uint8_t reg) const;

    std::map<Bytes, Bytes> m_mapValues;
    Lens m_zoom;
    Lens m_focus;
    int m_nBaudIndex;
    int m_nVideoFormat;
};
