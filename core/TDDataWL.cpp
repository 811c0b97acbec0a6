#include "core/TDDataWL.h"

TDDataWL::TDDataWL(int width, int height, QObject *parent) : TDData(width, height, parent) {}

TDDataWL::TDDataWL(int width, int height, Unset unset, QObject *parent)
    : TDData(width, height, unset, parent)
{
}

TDDataWL *TDDataWL::copy() const
{
    auto *fresh = new TDDataWL(width(), height(), Unset{});
    fillCopy(fresh);
    return fresh;
}

TDDataWL *TDDataWL::smoothedCopy(int halfWidthX, int halfWidthY) const
{
    return smoothedInto<TDDataWL>(halfWidthX, halfWidthY);
}
