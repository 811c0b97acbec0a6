#include "proc/FindPeaksF.h"

#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/PeakSearch.h"

#include <memory>

FindPeaksF::FindPeaksF(double exclusionR, int num, bool maxima, bool showOnImg, QObject *parent)
    : Filter(kTypeCode, parent), m_exclusionR(exclusionR), m_num(num), m_maxima(maxima),
      m_showOnImg(showOnImg)
{
}

QString FindPeaksF::listName(bool maxima)
{
    return tr("Peaks(%1)").arg(maxima ? QStringLiteral("+") : QStringLiteral("-"));
}

void FindPeaksF::run(const TDDataWL *source, const QRect &rect)
{
    if (TDDataWL *result = compute(source, rect)) Q_EMIT newFilteredData(result);
}

TDDataWL *FindPeaksF::compute(const TDDataWL *source, const QRect &rect) const
{
    if (!source) return nullptr;
    auto list = std::make_unique<Shape>(1, listName(m_maxima));
    list->setFlag(PeakSearch::kFreshListFlag);
    *list->points() = PeakSearch::findPeaks(*source, rect, m_exclusionR, m_num, m_maxima);

    std::unique_ptr<TDDataWL> result;
    if (m_showOnImg) {
        result.reset(source->copy());
    } else {
        result = std::make_unique<TDDataWL>(source->width(), source->height());
        result->setLevel(source->level() + 1);
        const QRect r = PeakSearch::clipped(*source, rect);
        const quint8 *valid = source->validFlags();
        bool zeroed = false;
        for (int y = r.top(); y <= r.bottom(); ++y) {
            const qsizetype row = qsizetype(y) * source->width();
            for (int x = r.left(); x <= r.right(); ++x) {
                if (!valid[row + x]) continue;
                // The fresh record already holds 0.0; only the flag changes.
                result->setValid(row + x, true);
                zeroed = true;
            }
        }
        if (zeroed) {
            const double zero = 0.0;
            result->widenStatistics(&zero, 1);
        }
        const int w = source->width(), h = source->height();
        QPoint last(-1, -1);
        for (const QPointF &p : *list->points()) {
            const QPoint at(int(p.x()), int(p.y()));
            if (at == last) continue; // a repeat writes the same value again
            last = at;
            if (at.x() < 0 || at.y() < 0 || at.x() >= w || at.y() >= h) continue;
            result->setValue(at.x(), at.y(), source->value(at.x(), at.y()), true);
        }
    }
    result->setDataId(
        tr("%1: PKs(%2)")
            .arg(source->dataId(), m_maxima ? QStringLiteral("+") : QStringLiteral("-")));
    source->copyShapes(result.get());
    result->addShape(list.release());
    return result.release();
}
