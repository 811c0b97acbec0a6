#pragma once

#include "proc/Filter.h"

// A filter that works with a rectangular window of (2 hx + 1) x (2 hy + 1) pixels around
// each pixel. Half widths are kept as typed: below 1 means no window along that axis.
class FilterWArea : public Filter
{
    Q_OBJECT

public:
    int halfWidthX() const { return m_hx; }
    int halfWidthY() const { return m_hy; }

protected:
    FilterWArea(int typeCode, int hx, int hy, QObject *parent = nullptr);

private:
    const int m_hx;
    const int m_hy;
};
