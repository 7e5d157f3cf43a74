// What one family of binary register modules adds to the shared simulator: framing and answers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

// The binary register modules frame every request with a leading length or
// code byte and close it with a checksum; nothing terminates a frame on the
// wire. BinarySimulator owns the line, the timing, the fault switches and the
// register store, and asks its family two questions: is the frame complete,
// and what does the module answer. It calls the family under its own lock,
// from its reader thread and from the test-side accessors alike.
class BinaryFamily {
public:
    using Bytes = std::vector<uint8_t>;
    using Registers = std::map<int, int>;
    // frameLength(): these bytes start no frame the module knows.
    static constexpr size_t kGarbage = static_cast<size_t>(-1);

    virtual ~BinaryFamily() = default;

    // Registers and their values at power-up; only these exist.
    virtual std::vector<std::pair<int, int>> powerUp() const = 0;
    // The length of the frame that `pending` (one byte or more) begins: 0 when
    // more bytes are needed to tell, kGarbage when it begins none.
    virtual size_t frameLength(const Bytes& pending) const = 0;
    // The answers to a complete frame, in the order they go out (none: the
    // module stays quiet). A write acts on `registers`.
    virtual std::vector<Bytes> answer(const Bytes& frame, Registers& registers) = 0;
    // The one answer to bytes that begin no frame (empty: none).
    virtual Bytes refuseGarbage(const Bytes& head) const = 0;
    // Where an answer holds its checksum and its count byte; -1 when it has
    // none (the fault switches that corrupt them pass such an answer by).
    virtual int checksumAt(const Bytes& answer) const = 0;
    virtual int countAt(const Bytes& answer) const = 0;
    // The register that holds the light the module measures (-1: the module
    // measures none on the line) and its largest value.
    virtual int lightRegister() const { return -1; }
    virtual int lightLimit() const { return 0; }
};
