// Zoom-position to magnification table of the zoom lens.
#include "platform/ZMAParam.h"

#include <cstddef>

int ZMAParam::addPoint(int position, int magnification) {
    if (position < 0 || magnification <= 0 || size() >= kMaxPoints)
        return 0;
    if (!m_vecPoints.empty() && position <= m_vecPoints.back().position)
        return 0;
    m_vecPoints.push_back({position, magnification});
    return 1;
}

int ZMAParam::getPoint(int index, int& position, int& magnification) const {
    if (index < 0 || index >= size())
        return 0;
    position = m_vecPoints[static_cast<size_t>(index)].position;
    magnification = m_vecPoints[static_cast<size_t>(index)].magnification;
    return 1;
}

void ZMAParam::clear() {
    m_vecPoints.clear();
}

int ZMAParam::size() const {
    return static_cast<int>(m_vecPoints.size());
}

bool ZMAParam::empty() const {
    return m_vecPoints.empty();
}

const std::vector<ZMAParam::Point>& ZMAParam::points() const {
    return m_vecPoints;
}
