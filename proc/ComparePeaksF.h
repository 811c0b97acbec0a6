#pragma once

#include "proc/Filter.h"

#include <QList>

class TDDataWL;

// Finds the single extreme of each target (inside its region when one is set) and gathers
// the positions, one per target in target order, into one point list on a new record.
class ComparePeaksF : public Filter
{
    Q_OBJECT

public:
    static constexpr int kTypeCode = 5;

    ComparePeaksF(bool maxima, bool showOnImg, QObject *parent = nullptr);

    bool maxima() const { return m_maxima; }
    bool showOnImg() const { return m_showOnImg; }

    // A null target keeps its place in the list with the point (0, 0) and writes nothing;
    // the result takes its size and level from the first target that is not null. No result
    // for an empty list, for only null targets, or for showOnImg without s1.
    void run(const QList<TDDataWL *> &targets, const TDDataWL *s1);
    TDDataWL *compute(const QList<TDDataWL *> &targets, const TDDataWL *s1) const;

    // The data-list positions the panel compares: 0 .. k - 1, where k is the number of
    // entries with A checked, whichever entries those are.
    static QList<int> targetPositions(const QList<bool> &selsA);

private:
    bool m_maxima;
    bool m_showOnImg;
};
