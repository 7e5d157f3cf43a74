// Zoom-position to magnification table of the zoom lens.
#pragma once

#include <vector>

// The lens calibration: rows of zoom motor position and the optical
// magnification reached there, in thousandths (1000 = 1x). Positions rise
// strictly from row to row and magnifications are positive; addPoint()
// refuses a row that breaks this, so a table is always usable for
// interpolation.
class ZMAParam {
public:
    struct Point {
        int position;
        int magnification;
    };

    // Appends a row; 1, or 0 (table unchanged) when the position does not
    // exceed the last row's, the position is negative, the magnification is
    // not positive, or the table is full.
    int addPoint(int position, int magnification);
    // Reads row `index`; 0 for an index outside the table.
    int getPoint(int index, int& position, int& magnification) const;
    void clear();
    int size() const;
    bool empty() const;
    const std::vector<Point>& points() const;

    static constexpr int kMaxPoints = 1024;

private:
    std::vector<Point> m_vecPoints;
};
