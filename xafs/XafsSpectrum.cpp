#include "xafs/XafsSpectrum.h"

#include <QDebug>
#include <QFile>
#include <QIODevice>
#include <QSaveFile>
#include <QStringView>
#include <QTextStream>

#include <array>
#include <cmath>

XafsSpectrum::XafsSpectrum(const Spectrum &points, const QString &name, uint32_t fitKind,
                           double energyShift, const EdgeParameters &edge)
    : Spectrum(points), m_name(name), m_fitKind(fitKind), m_energyShift(energyShift)
{
    setEdgeParameters(edge);
    normalize(fitKind);
}

void XafsSpectrum::setEdgeParameters(const EdgeParameters &edge)
{
    m_edge = edge;
    m_preEnd = edge.restrictEdge ? edge.searchLow : -10.0;
    m_postStart = edge.restrictEdge ? edge.searchHigh : 10.0;
}

bool XafsSpectrum::load(const QString &path)
{
    qDebug().noquote() << "loading in xafs spectrum" << path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        // Counts as the two-column format, whose reader clears and then finds nothing.
        qDebug("mute");
        clear();
        m_loaded = false;
        return false;
    }
    return read(file);
}

bool XafsSpectrum::loadAndNormalize(const QString &path)
{
    if (!load(path)) return false;
    normalize(m_fitKind);
    return true;
}

bool XafsSpectrum::read(QIODevice &device)
{
    QTextStream in(&device);
    QString first;
    in.readLineInto(&first);
    const bool counter = first.simplified().left(4) == QLatin1String("9809");
    qDebug(counter ? "9809" : "mute");
    m_loaded = counter ? readCounter(in, first) : readTwoColumn(in, first);
    return m_loaded;
}

namespace {

// Calls f(index, field) for each white-space separated field until f returns false.
// Fields are views, so a hostile line of many tiny fields costs no more than the line.
template <typename F> void forEachField(QStringView line, F f)
{
    const qsizetype n = line.size();
    qsizetype i = 0;
    int index = 0;
    while (i < n) {
        while (i < n && line[i].isSpace())
            ++i;
        if (i >= n) return;
        const qsizetype start = i;
        while (i < n && !line[i].isSpace())
            ++i;
        if (!f(index++, line.mid(start, i - start))) return;
    }
}

// Up to max leading fields of a line; returns how many there were.
template <std::size_t max> int leadingFields(QStringView line, std::array<QStringView, max> &fields)
{
    int count = 0;
    forEachField(line, [&](int index, QStringView field) {
        fields[index] = field;
        count = index + 1;
        return std::size_t(count) < max;
    });
    return count;
}

// Calls f for the first line and then for every further line of the stream.
template <typename F> void forEachLine(QTextStream &in, const QString &firstLine, F f)
{
    f(QStringView(firstLine));
    QString line;
    while (in.readLineInto(&line))
        f(QStringView(line));
}

} // namespace

bool XafsSpectrum::readTwoColumn(QTextStream &in, const QString &firstLine)
{
    clear();
    forEachLine(in, firstLine, [this](QStringView line) {
        std::array<QStringView, 2> f;
        if (leadingFields(line, f) < 2 || f[0].startsWith(QLatin1Char('#'))) return;
        append(f[0].toDouble(), f[1].toDouble());
    });
    return !isEmpty();
}

bool XafsSpectrum::readCounter(QTextStream &in, const QString &firstLine)
{
    clear();
    m_i0Spectrum.clear();
    m_i1Spectrum.clear();
    double d = kCounterDSpacing;
    bool inHeader = true;
    const double degree = XafsConstants::values[XafsConstants::Pi] / 180.0;
    forEachLine(in, firstLine, [&](QStringView line) {
        if (inHeader) {
            bool afterD = false;
            forEachField(line, [&](int index, QStringView field) {
                if (afterD) d = field.toDouble();
                afterD = field == QLatin1String("D=");
                if (index == 0 && field == QLatin1String("Offset")) inHeader = false;
                return true;
            });
            return;
        }
        std::array<QStringView, 5> f;
        if (leadingFields(line, f) < 5) return;
        const double theta = f[1].toDouble();
        const double i0 = f[3].toDouble();
        const double i1 = f[4].toDouble();
        const double e = XafsConstants::hc / (2.0 * d * std::sin(theta * degree));
        const double mu = i0 * i1 > 0.0 ? std::log(i0 / i1) : 1.0;
        append(e, mu);
        m_i0Spectrum.append(e, i0);
        m_i1Spectrum.append(e, i1);
    });
    return true;
}

int XafsSpectrum::steepestStep() const
{
    const int n = size();
    int lo = 0;
    int hi = n - 1;
    if (m_edge.restrictEdge) {
        const double low = m_edge.nominalE0 + m_edge.searchLow;
        const double high = m_edge.nominalE0 + m_edge.searchHigh;
        lo = hi = n - 1;
        bool haveLo = false, haveHi = false;
        for (int i = 0; i + 1 < n && !(haveLo && haveHi); ++i) {
            const double mid = 0.5 * (x(i) + x(i + 1));
            if (!haveLo && mid > low) {
                lo = i;
                haveLo = true;
            }
            if (!haveHi && mid > high) {
                hi = i;
                haveHi = true;
            }
        }
    }
    const std::vector<double> &s = smoothedY();
    // No rising step leaves index 0, not lo.
    int best = 0;
    double bestRise = 0.0;
    for (int i = lo; i < hi; ++i) {
        const double rise = s[i + 1] - s[i];
        if (rise > bestRise) {
            bestRise = rise;
            best = i;
        }
    }
    return best;
}

double XafsSpectrum::smoothedAt(double e) const
{
    // The shift is added back before a lookup that subtracts it again.
    return interpolateSmoothed(e + effectiveXOffset());
}

double XafsSpectrum::levelCrossing(double fraction) const
{
    const int n = size();
    int k = 0;
    double bestRise = 0.0;
    double m1 = n >= 3 ? smoothedAt(x(1)) : 0.0;
    for (int i = 1; i <= n - 2; ++i) {
        const double e = x(i);
        const double level = fraction * post(e) + (1.0 - fraction) * pre(e);
        const double m0 = m1; // the same lookup as the previous step's upper end
        m1 = smoothedAt(x(i + 1));
        if (level > m0 && m1 > level && m1 - m0 > bestRise) {
            bestRise = m1 - m0;
            k = i;
        }
    }
    const auto eAt = [&](int i) { return i >= 0 && i < n ? x(i) : 0.0; };
    const auto g = [&](double e) { return 0.5 * (pre(e) + post(e)) - smoothedAt(e); };
    const double ea = eAt(k - 1), eb = eAt(k), ec = eAt(k + 1);
    const double ga = g(ea), gb = g(eb), gc = g(ec);
    const auto root = [](double e1, double g1, double e2, double g2) {
        return e1 + (e2 - e1) * g1 / (g1 - g2);
    };
    return (root(ea, ga, eb, gb) + root(eb, gb, ec, gc) + root(ea, ga, ec, gc)) / 3.0;
}

void XafsSpectrum::normalize(uint32_t fitKind)
{
    m_fitKind = fitKind;
    const int n = size();
    if (n == 0) return;
    smooth(2);

    const int step = steepestStep();
    m_e0 = step >= 0 && step < n ? x(step) : 0.0;

    m_preLine.fit(*this, x(0), m_e0 + m_preEnd, fitKind);
    m_postLine.fit(*this, m_e0 + m_postStart, x(n - 1), fitKind);

    // Widens an inverted pair rather than closing it; kept as the system has it.
    const double d = post(m_e0) - pre(m_e0);
    if (d < 0.0) {
        m_preLine.addToConstant(0.55 * std::fabs(d));
        m_postLine.addToConstant(-0.55 * std::fabs(d));
    }
    m_preLine.joinTowardsPost(m_postLine);
    m_postLine.joinTowardsPre(m_preLine);

    m_edgeLevel = 0.5;
    m_e0 = levelCrossing(m_edgeLevel);
    m_jump = post(m_e0) - pre(m_e0);

    m_normalizedPostBase.clear();
    m_doubleNormalizedPostBase.clear();
    m_normalized.clear();
    m_doubleNormalized.clear();
    for (Spectrum *d :
         {&m_normalizedPostBase, &m_doubleNormalizedPostBase, &m_normalized, &m_doubleNormalized})
        d->reserve(n);
    for (int i = 0; i < n; ++i) {
        const double e = x(i);
        const double mu = y(i);
        const double p = pre(e);
        const double q = post(e);
        m_normalizedPostBase.append(e, (mu - q) / m_jump);
        m_normalized.append(e, 1.0 + (mu - q) / m_jump);
        m_doubleNormalized.append(e, (mu - p) / (q - p));
        m_doubleNormalizedPostBase.append(e, (mu - q) / (q - p));
    }

    if (m_edge.restrictEdge) {
        m_edgeOutOfRange = m_e0 < m_edge.nominalE0 + m_edge.searchLow ||
                           m_e0 > m_edge.nominalE0 + m_edge.searchHigh;
        m_jumpTooSmall = m_jump < m_edge.jumpFactor * m_preLine.rms() &&
                         m_jump < m_edge.jumpFactor * m_postLine.rms();
        if (m_edgeOutOfRange || m_jumpTooSmall) {
            m_e0 = m_edge.nominalE0;
            m_jump = 0.0;
        }
    }
}

double XafsSpectrum::doubleNormalizedPreBase(double e) const
{
    if (std::isnan(e)) qDebug("nan EeV in XafsSpectrum::doubleNormalizedPreBase");
    return m_doubleNormalized.interpolate(e);
}

double XafsSpectrum::correlation(const XafsSpectrum &s, double dE) const
{
    const int n = s.size();
    if (n == 0) return 0.0;
    const Spectrum &sn = s.doubleNormalized();
    double sr = 0.0, rr = 0.0, ss = 0.0;
    for (int i = 0; i < n; ++i) {
        const double e = s.x(i) - dE;
        if (!(e >= minX() && e <= maxX())) continue;
        const double sv = i < sn.size() ? sn.y(i) : 0.0;
        const double r = doubleNormalizedPreBase(e);
        sr += sv * r;
        rr += r * r;
        ss += sv * sv;
    }
    if (!(rr > 0.0) || !(ss > 0.0)) return 0.0;
    return sr / std::sqrt(rr * ss);
}

bool XafsSpectrum::save(const QString &path, bool applyShift) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return false;
    QTextStream out(&file);
    const auto parameters = [&out](const VictLine &l) {
        out << l.a0() << ' ' << l.slope() << ' ' << l.a1() << ' ' << l.a2() << '\n';
    };
    out << "###Quillon::XafsSpectrum\n";
    out << "# midx    : " << m_e0 << '\n';
    out << "# dMut    : " << m_jump << '\n';
    out << "# pre   vic : ";
    parameters(m_preLine);
    out << "# poste vic : ";
    parameters(m_postLine);
    out << "#\n";
    out << "# x  double-normalized-pre-base y pre post\n";
    const double shift = applyShift ? m_energyShift : 0.0;
    for (int i = 0; i < size(); ++i) {
        const double e = x(i);
        const double dn = i < m_doubleNormalized.size() ? m_doubleNormalized.y(i) : 0.0;
        out << e - shift << '\t' << dn << '\t' << y(i) << '\t' << pre(e) << '\t' << post(e) << '\n';
    }
    out.flush();
    return out.status() == QTextStream::Ok && file.commit();
}
