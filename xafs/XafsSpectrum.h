#pragma once

#include "xafs/Spectrum.h"
#include "xafs/VictLine.h"
#include "xafs/XafsConstants.h"

#include <QString>

#include <cstdint>

class QIODevice;
class QTextStream;

// One measured absorption spectrum (E in eV, mu) with its edge energy, edge
// jump, pre-edge and post-edge lines and four normalised copies.
class XafsSpectrum : public Spectrum
{
public:
    struct EdgeParameters
    {
        bool restrictEdge = false;
        int32_t element = 29;
        double nominalE0 = 8984.36029;
        double searchLow = -20.0;
        double searchHigh = 20.0;
        double jumpFactor = 1.0;
    };

    XafsSpectrum() = default;
    // Copies the points and normalises at once.
    XafsSpectrum(const Spectrum &points, const QString &name, uint32_t fitKind, double energyShift,
                 const EdgeParameters &edge);

    const std::array<double, XafsConstants::Count> &constants() const
    {
        return XafsConstants::values;
    }

    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    const EdgeParameters &edgeParameters() const { return m_edge; }
    // Also derives preEnd and postStart; does not normalise.
    void setEdgeParameters(const EdgeParameters &edge);

    // Reads the file, detecting its format by the first line.
    bool load(const QString &path);
    // The same from any open readable device; file loading goes through here.
    bool read(QIODevice &device);
    // Loads and, on success, normalises with the current fit kind.
    bool loadAndNormalize(const QString &path);
    bool isLoaded() const { return m_loaded; }

    void normalize(uint32_t fitKind);
    // The level-crossing edge energy for fraction f of the jump.
    double levelCrossing(double fraction) const;

    double pre(double e) const { return m_preLine.value(e); }
    double post(double e) const { return m_postLine.value(e); }
    double doubleNormalizedPreBase(double e) const;
    // Normalised correlation of s's doubleNormalized copy with this one's, s shifted by dE.
    double correlation(const XafsSpectrum &s, double dE) const;

    // Writes the exchange file aside and renames it into place; false when not written.
    bool save(const QString &path, bool applyShift) const;

    const VictLine &preLine() const { return m_preLine; }
    const VictLine &postLine() const { return m_postLine; }
    VictLine &preLine() { return m_preLine; }
    VictLine &postLine() { return m_postLine; }
    uint32_t fitKind() const { return m_fitKind; }
    void setFitKind(uint32_t kind) { m_fitKind = kind; }
    double preRangeStart() const { return m_preRangeStart; }
    double preEnd() const { return m_preEnd; }
    double postStart() const { return m_postStart; }
    double postRangeEnd() const { return m_postRangeEnd; }
    const Spectrum &i0Spectrum() const { return m_i0Spectrum; }
    const Spectrum &i1Spectrum() const { return m_i1Spectrum; }
    const Spectrum &normalizedPostBase() const { return m_normalizedPostBase; }
    const Spectrum &doubleNormalizedPostBase() const { return m_doubleNormalizedPostBase; }
    const Spectrum &normalized() const { return m_normalized; }
    const Spectrum &doubleNormalized() const { return m_doubleNormalized; }
    double energyShift() const { return m_energyShift; }
    void setEnergyShift(double dE) { m_energyShift = dE; }
    bool edgeOutOfRange() const { return m_edgeOutOfRange; }
    bool jumpTooSmall() const { return m_jumpTooSmall; }
    double e0() const { return m_e0; }
    double jump() const { return m_jump; }
    double edgeLevel() const { return m_edgeLevel; }

    // Starting d-spacing of the counter format, deliberately not the constants block's.
    static constexpr double kCounterDSpacing = 3.13553;

private:
    bool readTwoColumn(QTextStream &in, const QString &firstLine);
    bool readCounter(QTextStream &in, const QString &firstLine);
    int steepestStep() const;
    double smoothedAt(double e) const;

    QString m_name = QStringLiteral("No Name");
    EdgeParameters m_edge;
    bool m_loaded = true;
    VictLine m_preLine;
    VictLine m_postLine;
    uint32_t m_fitKind = VictLine::kStraight;
    double m_preRangeStart = -1000.0;
    double m_preEnd = -10.0;
    double m_postStart = 10.0;
    double m_postRangeEnd = 1000.0;
    Spectrum m_i0Spectrum;
    Spectrum m_i1Spectrum;
    Spectrum m_normalizedPostBase;
    Spectrum m_doubleNormalizedPostBase;
    Spectrum m_normalized;
    Spectrum m_doubleNormalized;
    double m_energyShift = 0.0;
    bool m_edgeOutOfRange = false;
    bool m_jumpTooSmall = false;
    double m_e0 = 0.0;
    double m_jump = 0.0;
    double m_edgeLevel = 0.5;
};
