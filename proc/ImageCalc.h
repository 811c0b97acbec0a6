#pragma once

#include "proc/CalcFormula.h"

#include <QList>
#include <QString>

#include <memory>

class TDDataWL;

// An image a formula can name, with the rectangle that limits it when `limited` is set
// (inclusive, in pixels).
struct CalcSource
{
    const TDDataWL *record = nullptr;
    bool limited = false;
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

// Pixel by pixel: (sum of numerator terms) / (sum of denominator terms), optionally through
// ln and negated. An empty sum counts as 1.
class ImageCalc
{
public:
    struct Options
    {
        bool log = true;
        bool neg = false;
    };

    // Null when both term lists are empty. Pixels outside a term's area or invalid in a
    // term, with a zero denominator, or not positive under log are left invalid.
    static std::unique_ptr<TDDataWL> compute(const QList<CalcSource> &sources,
                                             const QList<CalcTerm> &numerators,
                                             const QList<CalcTerm> &denominators, Options options);

    // "Cl[-log(I[1]/I[2])]" from the formulas as typed.
    static QString dataId(const QString &numerators, const QString &denominators, Options options);
};
