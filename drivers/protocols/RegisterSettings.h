// Parameters as rows of register data, for the binary register module drivers.
#pragma once

#include "platform/KVMutex.h"

#include <functional>
#include <map>
#include <vector>

class ISensorController;

namespace regs {

// One setting of a module: the register (or the bits of a shared register)
// that holds it, the values it takes, and its messages. A row with id 0 is
// reached only through the driver's own member functions.
struct Setting {
    int id;
    int address; // the family's register key
    int width;   // bytes of the register: 1 or 2
    int bit;     // first bit of the setting's field
    int bits;    // width of the field; 0: the whole register
    int lo;
    int hi;
    int scale;                // 0: the value as is; else a percent sent as value * scale / 100
    const char* rangeMessage; // logged with the refused value, or nullptr
    const char* setFailure;   // logged with the value when the write fails
    const char* getFailure;   // logged (with 0 for a %d) when the read fails
    const char* trace; // printed (print flag) with the register value and the setting, or nullptr
};

} // namespace regs

// The settings of one module driver: its rows, plus operations of its own for
// the settings that are more than a register (several registers, rules between
// settings). A write checks the range first and sends nothing for a refused
// value. A field of a shared register is changed from the register's last known
// value, read from the module when not yet known, so the other settings in it
// keep their bits; a read refreshes that value, and gives a value outside the
// setting's range as the nearest in range. The register access itself is
// the driver's protocol (`write`, `read`: 1 on success).
class RegisterSettings {
public:
    using Write = std::function<int(int address, int width, int value)>;
    using Read = std::function<int(int address, int width, int& value)>;

    RegisterSettings(ISensorController& log, std::vector<regs::Setting> rows, Write write,
                     Read read);
    RegisterSettings(const RegisterSettings&) = delete;
    RegisterSettings& operator=(const RegisterSettings&) = delete;

    // An operation behind parameter id `id`, taking precedence over a row.
    // Without a getter the id reads the value last set through it.
    void addOperation(int id, std::function<int(int)> set, std::function<int(int&)> get = {});
    // The same, with a setter that refuses a value outside lo..hi first
    // (`rangeMessage` logged with the value; nothing done).
    void addOperation(int id, int lo, int hi, const char* rangeMessage, std::function<int(int)> set,
                      std::function<int(int&)> get = {});
    // The base's day/night schedule as the five ids from `firstId`: the
    // day-to-night hour and minute, the night-to-day hour and minute (0..23,
    // 0..59) and the switch delay (0..3600 s).
    void addDayNightSchedule(int firstId);
    // By parameter id: 1 done, 0 refused or failed (logged), -1 no such id.
    int set(int id, int value);
    int get(int id, int& value);
    // A driver's setParameterToSensor / getParameterFromSensor: the base's
    // ids (and its refusal before the module is up) first, then these.
    int dispatchSet(int id, int value);
    int dispatchGet(int id, int& value);
    // By row.
    int set(const regs::Setting& row, int value);
    int get(const regs::Setting& row, int& value);
    const regs::Setting* find(int id) const;

    // The register's value as last written or read; read now when unknown.
    int registerValue(int address, int width, int& value);
    // Writes `bits` bits from `bit` of a shared register (bits 0: all of it)
    // and keeps the register's new value. 1 or 0.
    int writeField(int address, int width, int bit, int bits, int value);
    // Forgets every register value (a module that was restarted or replaced).
    void forgetRegisters();

private:
    struct Operation {
        std::function<int(int)> set;
        std::function<int(int&)> get;
        int last = 0;
    };

    ISensorController& m_log;
    std::vector<regs::Setting> m_vecRows;
    Write m_write;
    Read m_read;
    std::map<int, Operation> m_mapOperations;
    // Last known register values; the lock also makes a field's
    // read-modify-write one step.
    KVMutex m_lock;
    std::map<int, int> m_mapRegisters;
};
