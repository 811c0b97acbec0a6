#pragma once

#include "proc/FilterWArea.h"

#include <QRect>

#include <memory>

class TDDataWL;

// Marks each valid pixel of the processing rectangle with 1 where it lies strictly above the
// mean of its (2 hx + 1) x (2 hy + 1) window, 0 elsewhere. The rectangle is walked half-open
// (its right column and bottom row are left out) and clipped to the image.
class AdaptiveThresholdF : public FilterWArea
{
    Q_OBJECT

public:
    static constexpr int kTypeCode = 1;

    AdaptiveThresholdF(int hx, int hy, QObject *parent = nullptr);

    std::unique_ptr<TDDataWL> compute(const TDDataWL &source, const QRect &rect) const;
    // compute() handed on through newFilteredData; nothing happens for a null source.
    void run(const TDDataWL *source, const QRect &rect);
};
