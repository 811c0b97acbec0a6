#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <array>

class TDData0;

// Three images as the red, green and blue of one picture, each mapped linearly from its
// own [low, high] to 0..255 (clamped; low above high inverts). A missing channel and an
// invalid pixel give 0 in that channel.
class RgbComposite
{
public:
    enum Channel { Red = 0, Green = 1, Blue = 2 };

    void setChannel(Channel c, const TDData0 *record, double low, double high);
    void setRange(Channel c, double low, double high);
    void clear();

    const TDData0 *record(Channel c) const { return m_channels[size_t(c)].record; }
    double low(Channel c) const { return m_channels[size_t(c)].low; }
    double high(Channel c) const { return m_channels[size_t(c)].high; }
    bool isEmpty() const;

    // The smallest width and height among the channels present; empty when there is none.
    QSize size() const;

    // The whole picture, or, when maxSize is given and smaller, a nearest-pixel sample
    // that fits it (for previews).
    QImage compose(QSize maxSize = QSize()) const;

    // PNG unless the name ends in .jpg or .jpeg; false when there is nothing to write.
    bool save(const QString &fileName, int jpegQuality = 95) const;

    static int level(double value, bool valid, double low, double high);

private:
    struct Source
    {
        const TDData0 *record = nullptr;
        double low = 0.0;
        double high = 1.0;
    };
    std::array<Source, 3> m_channels;
};
