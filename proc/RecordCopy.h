#pragma once

#include <QList>
#include <QPointF>
#include <QRect>
#include <QString>

#include <memory>
#include <vector>

class Shape;
class TDDataWL;

// The copy control's work without its widgets: a region of a record, and cuts of a fixed
// size around the points of its last peak list. Results are one level above the source.
class RecordCopy
{
public:
    enum Order { AsFound = 0, ByXThenY = 1, ByYThenX = 2, ByValueDescending = 3 };

    // The inclusive rectangle clipped to the source as a record of its own, "%1: Cp(L,T,R,B)"
    // with the clipped corners; null when the rectangle misses the source.
    static std::unique_ptr<TDDataWL> region(const TDDataWL &source, const QRect &rect);

    // The last kind-1 shape of the record, or null.
    static const Shape *lastPeakList(const TDDataWL &record);

    // One width x height cut centred on each point (the centre pixel at (width / 2,
    // height / 2) of the cut), pixels outside the source invalid, "%1: Pk[n]" with n the
    // point's number from 0 in the list. Empty when the size is refused.
    static std::vector<std::unique_ptr<TDDataWL>>
    aroundPoints(const TDDataWL &source, const QList<QPointF> &points, int width, int height);

    // The list positions in save order. The value is the source's at the truncated point,
    // and points outside the source sort last; ties keep the order found.
    static QList<int> saveOrder(const TDDataWL &source, const QList<QPointF> &points, Order order);
};
