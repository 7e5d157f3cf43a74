// What every ASCII register module controller does the same way: serial set-up, register
// tables, parameter dispatch, day/night polling, video system and threads.
#pragma once

#include "drivers/protocols/AsciiRegisterProtocol.h"
#include "drivers/protocols/AsciiRegisterTable.h"
#include "foundation/GThread.h"
#include "platform/ModuleConfigure.h"
#include "platform/ModuleParameterParser.h"
#include "platform/VideoResolution.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class ISensorController;
class SensorCache;

// The four controllers of the family (Hitach, Hitach-compatible, CMD7200,
// SC110N-C) differ in their register table, their video-system registers,
// where they read day or night, and a few operations of their own. Each holds
// one AsciiRegisterModule built on its own UART pointer, port, lock, log and
// stored parameters, and describes itself to it as data; the module does the
// rest, so no controller repeats a transport, a dispatcher or a setter table.
class AsciiRegisterModule {
public:
    // One video system of a module: the host's video systems (0 and 2 NTSC,
    // 1 PAL) and frame size (0: any) it serves, the line printed when it is
    // chosen (print flag), the register values that show it is already set,
    // and the frames that set it.
    struct VideoSystem {
        std::vector<int> modes;
        int width = 0;
        int height = 0;
        const char* announce = nullptr;
        std::vector<int> values;
        std::vector<const char*> frames;
    };
    // A register read: request, answer digits, what a failure logs.
    struct Read {
        const char* request;
        int digits;
        const char* failure;
    };
    struct VideoSystemMap {
        std::vector<VideoSystem> systems;
        std::vector<Read> reads;        // one per value of VideoSystem::values
        const char* readTrace;          // printf of each value read (print flag), or nullptr
        const char* changed;            // logged when the module is switched
        const char* failed;             // logged when a switching frame fails
        std::vector<const char*> after; // sent after a switch when the caller asks
    };
    // Where one day/night pass reads the module: the read, and how its value
    // becomes a state (0 day, 1 night, -1 no state).
    struct DayNightRead {
        Read read;
        int (*decode)(int value);
    };
    // The usual decoding: 0 and 1 are the state, anything else none.
    static int plainDayNight(int value);

    AsciiRegisterModule(ISensorController& owner, SafePointer<IUARTController>& uart, int& port,
                        KVMutex& lock, SensorCache& stored, std::vector<ascii::Setting> settings,
                        int pictureModeId = -1);
    ~AsciiRegisterModule();
    AsciiRegisterModule(const AsciiRegisterModule&) = delete;
    AsciiRegisterModule& operator=(const AsciiRegisterModule&) = delete;

    AsciiRegisterProtocol& protocol() { return m_objProtocol; }

    // ---- start-up -----------------------------------------------------------
    // The family's serial set-up: the detail must name "RS232DeviceName" and
    // "isInfrared", the parameters must hold "RS485" as "baud,data bits,parity,
    // stop bits"; the port is then opened. 0 with the failing step logged.
    // `detail` keeps the parsed detail for the controller's own keys.
    int openSerial(const ModuleConfigure& config, ModuleParameterParser& detail);
    bool isOpen() const;
    void closeSerial();

    // ---- threads ----------------------------------------------------------------
    // Makes (unstarted) and keeps a thread running `body` of the controller;
    // startThreads starts those not running, stopThreads stops them and
    // `also` (the base's worker), all asked first so none waits out another's
    // pass.
    template <class C>
    void addThread(C* owner, int (C::*body)(), const char* name) {
        m_vecThreads.emplace_back(makeMemberThread<C>(owner, body, name));
    }
    int startThreads();
    void stopThreads(GThread* also);

    // ---- parameters ---------------------------------------------------------------
    // An operation of the controller's own behind parameter id `id` (the
    // base's operations, lens actions, masks); it takes precedence over a table
    // row. Without a getter the id reads its stored value.
    void addOperation(int id, std::function<int(int)> set, std::function<int(int&)> get = {});
    // The controller's setParameterToSensor: 0 unless initialised; the
    // controller base's result (the scheme ids) unless -1; -1 for an id neither knows; else the
    // id's operation or table row, 1 after a pause of 30 ms on success, 0 on failure.
    int setParameter(int id, int value);
    // The controller's getParameterFromSensor: the base's result when non-zero,
    // else the stored value (the module is not read) or the id's own getter.
    int getParameter(int id, int& value);
    // Runs the table row of `id` for `value`: 1 sent (or nothing to send), 0
    // refused or a frame failed, -1 no such row.
    int apply(int id, int value);
    // The stored value of parameter `id` (0 when none is stored).
    int stored(int id) const;

    // ---- module state ---------------------------------------------------------
    // One day/night pass: reads the module, keeps the state, waits 1 s (3 s
    // after a failure or a value that is no state). 0 always (a thread body).
    int pollDayNight(const DayNightRead& how);
    // The last state read, in the base's terms (1 day, 0 night); 0 before the first.
    int dayNightStatus(int& status) const;
    // Checks the request against the map ("setSensorVideoSystem is out of
    // range"), reads what the module runs, and only when it differs switches
    // it, then sends the map's `after` frames if `withAfter`.
    int setVideoSystem(const VideoSystemMap& map, int mode, const VideoResolution& resolution,
                       bool withAfter);

private:
    struct Operation {
        std::function<int(int)> set;
        std::function<int(int&)> get;
    };
    const ascii::Setting* findSetting(int id) const;
    bool holds(const ascii::When& when) const;
    // The frames of a rule for `value`, or false when a value does not fit its digits.
    bool build(const ascii::Rule& rule, int id, int value, std::vector<std::string>& frames) const;
    int sendAll(const std::vector<std::string>& frames);

    ISensorController& m_owner;
    SafePointer<IUARTController>& m_uart;
    int& m_nPort;
    SensorCache& m_stored;
    AsciiRegisterProtocol m_objProtocol;
    std::vector<ascii::Setting> m_vecSettings;
    std::map<int, Operation> m_mapOperations;
    int m_nPictureModeId;
    std::atomic<int> m_nDayNight{-1}; // 0 day, 1 night, -1 not read yet
    std::vector<std::unique_ptr<GThread>> m_vecThreads;
};
