// The IT1 register modules' frames and answers, for the binary register simulator.
#pragma once

#include "sim/BinaryFamily.h"
#include "sim/It1Models.h"

#include <vector>

// An IT1 request is 8 or 9 bytes: its total length, 01, the length less 3,
// the operation (02 write, 01 read), the register address (high byte first),
// the value (write: one byte, or two low byte first in the 9-byte frame) or
// the count of value bytes wanted (read: 1 or 2), and the sum of all bytes
// before it. The answer has the same shape: length, 01, length less 3, the
// result code (01 done, E1 checksum wrong, E2 no such register, E3 malformed
// frame), a read's value bytes (low first) and the sum. Bytes that begin no
// request get E3 once. The zoom model also takes the lens preset frame
// 81 01 04 B1 p FF on the same line, acknowledged and completed as a VISCA
// command (90 41 FF, 90 51 FF); any other 81 frame gets 90 60 02 FF.
class It1Family : public BinaryFamily {
public:
    static constexpr int kLightRegister = 0x3D0B; // read only on the line

    explicit It1Family(const It1Model& model) : m_model(model) {}

    const It1Model& model() const { return m_model; }
    // The preset numbers of the lens frames taken, oldest first.
    const std::vector<int>& lensPresets() const { return m_vecLensPresets; }

    std::vector<std::pair<int, int>> powerUp() const override { return m_model.registers; }
    size_t frameLength(const Bytes& pending) const override;
    std::vector<Bytes> answer(const Bytes& frame, Registers& registers) override;
    Bytes refuseGarbage(const Bytes& head) const override;
    int checksumAt(const Bytes& answer) const override;
    int countAt(const Bytes& answer) const override;
    int lightRegister() const override { return kLightRegister; }
    int lightLimit() const override { return 0xFFFF; }

private:
    std::vector<Bytes> answerLens(const Bytes& frame);
    Bytes answerRegister(const Bytes& frame, Registers& registers) const;

    const It1Model& m_model;
    std::vector<int> m_vecLensPresets;
};
