// One row of the infrared LED power table.
#pragma once

// The LED powers to use up to one zoom step: the zoom-up limit that keys the
// row, then the far, middle and near bank powers in percent. The table is
// provisioned with the camera and read by the IR power configuration reader.
class IRPowerItem {
public:
    IRPowerItem() = default;
    IRPowerItem(int zoomUp, int farPower, int midPower, int nearPower);

    void setZoomUp(int zoomUp);
    int getZoomUp() const;
    void setFarPower(int power);
    int getFarPower() const;
    void setMidPower(int power);
    int getMidPower() const;
    void setNearPower(int power);
    int getNearPower() const;

    bool operator==(const IRPowerItem& other) const;
    bool operator!=(const IRPowerItem& other) const { return !(*this == other); }

private:
    int m_nZoomUp = 0;
    int m_nFarPower = 0;
    int m_nMidPower = 0;
    int m_nNearPower = 0;
};
