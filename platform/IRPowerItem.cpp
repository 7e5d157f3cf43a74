// One row of the infrared LED power table.
#include "platform/IRPowerItem.h"

IRPowerItem::IRPowerItem(int zoomUp, int farPower, int midPower, int nearPower)
    : m_nZoomUp(zoomUp), m_nFarPower(farPower), m_nMidPower(midPower), m_nNearPower(nearPower) {}

void IRPowerItem::setZoomUp(int zoomUp) {
    m_nZoomUp = zoomUp;
}
int IRPowerItem::getZoomUp() const {
    return m_nZoomUp;
}
void IRPowerItem::setFarPower(int power) {
    m_nFarPower = power;
}
int IRPowerItem::getFarPower() const {
    return m_nFarPower;
}
void IRPowerItem::setMidPower(int power) {
    m_nMidPower = power;
}
int IRPowerItem::getMidPower() const {
    return m_nMidPower;
}
void IRPowerItem::setNearPower(int power) {
    m_nNearPower = power;
}
int IRPowerItem::getNearPower() const {
    return m_nNearPower;
}

bool IRPowerItem::operator==(const IRPowerItem& other) const {
    return m_nZoomUp == other.m_nZoomUp && m_nFarPower == other.m_nFarPower &&
           m_nMidPower == other.m_nMidPower && m_nNearPower == other.m_nNearPower;
}
