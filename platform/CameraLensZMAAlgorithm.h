// Converts a zoom motor position into the lens magnification.
#pragma once

#include "platform/ZMAParam.h"

#include <mutex>

// The IR LED logic needs the optical magnification, but the module reports a
// motor position whose relation to magnification is far from linear. This
// interpolates linearly between the calibration rows of a ZMAParam table and
// holds the end rows' values beyond them (positions past the last row are the
// digital zoom range, where the optics no longer change). Thread-safe: the
// IR thread may already be converting while initialisation loads the table.
class CameraLensZMAAlgorithm {
public:
    // Takes a copy of the table; 0 for an empty table (the old one stays).
    int setZMAParam(const ZMAParam& param);

    // Magnification in thousandths at the position; 0 while no table is set.
    // Between rows the result is truncated towards the lower row's value.
    int calcMagnify(int position, int& magnification) const;

private:
    mutable std::mutex m_mutex;
    ZMAParam m_objParam;
};
