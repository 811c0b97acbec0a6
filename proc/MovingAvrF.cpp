#include "proc/MovingAvrF.h"

#include "core/TDDataWL.h"

MovingAvrF::MovingAvrF(int hx, int hy, QObject *parent) : FilterWArea(kTypeCode, hx, hy, parent) {}

std::unique_ptr<TDDataWL> MovingAvrF::compute(const TDDataWL &source) const
{
    std::unique_ptr<TDDataWL> result(source.smoothedCopy(halfWidthX(), halfWidthY()));
    result->setLevel(source.level() + 1);
    // One substitution pass: a source id holding "%2" must stay as it is.
    result->setDataId(tr("%1: MA(%2,%3)")
                          .arg(source.dataId(), QString::number(halfWidthX(), 10),
                               QString::number(halfWidthY(), 10)));
    // Without any window the smoothed record is a full copy that already carries the shapes.
    if (result->shapeCount() == 0) source.copyShapes(result.get());
    return result;
}

void MovingAvrF::run(const TDDataWL *source)
{
    if (!source) return;
    Q_EMIT newFilteredData(compute(*source).release());
}
