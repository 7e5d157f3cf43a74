// Register-row settings: range checks, field writes on known register values, reads.
#include "drivers/protocols/RegisterSettings.h"

#include "controller/ISensorController.h"
#include "drivers/protocols/BinaryLink.h"
#include "drivers/protocols/ModuleDispatch.h"
#include "platform/GlobalEnv.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

// A percent sent as value * scale / 100, and back to the nearest percent.
int toRegister(const regs::Setting& row, int value) {
    return row.scale == 0 ? value : value * row.scale / 100;
}

int fromRegister(const regs::Setting& row, int raw) {
    return row.scale == 0 ? raw : (raw * 100 + row.scale / 2) / row.scale;
}

} // namespace

RegisterSettings::RegisterSettings(ISensorController& log, std::vector<regs::Setting> rows,
                                   Write write, Read read)
    : m_log(log), m_vecRows(std::move(rows)), m_write(std::move(write)), m_read(std::move(read)) {}

void RegisterSettings::addOperation(int id, std::function<int(int)> set,
                                    std::function<int(int&)> get) {
    m_mapOperations[id] = Operation{std::move(set), std::move(get), 0};
}

void RegisterSettings::addOperation(int id, int lo, int hi, const char* rangeMessage,
                                    std::function<int(int)> set, std::function<int(int&)> get) {
    addOperation(
        id,
        [this, lo, hi, rangeMessage, set = std::move(set)](int v) {
            if (v < lo || v > hi) {
                m_log.ErrorPrintf(rangeMessage, v);
                return 0;
            }
            return set(v);
        },
        std::move(get));
}

void RegisterSettings::addDayNightSchedule(int firstId) {
    struct Item {
        int hi;
        const char* rangeMessage;
        int (ISensorController::*set)(int);
        int (ISensorController::*get)(int&);
    };
    static constexpr Item kItems[] = {
        {23, "p_DTNHour(%d) is out of range", &ISensorController::setDTNTime_H,
         &ISensorController::getDTNTime_H},
        {59, "p_DTNMinute(%d) is out of range", &ISensorController::setDTNTime_M,
         &ISensorController::getDTNTime_M},
        {23, "p_NTDHour(%d) is out of range", &ISensorController::setNTDTime_H,
         &ISensorController::getNTDTime_H},
        {59, "p_NTDMinute(%d) is out of range", &ISensorController::setNTDTime_M,
         &ISensorController::getNTDTime_M},
        {3600, "p_DNSwitchDelay(%d) is out of range", &ISensorController::setDNSwitchDelay,
         &ISensorController::getDNSwitchDelay},
    };
    ISensorController& owner = m_log;
    int id = firstId;
    for (const Item& item : kItems)
        addOperation(
            id++, 0, item.hi, item.rangeMessage,
            [&owner, set = item.set](int v) { return (owner.*set)(v); },
            [&owner, get = item.get](int& v) { return (owner.*get)(v); });
}

const regs::Setting* RegisterSettings::find(int id) const {
    if (id == 0)
        return nullptr;
    for (const regs::Setting& row : m_vecRows)
        if (row.id == id)
            return &row;
    return nullptr;
}

int RegisterSettings::set(int id, int value) {
    const auto op = m_mapOperations.find(id);
    if (op != m_mapOperations.end()) {
        if (op->second.set(value) == 0)
            return 0;
        KVMutexLocker guard(m_lock, __FILE__, __LINE__);
        op->second.last = value;
        return 1;
    }
    const regs::Setting* row = find(id);
    return row == nullptr ? -1 : set(*row, value);
}

int RegisterSettings::get(int id, int& value) {
    const auto op = m_mapOperations.find(id);
    if (op != m_mapOperations.end()) {
        if (op->second.get)
            return op->second.get(value) != 0 ? 1 : 0;
        KVMutexLocker guard(m_lock, __FILE__, __LINE__);
        value = op->second.last;
        return 1;
    }
    const regs::Setting* row = find(id);
    return row == nullptr ? -1 : get(*row, value);
}

int RegisterSettings::dispatchSet(int id, int value) {
    const int inherited = dispatchSetToBase(m_log, id, value);
    return inherited != -1 ? inherited : set(id, value);
}

int RegisterSettings::dispatchGet(int id, int& value) {
    const int inherited = dispatchGetToBase(m_log, id, value);
    return inherited != -1 ? inherited : get(id, value);
}

int RegisterSettings::set(const regs::Setting& row, int value) {
    if (value < row.lo || value > row.hi) {
        if (row.rangeMessage != nullptr)
            m_log.ErrorPrintf(row.rangeMessage, value);
        return 0;
    }
    if (writeField(row.address, row.width, row.bit, row.bits, toRegister(row, value)) == 0) {
        m_log.ErrorPrintf(row.setFailure, value);
        return 0;
    }
    if (row.trace != nullptr && GlobalEnv::getInstance()->getPrintFlag() != 0) {
        int now = 0;
        registerValue(row.address, row.width, now);
        std::printf(row.trace, now, value);
    }
    return 1;
}

int RegisterSettings::get(const regs::Setting& row, int& value) {
    int raw = 0;
    {
        // Under the lock, so a field write in between cannot be undone by an older read.
        KVMutexLocker guard(m_lock, __FILE__, __LINE__);
        if (m_read(row.address, row.width, raw) == 0) {
            m_log.ErrorPrintf(row.getFailure, 0);
            return 0;
        }
        m_mapRegisters[row.address] = raw;
    }
    // A module value the setting cannot express reads as the nearest one it
    // can, so that what is read back can always be set again.
    value = std::clamp(
        fromRegister(row, row.bits == 0 ? raw : binary::appointedBits(raw, row.bit, row.bits)),
        row.lo, row.hi);
    return 1;
}

int RegisterSettings::registerValue(int address, int width, int& value) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    const auto known = m_mapRegisters.find(address);
    if (known != m_mapRegisters.end()) {
        value = known->second;
        return 1;
    }
    if (m_read(address, width, value) == 0)
        return 0;
    m_mapRegisters[address] = value;
    return 1;
}

int RegisterSettings::writeField(int address, int width, int bit, int bits, int value) {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    int next = value;
    if (bits != 0) {
        int now = 0;
        if (registerValue(address, width, now) == 0)
            return 0;
        next = binary::modifyAppointedBit(now, bit, bits, value);
    }
    if (m_write(address, width, next) == 0) {
        // The module may or may not have taken it: read it again next time.
        m_mapRegisters.erase(address);
        return 0;
    }
    m_mapRegisters[address] = next;
    return 1;
}

void RegisterSettings::forgetRegisters() {
    KVMutexLocker guard(m_lock, __FILE__, __LINE__);
    m_mapRegisters.clear();
}
