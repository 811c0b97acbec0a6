#pragma once

#include <QString>

#include <memory>

class TDDataWL;

// Resizes a record to any width x height. Nearest and bilinear sample the source at the
// output pixel's centre; an output pixel is invalid when a source pixel with a positive
// weight is invalid. Area averages the source pixels the output pixel covers, weighted by
// the covered fraction, over the valid ones only; invalid when none is valid. The work is
// separable: rows first, then columns, both over contiguous memory.
class Resampler
{
public:
    enum Method { Nearest = 0, Linear = 1, Area = 2 };

    // 2^26 pixels (8192 x 8192): a result of about 600 MB, well beyond any detector here.
    static constexpr qint64 kMaxPixels = qint64(1) << 26;

    // Empty when width x height can be made; otherwise why not, for a status line.
    static QString sizeProblem(qint64 width, qint64 height);

    // "%1: Rs(W,H)".
    static QString dataId(const QString &sourceId, int width, int height);

    // Null when sizeProblem() is not empty or the source is empty. The result is bare:
    // the caller names it and sets its level.
    static std::unique_ptr<TDDataWL> resize(const TDDataWL &source, int width, int height,
                                            Method method);
};
