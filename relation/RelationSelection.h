#pragma once

#include <memory>

class TDData0;
class TDDataWL;

// A part of the value plane (S1 value horizontally, S2 value vertically) that picks pixels:
// a sector of directions seen from the origin (0, 0), a closed rectangle, or nothing.
class RelationSelection
{
public:
    enum Kind { None, Sector, Square };

    RelationSelection() = default;
    // Directions within halfAngle (radians) of angle, both measured from the S1 axis
    // towards the S2 axis. A pixel at the origin has no direction and is never picked.
    static RelationSelection sector(double angle, double halfAngle);
    // The rectangle with these two corners in either order, edges included.
    static RelationSelection square(double x0, double y0, double x1, double y1);

    Kind kind() const { return m_kind; }
    bool isEmpty() const { return m_kind == None; }
    double angle() const { return m_a; }
    double halfAngle() const { return m_b; }
    double x0() const { return m_a; }
    double y0() const { return m_b; }
    double x1() const { return m_c; }
    double y1() const { return m_d; }

    bool contains(double s1, double s2) const;

    // 1 where the pixel's (S1, S2) pair is picked, 0 where not; invalid where either source
    // pixel is. Covers the part both records share; the level is one above the higher
    // source; the data id is "Rel[<S1 id> vs <S2 id>]".
    std::unique_ptr<TDDataWL> mask(const TDDataWL &s1, const TDDataWL &s2) const;
    // Marks (one byte per pixel of the shared part, row-major) of the valid picked pixels;
    // the count of marks is returned through *count when given.
    void marks(const TDData0 &s1, const TDData0 &s2, unsigned char *out,
               long long *count = nullptr) const;

private:
    Kind m_kind = None;
    double m_a = 0.0, m_b = 0.0, m_c = 0.0, m_d = 0.0;
};
