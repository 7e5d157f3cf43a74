// The ITN register modules' frames and answers, for the binary register simulator.
#pragma once

#include "sim/BinaryFamily.h"

// An ITN request starts with its total length: 08 a read, 09 and 0A a write
// of one or two value bytes (high first), 0E a write of three (register,
// value) pairs of one group; then 01, the length less 3, the operation (01
// read, 02 write), the group, the sub-address and the register (the pair
// count in a 0E frame), and the sum of the bytes before the last. A write is
// acknowledged with 05 01 02 01 09; a read answered with 06 01 03 01 v cs or
// 07 01 04 01 hi lo cs by the register's width. A frame with a wrong
// checksum, an unknown register, a width the register does not have, or
// bytes that begin no frame get the refusal 05 01 02 00 08. Registers are
// keyed group << 16 | sub << 8 | register, as the controller keys them.
class ItnFamily : public BinaryFamily {
public:
    static constexpr int kDayNightRegister = 0x1B0050;

    std::vector<std::pair<int, int>> powerUp() const override;
    size_t frameLength(const Bytes& pending) const override;
    std::vector<Bytes> answer(const Bytes& frame, Registers& registers) override;
    Bytes refuseGarbage(const Bytes& head) const override;
    int checksumAt(const Bytes& answer) const override;
    int countAt(const Bytes& answer) const override;
};
