#include "xafs/VictLine.h"

#include "xafs/LuSolver.h"

#include <QDebug>

#include <cmath>

bool VictLine::fit(const Spectrum &spectrum, double from, double to, uint32_t kind)
{
    m_kind = kind;
    m_from = from;
    m_to = to;
    // A join stays in force until the owner joins again: only the joins clear it.
    m_valid = kind != kVictreen ? fitStraight(spectrum) : fitVictreen(spectrum);
    return m_valid;
}

bool VictLine::fitStraight(const Spectrum &s)
{
    const int n = s.size();
    if (n < 3) return false;
    int m = 0;
    double se = 0.0, see = 0.0, sy = 0.0, sey = 0.0;
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i);
        if (e >= m_to) break;
        if (e >= m_from) {
            const double y = s.y(i);
            ++m;
            se += e;
            see += e * e;
            sy += y;
            sey += e * y;
        }
    }
    bool ok = false;
    if (m < 2) {
        m_slope = 0.0;
        m_a0 = m == 1 ? sy : 0.0;
    } else {
        LuSolver lu(2);
        lu.setMatrix(0, 0, see);
        lu.setMatrix(0, 1, se);
        lu.setMatrix(1, 0, se);
        lu.setMatrix(1, 1, double(m));
        lu.setRhs(0, sey);
        lu.setRhs(1, sy);
        ok = lu.run().ok();
        if (ok) {
            m_slope = lu.solution(0);
            m_a0 = lu.solution(1);
        }
    }
    double sr = 0.0;
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i);
        if (e >= m_from && e < m_to) {
            const double r = s.y(i) - plainValue(e);
            sr += r * r;
            ++count;
        }
    }
    m_count = count;
    m_rms = count > 0 ? std::sqrt(sr / count) : 1.0;
    return ok;
}

bool VictLine::fitVictreen(const Spectrum &s)
{
    const int n = s.size();
    if (n < 4) return false;
    constexpr double hc = XafsConstants::hc;
    double m = 0.0, su = 0.0, sw = 0.0, suu = 0.0, suw = 0.0, sww = 0.0;
    double sy = 0.0, syu = 0.0, syw = 0.0;
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i);
        if (e >= m_to) break;
        if (e >= m_from) {
            const double l = hc / e;
            const double u = l * l * l;
            const double w = u * l;
            const double y = s.y(i);
            m += 1.0;
            su += u;
            sw += w;
            suu += u * u;
            suw += u * w;
            sww += w * w;
            sy += y;
            syu += y * u;
            syw += y * w;
        }
    }
    LuSolver lu(3);
    const double a[3][3] = {{m, su, sw}, {su, suu, suw}, {sw, suw, sww}};
    const double b[3] = {sy, syu, syw};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            lu.setMatrix(r, c, a[r][c]);
        lu.setRhs(r, b[r]);
    }
    const bool ok = lu.run().ok();
    m_a0 = lu.solution(0);
    m_a1 = lu.solution(1);
    m_a2 = lu.solution(2);

    double sr = 0.0;
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i);
        // Closed at both ends, unlike the straight fit.
        if (e >= m_from && e <= m_to) {
            const double r = s.y(i) - plainValue(e);
            sr += r * r;
            ++count;
        }
    }
    m_count = count;
    m_rms = count > 0 ? std::sqrt(sr / count) : 1.0;
    return ok;
}

double VictLine::plainValue(double e) const
{
    if (m_kind == kVictreen) {
        const double l = XafsConstants::hc / e;
        return m_a0 + (m_a1 + m_a2 * l) * l * l * l;
    }
    return m_a0 + m_slope * e;
}

double VictLine::cubicAt(double e) const
{
    return ((m_cubic[0] * e + m_cubic[1]) * e + m_cubic[2]) * e + m_cubic[3];
}

double VictLine::value(double e) const
{
    if (m_joined && ((m_joinAbove && e > m_to) || (!m_joinAbove && e < m_from)))
        return m_joinKind == kBezierJoin ? interpolate(e) : cubicAt(e);
    return plainValue(e);
}

void VictLine::setParameters(double a0, double slope, double a1, double a2)
{
    m_a0 = a0;
    m_slope = slope;
    m_a1 = a1;
    m_a2 = a2;
}

void VictLine::setRange(double from, double to)
{
    m_from = from;
    m_to = to;
}

void VictLine::addToConstant(double d)
{
    m_a0 += d;
    m_cubic[3] += d;
}

void VictLine::joinTowardsPost(const VictLine &post)
{
    if (m_joinKind == kBezierJoin)
        bezierTowardsPost(post);
    else
        genCorrectedInPre(post);
}

void VictLine::joinTowardsPre(const VictLine &pre)
{
    if (m_joinKind == kBezierJoin)
        bezierTowardsPre(pre);
    else
        genCorrectedInPost(pre);
}

void VictLine::sampleBezier()
{
    const Point p0 = m_controlPoints[0];
    const Point p1 = m_controlPoints[1];
    const Point p2 = m_controlPoints[2];
    const Point p3 = m_controlPoints[3];
    // Accumulated step, so exactly one hundred samples from t = 0 to t = 0.99.
    for (double t = 0.0; t < 1.0; t += 0.01) {
        const double u = 1.0 - t;
        const double b0 = u * u * u;
        const double b1 = 3.0 * u * u * t;
        const double b2 = 3.0 * u * t * t;
        const double b3 = t * t * t;
        append(b0 * p0.x + b1 * p1.x + b2 * p2.x + b3 * p3.x,
               b0 * p0.y + b1 * p1.y + b2 * p2.y + b3 * p3.y);
    }
}

void VictLine::bezierTowardsPost(const VictLine &q)
{
    m_joined = false;
    if (m_kind == kVictreen || !(q.m_slope < m_slope)) return;
    const double t0 = m_to;
    const double t1 = q.m_to;
    const double p0 = value(t0);
    const double gap = q.value(t0) - p0;
    const double r = 0.5 * (-gap / (q.m_slope - m_slope)) / (t1 - t0);
    if (r > 1.0) return;
    const double h = (t1 - t0) * 0.1 * r;
    const double yEnd = q.value(t1) - 0.5 * r * gap;
    m_controlPoints = {
        {t0, p0}, {t0 + h, p0 + m_slope * h}, {t1 - h, yEnd - q.m_slope * h}, {t1, yEnd}};
    sampleBezier();
    m_joined = true;
    m_joinAbove = true;
}

void VictLine::bezierTowardsPre(const VictLine &p)
{
    m_joined = false;
    if (m_kind == kVictreen || !(p.m_slope < m_slope)) return;
    const double s0 = p.m_from;
    const double s1 = m_from;
    const double r =
        0.5 * ((s0 - (value(s0) - p.value(s0)) / (m_slope - p.m_slope)) - s1) / (s0 - s1);
    if (r > 1.0) return;
    const double q1 = value(s1);
    const double yStart = p.value(s0) + 0.5 * r * (q1 - p.value(s1));
    const double h = (s0 - s1) * 0.1 * r;
    m_controlPoints = {
        {s0, yStart}, {s0 - h, yStart - p.m_slope * h}, {s1 + h, q1 + m_slope * h}, {s1, q1}};
    sampleBezier();
    m_joined = true;
    m_joinAbove = false;
}

bool VictLine::solveCubic(double xa, double xb, double slopeA, double slopeB, double ya, double yb)
{
    LuSolver lu(4);
    const double rows[4][4] = {{3 * xa * xa, 2 * xa, 1, 0},
                               {3 * xb * xb, 2 * xb, 1, 0},
                               {xa * xa * xa, xa * xa, xa, 1},
                               {xb * xb * xb, xb * xb, xb, 1}};
    const double rhs[4] = {slopeA, slopeB, ya, yb};
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c)
            lu.setMatrix(r, c, rows[r][c]);
        lu.setRhs(r, rhs[r]);
    }
    if (!lu.decompose()) {
        qDebug("make  LU (2) false in VictLine genCorrectedInPost");
        return false;
    }
    if (!lu.forward()) {
        qDebug("solve LV (2) false in VictLine genCorrectedInPost");
        return false;
    }
    if (!lu.back()) {
        qDebug("solve UV (2) false in VictLine genCorrectedInPost");
        return false;
    }
    for (int k = 0; k < 4; ++k)
        m_cubic[k] = lu.solution(k);
    return true;
}

void VictLine::genCorrectedInPost(const VictLine &p)
{
    m_joined = false;
    if (m_kind == kVictreen || !(p.m_slope < m_slope)) return;
    const double xb = m_from;
    const double xc = xb - (value(xb) - p.value(xb)) / (m_slope - p.m_slope);
    double xa, ya;
    if (xc > p.m_from) {
        xa = 2.0 * p.m_from - xb;
        ya = p.value(xa);
    } else {
        xa = p.m_from;
        ya = 0.5 * (p.value(p.m_from) + value(p.m_from) + value(xb) - p.value(xb));
    }
    if (!solveCubic(xa, xb, p.m_slope, m_slope, ya, value(xb))) return;
    m_joined = true;
    m_joinAbove = false;
}

void VictLine::genCorrectedInPre(const VictLine &q)
{
    m_joined = false;
    if (m_kind == kVictreen || !(q.m_slope < m_slope)) return;
    const double xb = m_to;
    const double xc = xb - (q.value(xb) - value(xb)) / (q.m_slope - m_slope);
    double xa, ya;
    if (xc < q.m_to) {
        xa = 2.0 * q.m_to - xb;
        ya = q.value(xa);
    } else {
        xa = q.m_to;
        ya = 0.5 * (q.value(q.m_to) + value(q.m_to) + value(xb) - q.value(xb));
    }
    if (!solveCubic(xa, xb, q.m_slope, m_slope, ya, value(xb))) return;
    m_joined = true;
    m_joinAbove = true;
}
