#pragma once

#include "proc/FilterWArea.h"

#include <memory>

class TDDataWL;

// Replaces each valid pixel by the mean of the valid pixels in the (2 hx + 1) x (2 hy + 1)
// window around it, clipped to the image. The whole image is covered.
class MovingAvrF : public FilterWArea
{
    Q_OBJECT

public:
    static constexpr int kTypeCode = 2;

    MovingAvrF(int hx, int hy, QObject *parent = nullptr);

    // The named result, one level above the source, with the source's shapes.
    std::unique_ptr<TDDataWL> compute(const TDDataWL &source) const;
    // compute() handed on through newFilteredData; nothing happens for a null source.
    void run(const TDDataWL *source);
};
