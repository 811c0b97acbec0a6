// demo: a small synthetic XAFS-imaging data set around the Fe K edge, for trying the
// program without a beamline.
#include "Cli.h"

#include "core/TDDataWL.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <tiffio.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace Cli {

namespace {

constexpr int Size = 256;
constexpr double Energies[] = {7100.0, 7110.0, 7117.0, 7125.0, 7140.0};
constexpr double BelowEdge = Energies[0];
constexpr double AboveEdge = Energies[4];

// Gaussian noise from mt19937's fully specified output, so every platform writes the
// same files (std::normal_distribution is not specified bit for bit).
class Noise
{
public:
    explicit Noise(std::uint32_t seed) : m_gen(seed) {}
    double gauss()
    {
        const double u1 = (double(m_gen()) + 0.5) / 4294967296.0;
        const double u2 = (double(m_gen()) + 0.5) / 4294967296.0;
        return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * std::numbers::pi * u2);
    }

private:
    std::mt19937 m_gen;
};

struct Compound
{
    double edge;      // eV, half height of the step
    double preEdge;   // absorbance at the edge energy without the step, per unit thickness
    double edgeJump;  // absorbance of the step, per unit thickness
    double whiteLine; // peak 4 eV above the edge, in units of the jump
    double wiggle;    // post-edge oscillation, in units of the jump
    double period;    // eV
    double absorbance(double e) const
    {
        const double x = e - edge;
        const double step = 0.5 + std::atan(x / 2.0) / std::numbers::pi;
        const double peak = whiteLine * std::exp(-0.5 * std::pow((x - 4.0) / 3.0, 2));
        // Starts smoothly a few eV above the edge and dies out over a few hundred eV.
        const double oscillation = x > 0.0
                                       ? wiggle * std::sin(2.0 * std::numbers::pi * x / period) *
                                             std::exp(-x / 120.0) * (1.0 - std::exp(-x / 8.0))
                                       : 0.0;
        return preEdge * std::pow(e / edge, -3.0) + edgeJump * (step * (1.0 + oscillation) + peak);
    }
};

// Fe metal (a weak feature just above the edge) and an Fe(III) oxide, whose edge lies
// about 12 eV higher under a strong white line.
constexpr Compound Metal{7112.0, 0.25, 1.1, 0.10, 0.08, 35.0};
constexpr Compound Oxide{7124.0, 0.20, 0.9, 0.55, 0.06, 45.0};
constexpr Compound Binder{7112.0, 0.12, 0.0, 0.0, 0.0, 1.0};

struct Particle
{
    double x, y, radius;
    const Compound *compound;
};

const std::vector<Particle> &particles()
{
    static const std::vector<Particle> list = {
        {88, 100, 42, &Metal}, {168, 156, 48, &Oxide}, {150, 60, 14, &Metal},
        {185, 175, 9, &Metal}, {70, 185, 20, &Oxide},
    };
    return list;
}

// Thickness of a ball of radius r seen at distance d from its centre, relative to its
// diameter.
double ballThickness(double d, double r)
{
    return d >= r ? 0.0 : std::sqrt(1.0 - (d * d) / (r * r));
}

double sampleAbsorbance(double x, double y, double e)
{
    // A pressed pellet of binder with a soft rim; particles sit inside it.
    const double rim = std::hypot(x - 128.0, y - 128.0);
    double mu = Binder.absorbance(e) * std::clamp((112.0 - rim) / 4.0, 0.0, 1.0);
    for (const Particle &p : particles())
        mu += p.compound->absorbance(e) * ballThickness(std::hypot(x - p.x, y - p.y), p.radius);
    return mu;
}

double beam(double x, double y, double e)
{
    const double flux = 42000.0 * (1.0 - 0.0015 * (e - 7100.0));
    const double dx = (x - 132.0) / 170.0;
    const double dy = (y - 124.0) / 110.0;
    return flux * std::exp(-0.5 * (dx * dx + dy * dy));
}

quint16 counts(double mean, Noise &noise)
{
    const double v = std::round(mean + std::sqrt(std::max(mean, 0.0)) * noise.gauss());
    return quint16(std::clamp(v, 0.0, 65535.0));
}

bool writeTiff(const QString &path, const std::vector<quint16> &pixels, const QString &text)
{
    TIFF *tif = TIFFOpen(QFile::encodeName(path).constData(), "w");
    if (!tif) return false;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, std::uint32_t(Size));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, std::uint32_t(Size));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, std::uint32_t(16));
    const QByteArray description = text.toUtf8();
    TIFFSetField(tif, TIFFTAG_IMAGEDESCRIPTION, description.constData());
    bool ok = true;
    std::vector<quint16> row(Size);
    for (int y = 0; y < Size && ok; ++y) {
        std::copy_n(pixels.begin() + qsizetype(y) * Size, Size, row.begin());
        ok = TIFFWriteScanline(tif, row.data(), std::uint32_t(y), 0) >= 0;
    }
    TIFFClose(tif);
    return ok;
}

// -log(I/I0), or NaN where either count is zero.
double absorbance(quint16 i, quint16 i0)
{
    return (i == 0 || i0 == 0) ? std::nan("") : -std::log(double(i) / double(i0));
}

// The mean of the defined values in a bin x bin block.
double binned(const std::vector<double> &map, int bx, int by, int bin)
{
    double sum = 0.0;
    int n = 0;
    for (int y = by * bin; y < (by + 1) * bin; ++y)
        for (int x = bx * bin; x < (bx + 1) * bin; ++x) {
            const double v = map[qsizetype(y) * Size + x];
            if (!std::isnan(v)) {
                sum += v;
                ++n;
            }
        }
    return n ? sum / n : std::nan("");
}

bool writeTextMatrix(const QString &path, const std::vector<double> &map)
{
    constexpr int Bin = 4;
    constexpr int N = Size / Bin;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return false;
    QTextStream s(&file);
    // The size lines carry one more than the row length the reader makes of them.
    s << "## 240301\n"
      << "# Zelmap demo: -log(I/I0) at " << AboveEdge << " eV, " << Bin << "x" << Bin << " binned\n"
      << "# X-NUM " << N + 1 << "\n"
      << "# Y-NUM " << N + 1 << "\n";
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) {
            const double v = binned(map, x, y, Bin);
            s << x << ' ' << y << ' ' << QString::number(std::isnan(v) ? 0.0 : v, 'g', 6) << '\n';
        }
    s.flush();
    return s.status() == QTextStream::Ok && file.commit();
}

bool writeEdgeJumpMap(const QString &path, const std::vector<double> &below,
                      const std::vector<double> &above)
{
    constexpr int Bin = 2;
    constexpr int N = Size / Bin;
    std::vector<double> jump(below.size());
    for (size_t i = 0; i < jump.size(); ++i)
        jump[i] = above[i] - below[i];
    TDDataWL record(N, N);
    record.setDataId(QStringLiteral("edge jump %1-%2 eV").arg(AboveEdge).arg(BelowEdge));
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) {
            const double v = binned(jump, x, y, Bin);
            record.setValue(x, y, std::isnan(v) ? 0.0 : v, !std::isnan(v));
        }
    return record.save(path);
}

// A transmission spectrum of one unit thickness of the compound, from the same absorbance
// as the images, in the two-column format with a little counting noise.
bool writeReference(const QString &path, const Compound &c, const QString &title, Noise &noise)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return false;
    QTextStream s(&file);
    s << "# Zelmap demo reference: " << title << ", synthetic Fe K-edge transmission\n"
      << "# energy [eV]  mu\n";
    double e = 6950.0;
    while (e <= 7600.0) {
        const double mu = c.absorbance(e) + 0.0015 * noise.gauss();
        s << QString::number(e, 'f', 2) << ' ' << QString::number(mu, 'f', 6) << '\n';
        e += e < 7080.0 || e >= 7200.0 ? 2.0 : 0.5;
    }
    s.flush();
    return s.status() == QTextStream::Ok && file.commit();
}

} // namespace

int demo(const QStringList &args, QTextStream &out, QTextStream &err)
{
    if (args.size() != 1) {
        err << "demo: give one directory to write into\n";
        return 2;
    }
    const QDir dir(args.first());
    if (!QDir().mkpath(dir.path())) {
        err << "demo: cannot create " << dir.path() << '\n';
        return 1;
    }

    Noise noise(240301);
    std::vector<quint16> i0(qsizetype(Size) * Size);
    std::vector<quint16> sample(i0.size());
    std::vector<double> absBelow;
    std::vector<double> absAbove;
    for (const double e : Energies) {
        const QString tag = QStringLiteral("%1eV").arg(e);
        for (int y = 0; y < Size; ++y)
            for (int x = 0; x < Size; ++x) {
                const double cx = x + 0.5;
                const double cy = y + 0.5;
                const double b = beam(cx, cy, e);
                const qsizetype k = qsizetype(y) * Size + x;
                i0[k] = counts(b, noise);
                sample[k] = counts(b * std::exp(-sampleAbsorbance(cx, cy, e)), noise);
            }
        const QString i0Path = dir.filePath(QStringLiteral("I0_%1.tif").arg(tag));
        const QString iPath = dir.filePath(QStringLiteral("I_%1.tif").arg(tag));
        if (!writeTiff(i0Path, i0, QStringLiteral("incident beam I0 at %1 eV").arg(e)) ||
            !writeTiff(iPath, sample, QStringLiteral("transmitted beam I at %1 eV").arg(e))) {
            err << "demo: cannot write the images at " << e << " eV into " << dir.path() << '\n';
            return 1;
        }
        out << i0Path << '\n' << iPath << '\n';
        if (e == BelowEdge || e == AboveEdge) {
            std::vector<double> &a = e == BelowEdge ? absBelow : absAbove;
            a.resize(i0.size());
            for (size_t k = 0; k < a.size(); ++k)
                a[k] = absorbance(sample[k], i0[k]);
        }
    }

    const QString textPath = dir.filePath(QStringLiteral("absorbance_%1eV.txt").arg(AboveEdge));
    if (!writeTextMatrix(textPath, absAbove)) {
        err << "demo: cannot write " << textPath << '\n';
        return 1;
    }
    out << textPath << '\n';
    const QString mapPath = dir.filePath(QStringLiteral("edge_jump.zmp"));
    if (!writeEdgeJumpMap(mapPath, absBelow, absAbove)) {
        err << "demo: cannot write " << mapPath << '\n';
        return 1;
    }
    out << mapPath << '\n';

    Noise spectrumNoise(7112);
    const std::pair<const char *, std::pair<const Compound *, const char *>> references[] = {
        {"Fe_metal.dat", {&Metal, "Fe metal"}}, {"Fe2O3.dat", {&Oxide, "Fe(III) oxide"}}};
    for (const auto &[name, what] : references) {
        const QString path = dir.filePath(QLatin1String(name));
        if (!writeReference(path, *what.first, QLatin1String(what.second), spectrumNoise)) {
            err << "demo: cannot write " << path << '\n';
            return 1;
        }
        out << path << '\n';
    }
    return 0;
}

} // namespace Cli
