// What every Sony-style VISCA block camera controller does the same way: transport policy,
// setting table and dispatch, IR-cut filter, day/night and gain inquiries, video format.
#pragma once

#include "drivers/protocols/SerialSettings.h"
#include "drivers/protocols/ViscaSettings.h"
#include "drivers/protocols/ViscaTransport.h"
#include "platform/VideoResolution.h"

#include <functional>
#include <initializer_list>
#include <map>
#include <vector>

class IdManager;
class ISensorController;
class ModuleConfigure;
class ModuleParameterParser;
class SensorCache;

// The Sony block cameras (CV7500, CH3310, EH4300) take a command with a
// three-byte answer, the acknowledge 90 41 FF or the completion 90 51 FF,
// either of which is success, and inquiries whose answer is copied at the
// asked length. Each controller holds one SonyBlockCamera on its own UART
// pointer, port, lock, log and stored parameters, gives it the rows of its
// own settings (the shared VISCA setting shape; they come before the
// family's shared rows, kSharedSettings) and its irregular setters as
// operations, and the component does the rest.
class SonyBlockCamera {
public:
    // The shorthand of the models' setting rows.
    struct Rows {
        using V = ViscaSetting::Value;
        using D = ViscaSetting::Data;
        static constexpr bool kIsOut = false;
    };
    // A range of parameter ids of one IdManager category.
    struct IdRange {
        int type;
        int first;
        int last;
    };
    // Registers the model's ids, in order.
    static void registerIds(IdManager& ids, std::initializer_list<IdRange> ranges);

    // The two answers a command may get.
    static const unsigned char kAck[3];
    static const unsigned char kCompletion[3];
    // Time-outs (tenths of a second) of a command's or inquiry's answer and
    // of the answer to the video-format write.
    static constexpr int kAnswerTimeout = 4;
    static constexpr int kRestartTimeout = 5;
    // The regular settings every model of the family has (ids 1..50).
    static const ViscaSetting kSharedSettings[];
    static const std::size_t kSharedSettingCount;

    SonyBlockCamera(ISensorController& owner, SafePointer<IUARTController>& uart, int& port,
                    KVMutex& lock, SensorCache& stored, const ViscaSetting* table,
                    std::size_t count);
    SonyBlockCamera(const SonyBlockCamera&) = delete;
    SonyBlockCamera& operator=(const SonyBlockCamera&) = delete;

    ViscaTransport& transport() { return m_objVisca; }

    // The family's serial set-up ("RS232DeviceName", "isInfrared", "RS485");
    // the port is opened with "open uart (%s) failed" on error.
    int openSerial(const ModuleConfigure& config, ModuleParameterParser& detail);

    // ---- parameters -------------------------------------------------------------
    // The family's operations every model has under the same ids: mirror (8),
    // exposure mode (10), exposure compensation (17), the visibility enhancer
    // (25..27), focus near limit (30), AF movement and interval (34, 39),
    // one-push AF (37), defog (45), spot AE position (48, 49), the base's
    // day/night mode, time windows, switch delay and TNF (56..63) and, when
    // `lensSteps`, the focus and iris steps (52..55).
    void addFamilyOperations(bool lensSteps);
    // An irregular setter behind id `id` (and its getter; without one the id
    // reads its stored value). `name` is the operation's name in the logs;
    // `failure`, when given, is logged instead of "<name> error,value is <v>".
    void addOperation(int id, const char* name, std::function<int(int)> set,
                      std::function<int(int&)> get = {}, const char* failure = nullptr);
    // The controller's setParameterToSensor: 0 before init (logged), the
    // base's ids (500..504) to the base, -1 for an id the module does not
    // have; else the table row or operation, whose failure logs
    // "<setter> error,value is <v>".
    int setParameter(int id, int value);
    // The controller's getParameterFromSensor: the stored value, or the
    // operation's getter ("<getter> error,value is <v>" when it fails).
    int getParameter(int id, int& value);
    // The row or operation of `id`: 1, 0 (refused or failed), -1 no such id.
    int apply(int id, int value);
    // The stored value of parameter `id` (`fallback` when none is stored).
    int stored(int id, int fallback = 0) const;

    // ---- module services ----------------------------------------------------------
    // 81 01 <bytes> FF, acknowledged.
    int command(std::initializer_list<int> bytes);
    // 81 09 <bytes> FF; the answer (90 50 .. FF) of exactly `len` bytes into answer.
    int inquiry(std::initializer_list<int> bytes, char* answer, int len);
    // The IR-cut filter (inquiry 04 01): 1 day (03), 0 night (02). `again`:
    // the text logged before a second inquiry after a failed first, or
    // nullptr for one inquiry only.
    int getDNStatus(int& state, const char* again);
    // The gain position (inquiry 04 4C).
    int getCurrentGain(int& gain);
    // The filter in (night) or out (day), a second, then automatic off; or
    // the filter out and automatic on.
    int turnPictureToNight();
    int turnPictureToDay();
    int enterAutoMode();

    // The video-format register 24 72 for the host's video system (0 and 2
    // NTSC, 1 PAL) at a height of 1080 or 720. When the module already runs
    // it, "Video system not change!" and 1; otherwise the register is written
    // (printing "____set PAL" or "____set NTSC") and the module restarts.
    struct RestartTexts {
        const char* timeout; // no answer to the write, twice
        const char* failed;  // another answer
        // Logged before a second inquiry of the format after a failed first
        // (nullptr: one inquiry), and when the inquiry failed.
        const char* readAgain = nullptr;
        const char* readFailed = "get video system failed";
        // printf format of the module's format (one int) shown instead of
        // "set video system,nValue=..,szRecv[3]=..", or nullptr.
        const char* current = nullptr;
    };
    int setSensorVideoSystem(int videoSystem, const VideoResolution& resolution,
                             const RestartTexts& texts);
    // The register's value for a video system and height, or -1.
    static int videoFormatOf(int videoSystem, int height);

private:
    struct Operation {
        const char* name;
        std::function<int(int)> set;
        std::function<int(int&)> get;
        const char* failure;
    };
    int buildFrame(std::initializer_list<int> bytes, char* frame, int type) const;
    // The model's row for `id`, else the family's shared row, or nullptr.
    const ViscaSetting* row(int id) const;
    const char* nameOf(int id) const;
    bool inRange(const char* name, int v, int lo, int hi);

    ISensorController& m_owner;
    SensorCache& m_stored;
    ViscaTransport m_objVisca;
    const ViscaSetting* m_pTable;
    std::size_t m_nTableSize;
    std::map<int, Operation> m_mapOperations;
};
