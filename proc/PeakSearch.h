#pragma once

#include <QList>
#include <QPointF>
#include <QRect>

class TDData0;

// The extreme searches shared by the peak finder and the peak comparison. A pixel takes part
// when it is valid and its signed value (value for maxima, -value for minima) is strictly
// above -1e300 times the sign; the first in row-major order wins among equals. For minima the
// start lies at +1e300, so ordinary values never qualify and the answer is (0, 0).
class PeakSearch
{
public:
    // Never more points than this, or than the pixels of the searched rectangle if those are
    // more: past that every further point would repeat the last one or (0, 0).
    static constexpr qsizetype kMinListBound = 65536;

    // The extreme of rect (inclusive, clipped to the record); false when no pixel qualified.
    static bool extreme(const TDData0 &record, const QRect &rect, bool maxima, QPoint *found);

    // count successive extremes of rect, each excluding the pixels closer than radius to the
    // peaks before it (strictly closer: a pixel at exactly radius may be the next peak). A
    // search that finds nothing appends (0, 0). The list is bounded by listBound().
    static QList<QPointF> findPeaks(const TDData0 &record, const QRect &rect, double radius,
                                    qint64 count, bool maxima);

    // Set on a list as the finders make it; a copied shape starts at 0 again, so only a
    // result fresh from a finder shows its table.
    static constexpr int kFreshListFlag = 1;

    static qsizetype listBound(const TDData0 &record, const QRect &rect);
    // rect clipped to the record, empty when they do not meet.
    static QRect clipped(const TDData0 &record, const QRect &rect);
};
