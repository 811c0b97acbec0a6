#pragma once

#include "core/PixelBuffer.h"
#include "core/Shape.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <memory>
#include <vector>

struct DisplayRange
{
    double low;
    double high;
};

// A rectangle of double values with a validity flag per pixel, statistics that only
// widen, a selected region and attached shapes. Pixel access does no bounds checking.
class TDData0 : public QObject
{
    Q_OBJECT

protected:
    // Tag of the constructors that leave values and flags unset, for code that writes every one
    // of them: a large result is otherwise zeroed only to be overwritten.
    struct Unset
    {
    };

public:
    static constexpr double kInitialMin = 1e300;
    static constexpr double kInitialMax = -1e300;

    explicit TDData0(int width, int height, QObject *parent = nullptr);
    // Statistics as if every pixel held 0.0, like the constructor above.
    TDData0(int width, int height, Unset, QObject *parent = nullptr);
    ~TDData0() override;

    int width() const { return m_width; }
    int height() const { return m_height; }
    qsizetype pixelCount() const { return m_values.size(); }
    const QString &dataId() const { return m_dataId; }
    void setDataId(const QString &id) { m_dataId = id; }

    double value(qsizetype index) const { return m_values[index]; }
    double value(int x, int y) const { return m_values[qsizetype(y) * m_width + x]; }
    bool isValid(qsizetype index) const { return m_valid[index] != 0; }
    bool isValid(int x, int y) const { return m_valid[qsizetype(y) * m_width + x] != 0; }

    void setValue(qsizetype index, double v, bool valid)
    {
        m_values[index] = v;
        m_valid[index] = valid ? 1 : 0;
        widen(v);
    }
    void setValue(int x, int y, double v, bool valid)
    {
        setValue(qsizetype(y) * m_width + x, v, valid);
    }
    // Changes only the flag; the statistics are untouched.
    void setValid(qsizetype index, bool valid) { m_valid[index] = valid ? 1 : 0; }

    // Raw contiguous storage for bulk work; flags hold only 0 or 1. Whoever writes values through
    // these must call widenStatistics() over what was written, as setValue would have done.
    const double *values() const { return m_values.data(); }
    double *values() { return m_values.data(); }
    const quint8 *validFlags() const { return m_valid.data(); }
    quint8 *validFlags() { return m_valid.data(); }
    void widenStatistics(const double *v, qsizetype n);

    double minWithZeros() const { return m_minW0; }
    double maxWithZeros() const { return m_maxW0; }
    double minWithoutZeros() const { return m_minWO0; }
    double maxWithoutZeros() const { return m_maxWO0; }
    void setStatistics(double minW0, double maxW0, double minWO0, double maxWO0);
    DisplayRange displayRange() const;
    qsizetype validCount() const;

    QRect region() const { return m_region; }
    bool isRegionSet() const { return m_regionSet; }

    // Copies the inclusive rectangle (x0, y0)-(x1, y1) into dest, at the same place or,
    // when relative, with (x0, y0) at dest's origin. The caller sizes dest.
    void copyRect(TDData0 *dest, int x0, int y0, int x1, int y1, bool relative) const;
    void copyRect(TDData0 *dest, const QRect &rect, bool relative) const
    {
        copyRect(dest, rect.left(), rect.top(), rect.right(), rect.bottom(), relative);
    }
    void copyShapes(TDData0 *dest) const;
    TDData0 *copy() const;
    TDData0 *smoothedCopy(int halfWidthX, int halfWidthY) const;

    void addShape(Shape *shape);
    qsizetype shapeCount() const { return qsizetype(m_shapes.size()); }
    const Shape *shape(qsizetype i) const { return m_shapes[size_t(i)].get(); }
    Shape *shape(qsizetype i) { return m_shapes[size_t(i)].get(); }

    QString fileSafeId() const;

    bool save(const QString &fileName) const;
    bool load(const QString &fileName);

public Q_SLOTS:
    void setRegion(QRect region);
    void regionCleared();

protected:
    // Derived classes make their own kind of record and let these fill it.
    void fillCopy(TDData0 *fresh) const;
    template <typename Record> Record *smoothedInto(int halfWidthX, int halfWidthY) const;

private:
    void widen(double v)
    {
        if (v < m_minW0) m_minW0 = v;
        if (v > m_maxW0) m_maxW0 = v;
        if (v != 0.0) {
            if (v < m_minWO0) m_minWO0 = v;
            if (v > m_maxWO0) m_maxWO0 = v;
        }
    }
    // Rows pass with half width rx, then columns pass with ry, fused; below 1 skips a pass.
    void smoothInto(TDData0 *out, int rx, int ry) const;

    QString m_dataId;
    int m_width = 0;
    int m_height = 0;
    PixelBuffer<double> m_values;
    PixelBuffer<quint8> m_valid;
    double m_minW0 = kInitialMin;
    double m_maxW0 = kInitialMax;
    double m_minWO0 = kInitialMin;
    double m_maxWO0 = kInitialMax;
    QRect m_region;
    bool m_regionSet = false;
    std::vector<std::unique_ptr<Shape>> m_shapes;
};

template <typename Record> Record *TDData0::smoothedInto(int hx, int hy) const
{
    auto out = std::make_unique<Record>(m_width, m_height, Unset{});
    if (hx < 1 && hy < 1)
        fillCopy(out.get());
    else
        smoothInto(out.get(), hx, hy);
    return out.release();
}
