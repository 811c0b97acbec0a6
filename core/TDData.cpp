#include "core/TDData.h"

TDData::TDData(int width, int height, QObject *parent) : TDData0(width, height, parent) {}

TDData::~TDData()
{
    // The picture refers to the pixel buffer: it goes first.
    m_image.reset();
    m_pixels.reset();
}

TDData *TDData::copy() const
{
    auto *fresh = new TDData(width(), height());
    fillCopy(fresh);
    return fresh;
}

TDData *TDData::smoothedCopy(int halfWidthX, int halfWidthY) const
{
    return smoothedInto<TDData>(halfWidthX, halfWidthY);
}
