#pragma once

#include <QList>
#include <QPair>
#include <QString>

#include <cstdint>
#include <limits>
#include <vector>

// An ordered list of (x, y) samples with running extremes, an optional x shift,
// a moving average and linear interpolation. Algorithms assume x ascending but
// stay bounded and in range when it is not.
class Spectrum
{
public:
    struct Point
    {
        double x;
        double y;
    };

    void append(double x, double y);
    void clear();
    void reserve(int n) { m_points.reserve(size_t(n > 0 ? n : 0)); }

    int size() const { return int(m_points.size()); }
    bool isEmpty() const { return m_points.empty(); }
    const std::vector<Point> &points() const { return m_points; }
    // x as the algorithms read it: through the shift when one is in use.
    double x(int i) const { return m_useXOffset ? m_points[i].x - m_xOffset : m_points[i].x; }
    double y(int i) const { return m_points[i].y; }
    double storedX(int i) const { return m_points[i].x; }

    double minX() const { return m_minX; }
    double maxX() const { return m_maxX; }
    double minY() const { return m_minY; }
    double maxY() const { return m_maxY; }
    int32_t indexOfMinY() const { return m_indexOfMinY; }
    int32_t indexOfMaxY() const { return m_indexOfMaxY; }

    bool useXOffset() const { return m_useXOffset; }
    double xOffset() const { return m_xOffset; }
    void setXOffset(bool use, double offset)
    {
        m_useXOffset = use;
        m_xOffset = offset;
    }
    // The shift that x(i) subtracts, 0 when none is in use.
    double effectiveXOffset() const { return m_useXOffset ? m_xOffset : 0.0; }

    // Moving average over [i - halfWidth, i + halfWidth], clipped to the list.
    void smooth(int halfWidth);
    const std::vector<double> &smoothedY() const { return m_smoothedY; }

    double interpolate(double e) const;
    // Reads the moving average; before smooth() has run it reads y.
    double interpolateSmoothed(double e) const;

    // x-axis units with their print formats.
    static const QList<QPair<QString, QString>> &units();

private:
    template <typename YAt> double interpolateWith(double e, YAt yAt) const;

    std::vector<Point> m_points;
    double m_minX = kEmptyMin;
    double m_minY = kEmptyMin;
    double m_maxX = kEmptyMax;
    double m_maxY = kEmptyMax;
    int32_t m_indexOfMinY = -1;
    int32_t m_indexOfMaxY = -1;
    std::vector<double> m_smoothedY;
    bool m_useXOffset = false;
    double m_xOffset = 0.0;

    // Every finite sample replaces these.
    static constexpr double kEmptyMin = std::numeric_limits<double>::infinity();
    static constexpr double kEmptyMax = -std::numeric_limits<double>::infinity();
};
