#include "proc/RecordCopy.h"

#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/Resampler.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

std::unique_ptr<TDDataWL> RecordCopy::region(const TDDataWL &source, const QRect &rect)
{
    const QRect r = rect.normalized().intersected(QRect(0, 0, source.width(), source.height()));
    if (r.isEmpty()) return nullptr;
    auto out = std::make_unique<TDDataWL>(r.width(), r.height());
    source.copyRect(out.get(), r, true);
    out->setLevel(source.level() + 1);
    out->setDataId(QCoreApplication::translate("RecordCopy", "%1: Cp(%2,%3,%4,%5)")
                       .arg(source.dataId())
                       .arg(r.left())
                       .arg(r.top())
                       .arg(r.right())
                       .arg(r.bottom()));
    return out;
}

const Shape *RecordCopy::lastPeakList(const TDDataWL &record)
{
    for (qsizetype i = record.shapeCount() - 1; i >= 0; --i)
        if (record.shape(i)->kind() == 1 && record.shape(i)->points()) return record.shape(i);
    return nullptr;
}

std::vector<std::unique_ptr<TDDataWL>> RecordCopy::aroundPoints(const TDDataWL &source,
                                                                const QList<QPointF> &points,
                                                                int width, int height)
{
    std::vector<std::unique_ptr<TDDataWL>> cuts;
    if (!Resampler::sizeProblem(width, height).isEmpty()) return cuts;
    if (qint64(width) * height * points.size() > Resampler::kMaxPixels) return cuts;
    const int sw = source.width(), sh = source.height();
    for (qsizetype n = 0; n < points.size(); ++n) {
        auto cut = std::make_unique<TDDataWL>(width, height);
        const QPointF p = points.at(n);
        // Points come from files too: keep their arithmetic in doubles until clipped.
        const double cx = std::isfinite(p.x()) ? std::trunc(p.x()) : -1e18;
        const double cy = std::isfinite(p.y()) ? std::trunc(p.y()) : -1e18;
        const double left = cx - width / 2, top = cy - height / 2;
        const double x0 = std::max(0.0, left), x1 = std::min(double(sw), left + width);
        const double y0 = std::max(0.0, top), y1 = std::min(double(sh), top + height);
        if (x0 < x1 && y0 < y1) {
            const int ox = int(x0 - left), oy = int(y0 - top);
            const int cols = int(x1 - x0);
            for (int y = int(y0); y < int(y1); ++y) {
                const qsizetype from = qsizetype(y) * sw + qsizetype(x0);
                const qsizetype to = qsizetype(y - int(y0) + oy) * width + ox;
                std::copy_n(source.values() + from, cols, cut->values() + to);
                std::copy_n(source.validFlags() + from, cols, cut->validFlags() + to);
                cut->widenStatistics(cut->values() + to, cols);
            }
        }
        cut->setLevel(source.level() + 1);
        cut->setDataId(
            QCoreApplication::translate("RecordCopy", "%1: Pk[%2]").arg(source.dataId()).arg(n));
        cuts.push_back(std::move(cut));
    }
    return cuts;
}

QList<int> RecordCopy::saveOrder(const TDDataWL &source, const QList<QPointF> &points, Order order)
{
    QList<int> idx(points.size());
    std::iota(idx.begin(), idx.end(), 0);
    const auto valueAt = [&](int i) {
        const QPointF p = points.at(i);
        const double x = std::trunc(p.x()), y = std::trunc(p.y());
        if (!(x >= 0 && y >= 0 && x < source.width() && y < source.height()))
            return -std::numeric_limits<double>::infinity();
        const double v = source.value(int(x), int(y));
        return std::isnan(v) ? -std::numeric_limits<double>::infinity() : v;
    };
    switch (order) {
    case AsFound:
        break;
    case ByXThenY:
        std::stable_sort(idx.begin(), idx.end(), [&](int a, int b) {
            const QPointF p = points.at(a), q = points.at(b);
            return p.x() < q.x() || (p.x() == q.x() && p.y() < q.y());
        });
        break;
    case ByYThenX:
        std::stable_sort(idx.begin(), idx.end(), [&](int a, int b) {
            const QPointF p = points.at(a), q = points.at(b);
            return p.y() < q.y() || (p.y() == q.y() && p.x() < q.x());
        });
        break;
    case ByValueDescending:
        std::stable_sort(idx.begin(), idx.end(),
                         [&](int a, int b) { return valueAt(a) > valueAt(b); });
        break;
    }
    return idx;
}
