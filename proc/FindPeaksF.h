#pragma once

#include "proc/Filter.h"

#include <QRect>

class TDDataWL;

// Finds up to num extremes of the source, each at least exclusionR away from those before,
// and emits them as a point list "Peaks(+)" or "Peaks(-)" on a new record: with showOnImg a
// copy of the source, otherwise the rectangle zeroed with the source's values at the peaks.
class FindPeaksF : public Filter
{
    Q_OBJECT

public:
    static constexpr int kTypeCode = 4;

    FindPeaksF(double exclusionR, int num, bool maxima, bool showOnImg, QObject *parent = nullptr);

    double exclusionR() const { return m_exclusionR; }
    int num() const { return m_num; }
    bool maxima() const { return m_maxima; }
    bool showOnImg() const { return m_showOnImg; }

    // Emits newFilteredData with a record the receiver owns; a null source emits nothing.
    void run(const TDDataWL *source, const QRect &rect);
    // The same without the signal: the caller owns the result.
    TDDataWL *compute(const TDDataWL *source, const QRect &rect) const;

    static QString listName(bool maxima);

private:
    double m_exclusionR;
    int m_num;
    bool m_maxima;
    bool m_showOnImg;
};
