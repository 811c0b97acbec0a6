#pragma once

#include "xafs/Spectrum.h"
#include "xafs/XafsConstants.h"

#include <array>
#include <cstdint>

// One background line of an absorption spectrum: straight (a0 + slope E) or
// Victreen (a0 + a1 l^3 + a2 l^4 with l = hc / E), optionally joined towards a
// partner line by a sampled Bezier curve (kept in this object's own points) or
// a cubic.
class VictLine : public Spectrum
{
public:
    static constexpr uint32_t kVictreen = 0;
    static constexpr uint32_t kStraight = 1;
    static constexpr int32_t kBezierJoin = 2;
    static constexpr int32_t kCubicJoin = 1;

    const std::array<double, XafsConstants::Count> &constants() const
    {
        return XafsConstants::values;
    }

    // Fits over [from, to) of spectrum's points read through its shift;
    // kind 0 is Victreen, anything else straight.
    bool fit(const Spectrum &spectrum, double from, double to, uint32_t kind);

    // The line with its join in force.
    double value(double e) const;
    // The line's own model, ignoring any join.
    double plainValue(double e) const;

    // Joins of this pre-edge line towards the post-edge line, and of this
    // post-edge line towards the pre-edge line, chosen by this line's joinKind.
    void joinTowardsPost(const VictLine &post);
    void joinTowardsPre(const VictLine &pre);
    // Cubic joins; they log on a failed solve.
    void genCorrectedInPre(const VictLine &post);
    void genCorrectedInPost(const VictLine &pre);

    // Shifts the line and its cubic join by d.
    void addToConstant(double d);

    bool isValid() const { return m_valid; }
    uint32_t kind() const { return m_kind; }
    void setKind(uint32_t kind) { m_kind = kind; }
    double a0() const { return m_a0; }
    double a1() const { return m_a1; }
    double a2() const { return m_a2; }
    double slope() const { return m_slope; }
    void setParameters(double a0, double slope, double a1, double a2);
    double rms() const { return m_rms; }
    int32_t count() const { return m_count; }
    double from() const { return m_from; }
    double to() const { return m_to; }
    void setRange(double from, double to);
    int32_t joinKind() const { return m_joinKind; }
    void setJoinKind(int32_t kind) { m_joinKind = kind; }
    bool isJoined() const { return m_joined; }
    bool joinAbove() const { return m_joinAbove; }
    const std::array<double, 4> &cubic() const { return m_cubic; }
    const std::vector<Point> &controlPoints() const { return m_controlPoints; }

private:
    bool fitStraight(const Spectrum &spectrum);
    bool fitVictreen(const Spectrum &spectrum);
    void bezierTowardsPost(const VictLine &post);
    void bezierTowardsPre(const VictLine &pre);
    void sampleBezier();
    double cubicAt(double e) const;
    bool solveCubic(double xa, double xb, double slopeA, double slopeB, double ya, double yb);

    bool m_valid = false;
    uint32_t m_kind = kStraight;
    double m_a0 = 0.0;
    double m_a1 = 0.0;
    double m_a2 = 0.0;
    double m_slope = 0.0;
    double m_rms = 0.0;
    int32_t m_count = 0;
    double m_from = 0.0;
    double m_to = 0.0;
    int32_t m_joinKind = kBezierJoin;
    bool m_joined = false;
    bool m_joinAbove = true;
    std::array<double, 4> m_cubic{};
    std::vector<Point> m_controlPoints;
};
