// The driver hooks every ASCII register module controller answers the same way.
#pragma once

#include "controller/ISensorController.h"
#include "drivers/protocols/AsciiRegisterModule.h"

#include <utility>
#include <vector>

// The half of a register module controller that only hands the base's hooks
// to its AsciiRegisterModule: the parameter dispatch, the mirror's stored
// value, the day/night state the "getDN" thread read, and the start-up
// notice. `Base` is the controller base the model derives from
// (ISensorController, or the zoom base IDMX420ZoomSensorController). The
// model gives its register table, its picture-mode and mirror ids, and adds
// its threads and operations to m_objModule; its threads call the model's
// own members, so each model stops them first thing in its own destructor
// (stopThreads).
template <class Base>
class AsciiRegisterController : public Base {
public:
    int setParameterToSensor(int id, int value) override {
        return m_objModule.setParameter(id, value);
    }
    int getParameterFromSensor(int id, int& value) override {
        return m_objModule.getParameter(id, value);
    }
    int getMirrorValue(int& value) override {
        value = m_objModule.stored(m_nMirrorId);
        return 1;
    }
    int getDNStatusFromSensor(int& status) override { return m_objModule.dayNightStatus(status); }
    int getDayNightState(int& state) override { return m_objModule.dayNightStatus(state); }
    int NotifySensorInitComplate() override {
        return m_objModule.protocol().sendData(AsciiRegisterProtocol::kInitComplete);
    }

protected:
    AsciiRegisterController(int sensorType, std::vector<ascii::Setting> table, int pictureModeId,
                            int mirrorId)
        : Base(sensorType), m_objModule(*this, this->m_pUART, this->m_nUARTPort, this->m_mutex,
                                        *this->m_pLastSensorCache, std::move(table), pictureModeId),
          m_nMirrorId(mirrorId) {}
    ~AsciiRegisterController() override { stopThreads(); }
    void stopThreads() { m_objModule.stopThreads(this->m_DNChangeThread.get()); }
    // The base's TNF mode behind parameter id `id`.
    void addTNFMode(int id) {
        m_objModule.addOperation(
            id, [this](int v) { return this->setTNFMode(v); },
            [this](int& v) { return this->getTNFMode(v); });
    }

    AsciiRegisterModule m_objModule;

private:
    int m_nMirrorId;
};
