// Fault switches of the simulated VISCA module: how it misbehaves, and for how long.
#include "sim/ViscaFaults.h"

void ViscaFaults::set(Kind kind, int frames) {
    if (kind < 0 || kind >= KindCount)
        return;
    m_remaining[kind] = frames < 0 ? kForever : frames;
}

bool ViscaFaults::take(Kind kind) {
    if (!active(kind))
        return false;
    if (m_remaining[kind] > 0)
        --m_remaining[kind];
    return true;
}

bool ViscaFaults::active(Kind kind) const {
    return kind >= 0 && kind < KindCount && m_remaining[kind] != 0;
}

void ViscaFaults::clear() {
    m_remaining.fill(0);
}
