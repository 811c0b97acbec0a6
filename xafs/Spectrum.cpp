#include "xafs/Spectrum.h"

void Spectrum::append(double x, double y)
{
    const int32_t index = int32_t(m_points.size());
    m_points.push_back({x, y});
    if (x < m_minX) m_minX = x;
    if (x > m_maxX) m_maxX = x;
    if (y < m_minY) {
        m_minY = y;
        m_indexOfMinY = index;
    }
    if (y > m_maxY) {
        m_maxY = y;
        m_indexOfMaxY = index;
    }
}

void Spectrum::clear()
{
    m_points.clear();
    m_smoothedY.clear();
    m_minX = m_minY = kEmptyMin;
    m_maxX = m_maxY = kEmptyMax;
    m_indexOfMinY = m_indexOfMaxY = -1;
}

void Spectrum::smooth(int halfWidth)
{
    const int n = size();
    const int h = halfWidth < 0 ? 0 : halfWidth;
    m_smoothedY.assign(m_points.size(), 0.0);
    double sum = 0.0;
    int count = 0;
    for (int j = 0; j <= h && j < n; ++j) {
        sum += m_points[j].y;
        ++count;
    }
    for (int i = 0; i < n; ++i) {
        m_smoothedY[i] = count > 0 ? sum / count : 0.0;
        if (i - h >= 0) {
            sum -= m_points[i - h].y;
            --count;
        }
        if (i + h + 1 < n) {
            sum += m_points[i + h + 1].y;
            ++count;
        }
    }
}

namespace {

double lineAt(double x0, double y0, double x1, double y1, double e)
{
    if (x0 == x1) return 0.5 * (y0 + y1);
    return y0 + (y1 - y0) * (e - x0) / (x1 - x0);
}

} // namespace

template <typename YAt> double Spectrum::interpolateWith(double e, YAt yAt) const
{
    const int n = size();
    if (n == 0) return 0.0;
    if (n == 1) return yAt(0);
    if (e <= x(0)) return lineAt(x(0), yAt(0), x(1), yAt(1), e);
    if (e >= x(n - 1)) return lineAt(x(n - 2), yAt(n - 2), x(n - 1), yAt(n - 1), e);
    int lo = 0;
    int hi = n - 1;
    while (lo < hi - 1) {
        const int mid = (lo + hi) / 2;
        if (x(mid) > e)
            hi = mid;
        else
            lo = mid;
    }
    return lineAt(x(lo), yAt(lo), x(hi), yAt(hi), e);
}

double Spectrum::interpolate(double e) const
{
    return interpolateWith(e, [this](int i) { return m_points[i].y; });
}

double Spectrum::interpolateSmoothed(double e) const
{
    if (m_smoothedY.size() != m_points.size()) return interpolate(e);
    return interpolateWith(e, [this](int i) { return m_smoothedY[i]; });
}

const QList<QPair<QString, QString>> &Spectrum::units()
{
    static const QList<QPair<QString, QString>> table = {
        {QStringLiteral("eV"), QStringLiteral("% 8.2f")},
        {QStringLiteral("keV"), QStringLiteral("% 8.5f")},
        {QStringLiteral("A"), QStringLiteral("% 8.5f")},
        {QStringLiteral("deg"), QStringLiteral("% 8.5f")},
    };
    return table;
}
