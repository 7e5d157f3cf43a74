// Fault switches of the simulated modules (VISCA, ASCII, binary register): how they misbehave.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

// Each switch is off, on for the next N frames it applies to, or on for good.
// A frame that a switch applies to uses up one of its count; frames it does
// not apply to (an echo frame for the error reply, say) leave it alone.
// Not thread-safe: the simulator guards it with its own lock.
class ViscaFaults {
public:
    static constexpr int kForever = -1;

    enum Kind {
        Silence,         // the module neither acts on a frame nor answers it
        Late,            // answers come lateSeconds device seconds late
        ErrorReply,      // commands and inquiries get 90 6y 0z FF and are not executed
        CommandRefusal,  // commands (not inquiries) get 90 60 41 FF: not executable now
        CompletionFirst, // a command's completion comes before its acknowledge
        WrongEcho,       // an echo frame comes back with one byte changed
        CutShort,        // only the first cutBytes bytes of an answer are sent
        Garbage,         // garbage bytes go out before the answer
        Duplicate,       // the answer goes out twice
        Held,            // the answer waits for the next frame and goes out before its answer
        WrongChecksum,   // a binary register answer's checksum is off by one
        OverlongCount,   // a binary register answer's count byte reads FF
        KindCount
    };

    // frames: how many frames (kForever: until cleared; 0 switches it off).
    void set(Kind kind, int frames);
    // True when the switch is on for this frame; uses up one of its count.
    bool take(Kind kind);
    bool active(Kind kind) const;
    void clear();

    // Bends an answer by the switches every answer goes through: cut short,
    // garbage in front. Returns when it is due (late answers later than `now`).
    template <class Sequence>
    double bendAnswer(Sequence& bytes, double now) {
        if (take(CutShort))
            bytes.resize(std::min(bytes.size(), static_cast<size_t>(std::max(0, cutBytes))));
        if (take(Garbage))
            bytes.insert(bytes.begin(), garbage.begin(), garbage.end());
        return take(Late) ? now + lateSeconds : now;
    }

    double lateSeconds = 0.0;
    int errorSocket = 0;
    int errorCode = 2;
    int cutBytes = 0;
    std::vector<uint8_t> garbage;

private:
    std::array<int, KindCount> m_remaining{};
};
