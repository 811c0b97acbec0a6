#pragma once

#include "core/TDData0.h"

#include <QImage>

#include <memory>

class ColorBar0;

// An image record that can also hold a rendered picture of itself.
class TDData : public TDData0
{
    Q_OBJECT

public:
    explicit TDData(int width, int height, QObject *parent = nullptr);
    TDData(int width, int height, Unset unset, QObject *parent = nullptr);
    ~TDData() override;

    TDData *copy() const;
    TDData *smoothedCopy(int halfWidthX, int halfWidthY) const;

    // Renders the values through the colour scale at their display range. The pixel buffer
    // is kept when size and format are unchanged: a fresh large buffer costs page faults.
    void makeImage(const ColorBar0 &scale);

    // The last rendered picture, or null before the first rendering.
    const QImage *image() const { return m_image.get(); }

protected:
    // Rows padded to a multiple of 4 bytes; the picture is made over this buffer.
    std::unique_ptr<uchar[]> m_pixels;
    std::unique_ptr<QImage> m_image;
};
