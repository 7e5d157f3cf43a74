// The Effio module's frames and answers, for the binary register simulator.
#pragma once

#include "sim/BinaryFamily.h"

#include <map>
#include <utility>
#include <vector>

// An Effio request is 6 or 7 bytes, its first byte its length: 06 57 category
// byte value cs (write of one byte), 07 57 category byte high low cs (two
// bytes), 06 52 category first last cs (read), cs the sum of the bytes
// before it. A write is answered 57 status sum; a read of byte numbers
// first..last with 52 status, each register's bytes (two-byte ones high
// first), checksum. Status 00 is done; F0 a wrong checksum, F1 no such
// category, F2 no such byte number, FE anything else wrong (operation,
// a value width other than the register's, last before first). A refused read
// is answered at the length asked (zero values), so the client reads it whole.
// Bytes that begin no request get 57 FE 55 once.
class EffioFamily : public BinaryFamily {
public:
    // One register: its key (category << 8 | byte number), width and power-up value.
    struct Register {
        int key;
        int width;
        int value;
    };
    static const std::vector<Register>& defaultRegisters();

    EffioFamily();

    // The width of a register (0: none).
    int widthOf(int key) const;

    std::vector<std::pair<int, int>> powerUp() const override;
    size_t frameLength(const Bytes& pending) const override;
    std::vector<Bytes> answer(const Bytes& frame, Registers& registers) override;
    Bytes refuseGarbage(const Bytes& head) const override;
    int checksumAt(const Bytes& answer) const override;
    int countAt(const Bytes& answer) const override;

private:
    Bytes answerWrite(const Bytes& frame, Registers& registers) const;
    Bytes answerRead(const Bytes& frame, const Registers& registers) const;
    // The status a frame's register gets: 0 when it exists.
    uint8_t lookUp(int category, int byteNumber) const;

    std::map<int, int> m_mapWidths;
};
