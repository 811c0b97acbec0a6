#include "core/TDData.h"

#include "display/ColorBar0.h"

TDData::TDData(int width, int height, QObject *parent) : TDData0(width, height, parent) {}

TDData::TDData(int width, int height, Unset unset, QObject *parent)
    : TDData0(width, height, unset, parent)
{
}

TDData::~TDData()
{
    // The picture refers to the pixel buffer: it goes first.
    m_image.reset();
    m_pixels.reset();
}

TDData *TDData::copy() const
{
    auto *fresh = new TDData(width(), height(), Unset{});
    fillCopy(fresh);
    return fresh;
}

TDData *TDData::smoothedCopy(int halfWidthX, int halfWidthY) const
{
    return smoothedInto<TDData>(halfWidthX, halfWidthY);
}

void TDData::makeImage(const ColorBar0 &scale)
{
    const int format = scale.pixelFormat();
    const bool reuse = m_pixels && m_image && m_image->width() == width() &&
                       m_image->height() == height() && int(m_image->format()) == format;
    // The old picture refers to the buffer: it goes first.
    m_image.reset();
    if (!reuse) m_pixels = ColorBar0::newPixelBuffer(width(), height(), format);
    if (!m_pixels) return;
    const DisplayRange range = displayRange();
    scale.writeImage(m_pixels.get(), values(), validFlags(), width(), height(), range.low,
                     range.high);
    m_image = ColorBar0::wrapBuffer(m_pixels.get(), width(), height(), format);
}
