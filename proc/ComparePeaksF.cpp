#include "proc/ComparePeaksF.h"

#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/FindPeaksF.h"
#include "proc/PeakSearch.h"

#include <algorithm>
#include <memory>

ComparePeaksF::ComparePeaksF(bool maxima, bool showOnImg, QObject *parent)
    : Filter(kTypeCode, parent), m_maxima(maxima), m_showOnImg(showOnImg)
{
}

QList<int> ComparePeaksF::targetPositions(const QList<bool> &selsA)
{
    QList<int> positions;
    for (qsizetype i = 0, k = std::count(selsA.begin(), selsA.end(), true); i < k; ++i)
        positions << int(i);
    return positions;
}

void ComparePeaksF::run(const QList<TDDataWL *> &targets, const TDDataWL *s1)
{
    if (TDDataWL *result = compute(targets, s1)) Q_EMIT newFilteredData(result);
}

TDDataWL *ComparePeaksF::compute(const QList<TDDataWL *> &targets, const TDDataWL *s1) const
{
    const auto first = std::find_if(targets.begin(), targets.end(),
                                    [](const TDDataWL *t) { return t != nullptr; });
    if (first == targets.end()) return nullptr;
    if (m_showOnImg && !s1) return nullptr;

    auto list = std::make_unique<Shape>(1, FindPeaksF::listName(m_maxima));
    list->setFlag(PeakSearch::kFreshListFlag);
    for (const TDDataWL *t : targets) {
        QPoint at(0, 0);
        if (t) {
            const QRect whole(0, 0, t->width(), t->height());
            PeakSearch::extreme(*t, t->isRegionSet() ? t->region() : whole, m_maxima, &at);
        }
        list->points()->append(QPointF(at));
    }

    std::unique_ptr<TDDataWL> result;
    if (m_showOnImg) {
        result.reset(s1->copy());
    } else {
        const int w = (*first)->width(), h = (*first)->height();
        result = std::make_unique<TDDataWL>(w, h);
        result->setLevel((*first)->level() + 1);
        // Every pixel becomes 0.0 and valid; the row below the last is not there to write.
        for (qsizetype i = 0; i < result->pixelCount(); ++i)
            result->setValid(i, true);
        if (result->pixelCount() > 0) {
            const double zero = 0.0;
            result->widenStatistics(&zero, 1);
        }
        for (qsizetype k = 0; k < targets.size(); ++k) {
            const TDDataWL *t = targets.at(k);
            if (!t) continue;
            const QPointF p = list->points()->at(k);
            const int x = int(p.x()), y = int(p.y());
            // Positions from a larger target may lie outside the result: dropped.
            if (x >= w || y >= h || x >= t->width() || y >= t->height()) continue;
            result->setValue(x, y, t->value(x, y), true);
        }
    }
    result->setDataId(tr("CPKs(%2)").arg(m_maxima ? QStringLiteral("+") : QStringLiteral("-")));
    result->addShape(list.release());
    return result.release();
}
