// The driver hooks every Sony block camera controller answers the same way.
#pragma once

#include "drivers/protocols/SonyBlockCamera.h"
#include "platform/ModuleParameterParser.h"

// The half of a Sony block camera controller that only hands the base's
// hooks to its SonyBlockCamera: serial start-up, the VISCA exchanges, the
// parameter dispatch, the mirror's stored value, the filter and gain
// inquiries, the IR-cut filter and the video format. `Base` is the
// controller base the model derives from (ISensorController, or the zoom
// base IDMX420ZoomSensorController); the model gives its setting rows, the
// text logged before its second filter inquiry (nullptr: none) and its
// restart texts, and adds its operations to m_objCamera.
template <class Base>
class SonyBlockController : public Base {
public:
    static constexpr int kMirrorId = 8;

    int initController(int, ModuleConfigure const& config) override {
        ModuleParameterParser detail;
        return m_objCamera.openSerial(config, detail);
    }
    int setSensorVideoSystem(int videoSystem, VideoResolution const& resolution) override {
        return m_objCamera.setSensorVideoSystem(videoSystem, resolution, m_restartTexts);
    }
    // The start-up notice: inquiry 04 22, a 4-byte answer.
    int NotifySensorInitComplate() override {
        char answer[4] = {};
        return m_objCamera.inquiry({0x04, 0x22}, answer, 4);
    }

    int setParameterValue(const char* frame, int length) override {
        return m_objCamera.transport().command(frame, length);
    }
    int getParameterValue(const char* frame, int length, char* answer, int answerLength) override {
        return m_objCamera.transport().inquiry(frame, length, answer, answerLength);
    }
    int setParameterToSensor(int id, int value) override {
        return m_objCamera.setParameter(id, value);
    }
    int getParameterFromSensor(int id, int& value) override {
        return m_objCamera.getParameter(id, value);
    }
    int getMirrorValue(int& value) override {
        value = m_objCamera.stored(kMirrorId);
        return 1;
    }

    // The filter as the module reports it (1 day, 0 night).
    int getDNStatusFromSensor(int& status) override {
        return m_objCamera.getDNStatus(status, m_szDNAgain);
    }
    int getDayNightState(int& state) override {
        return m_objCamera.getDNStatus(state, m_szDNAgain);
    }
    int getCurrentGain(int& gain) override { return m_objCamera.getCurrentGain(gain); }
    int turnPictureToNight() override { return m_objCamera.turnPictureToNight(); }
    int turnPictureToDay() override { return m_objCamera.turnPictureToDay(); }
    int enterAutoMode() override { return m_objCamera.enterAutoMode(); }

protected:
    SonyBlockController(int sensorType, const ViscaSetting* table, std::size_t count,
                        const char* dnAgain, const SonyBlockCamera::RestartTexts& restart)
        : Base(sensorType), m_objCamera(*this, this->m_pUART, this->m_nUARTPort, this->m_mutex,
                                        *this->m_pLastSensorCache, table, count),
          m_szDNAgain(dnAgain), m_restartTexts(restart) {}
    ~SonyBlockController() override {
        stopThreads();
        if (m_objCamera.transport().isOpen())
            this->m_pUART->close(this->m_nUARTPort);
    }
    // The base's worker calls this object's operations, some of them the
    // model's own: each model stops it first thing in its own destructor.
    void stopThreads() {
        if (this->m_DNChangeThread) {
            this->m_DNChangeThread->requestStop();
            this->m_DNChangeThread->stop();
        }
    }

    SonyBlockCamera m_objCamera;

private:
    const char* m_szDNAgain;
    SonyBlockCamera::RestartTexts m_restartTexts;
};
