// The Seawolf register modules' frames and answers, for the binary register simulator.
#pragma once

#include "sim/BinaryFamily.h"

// A Seawolf request begins with its command byte, which gives its length:
//   03 02 page register cs                  read (5 bytes)
//   02 06 page register d3 d2 d1 d0 cs      write, value high byte first (9)
//   07 00 cs                                keep the registers in the store (3)
//   09 01 01 cs                             restart from the store (4)
// cs is the complement of the sum of the bytes before it. The module answers
// 01 (accepted), 02 04 d3 d2 d1 d0 cs for a read (cs = ~(2 + 4 + data)), or
// 03 for a wrong checksum or second byte, an unknown register, or a write to
// the read-only version and light registers (page 4, 0x3D and 0x3E). Bytes
// that begin no request get 03 once. Registers are keyed page x 256 + register.
class SeawolfFamily : public BinaryFamily {
public:
    static constexpr int kVersionRegister = 0x043D;
    static constexpr int kLightRegister = 0x043E;

    SeawolfFamily();

    std::vector<std::pair<int, int>> powerUp() const override;
    size_t frameLength(const Bytes& pending) const override;
    std::vector<Bytes> answer(const Bytes& frame, Registers& registers) override;
    Bytes refuseGarbage(const Bytes& head) const override;
    int checksumAt(const Bytes& answer) const override;
    int countAt(const Bytes& answer) const override;
    // The light level, 0 dark .. 255 bright.
    int lightRegister() const override { return kLightRegister; }
    int lightLimit() const override { return 255; }

    // How many times the store was written and the module restarted.
    int saves() const { return m_nSaves; }
    int restarts() const { return m_nRestarts; }
    // A register's value in the store (0 when it has none).
    int storedValue(int address) const {
        const auto kept = m_store.find(address);
        return kept == m_store.end() ? 0 : kept->second;
    }

private:
    Bytes answerRegister(const Bytes& frame, Registers& registers) const;

    Registers m_store; // what a restart brings back
    int m_nSaves = 0;
    int m_nRestarts = 0;
};
