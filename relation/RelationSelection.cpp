#include "relation/RelationSelection.h"

#include "core/TDDataWL.h"

#include <QString>

#include <algorithm>
#include <cmath>
#include <numbers>

RelationSelection RelationSelection::sector(double angle, double halfAngle)
{
    RelationSelection s;
    s.m_kind = Sector;
    s.m_a = angle;
    s.m_b = halfAngle;
    return s;
}

RelationSelection RelationSelection::square(double x0, double y0, double x1, double y1)
{
    RelationSelection s;
    s.m_kind = Square;
    s.m_a = std::min(x0, x1);
    s.m_b = std::min(y0, y1);
    s.m_c = std::max(x0, x1);
    s.m_d = std::max(y0, y1);
    return s;
}

bool RelationSelection::contains(double s1, double s2) const
{
    switch (m_kind) {
    case Sector: {
        if (s1 == 0.0 && s2 == 0.0) return false;
        // The difference of directions, folded into [0, pi].
        double d = std::fabs(std::remainder(std::atan2(s2, s1) - m_a, 2.0 * std::numbers::pi));
        return d <= m_b;
    }
    case Square:
        return s1 >= m_a && s1 <= m_c && s2 >= m_b && s2 <= m_d;
    case None:
        break;
    }
    return false;
}

void RelationSelection::marks(const TDData0 &s1, const TDData0 &s2, unsigned char *out,
                              long long *count) const
{
    const int w = std::max(0, std::min(s1.width(), s2.width()));
    const int h = std::max(0, std::min(s1.height(), s2.height()));
    long long n = 0;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const bool picked =
                s1.isValid(x, y) && s2.isValid(x, y) && contains(s1.value(x, y), s2.value(x, y));
            out[size_t(y) * size_t(w) + size_t(x)] = picked ? 1 : 0;
            n += picked ? 1 : 0;
        }
    }
    if (count) *count = n;
}

std::unique_ptr<TDDataWL> RelationSelection::mask(const TDDataWL &s1, const TDDataWL &s2) const
{
    const int w = std::max(0, std::min(s1.width(), s2.width()));
    const int h = std::max(0, std::min(s1.height(), s2.height()));
    auto out = std::make_unique<TDDataWL>(w, h);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const bool valid = s1.isValid(x, y) && s2.isValid(x, y);
            const bool picked = valid && contains(s1.value(x, y), s2.value(x, y));
            out->setValue(x, y, picked ? 1.0 : 0.0, valid);
        }
    }
    out->setDataId(QStringLiteral("Rel[%1 vs %2]").arg(s1.dataId(), s2.dataId()));
    out->setLevel(std::max(s1.level(), s2.level()) + 1);
    return out;
}
