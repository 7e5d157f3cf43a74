// Converts a zoom motor position into the lens magnification.
#include "platform/CameraLensZMAAlgorithm.h"

#include <algorithm>
#include <cstdint>

int CameraLensZMAAlgorithm::setZMAParam(const ZMAParam& param) {
    if (param.empty())
        return 0;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_objParam = param;
    return 1;
}

int CameraLensZMAAlgorithm::calcMagnify(int position, int& magnification) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::vector<ZMAParam::Point>& rows = m_objParam.points();
    if (rows.empty())
        return 0;
    if (position <= rows.front().position) {
        magnification = rows.front().magnification;
        return 1;
    }
    if (position >= rows.back().position) {
        magnification = rows.back().magnification;
        return 1;
    }
    // First row strictly beyond the position; the row before it is at or
    // below, and positions rise strictly, so the span is never zero.
    const auto upper =
        std::upper_bound(rows.begin(), rows.end(), position,
                         [](int p, const ZMAParam::Point& row) { return p < row.position; });
    const auto lower = upper - 1;
    const int64_t span = static_cast<int64_t>(upper->position) - lower->position;
    const int64_t offset = static_cast<int64_t>(position) - lower->position;
    const int64_t rise = static_cast<int64_t>(upper->magnification) - lower->magnification;
    magnification = static_cast<int>(lower->magnification + rise * offset / span);
    return 1;
}
