#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"
#include "xafs/LcfEngine.h"
#include "xafs/LcfModel.h"
#include "xafs/XafsSpectrum.h"

#include <QTest>

#include <cmath>
#include <random>

namespace {

using Kind = LcfModel::FitKind;

// A smooth edge at e0 with a white line: what a normalised reference looks like.
LcfModel::Reference edgeCurve(const QString &name, double e0, double peak, double dE = 0.0)
{
    return {name,
            [=](double e) {
                return 0.5 + std::atan((e - e0) / 2.0) / M_PI +
                       peak * std::exp(-0.5 * std::pow((e - e0 - 4.0) / 3.0, 2));
            },
            dE, e0};
}

// Solves the square system m x = v (row-major) by Gaussian elimination with pivoting.
std::vector<double> gauss(std::vector<double> m, std::vector<double> v)
{
    const size_t n = v.size();
    for (size_t c = 0; c < n; ++c) {
        size_t p = c;
        for (size_t r = c + 1; r < n; ++r)
            if (std::fabs(m[r * n + c]) > std::fabs(m[p * n + c])) p = r;
        for (size_t k = 0; k < n; ++k)
            std::swap(m[c * n + k], m[p * n + k]);
        std::swap(v[c], v[p]);
        for (size_t r = c + 1; r < n; ++r) {
            const double f = m[r * n + c] / m[c * n + c];
            for (size_t k = c; k < n; ++k)
                m[r * n + k] -= f * m[c * n + k];
            v[r] -= f * v[c];
        }
    }
    std::vector<double> x(n);
    for (size_t c = n; c-- > 0;) {
        double s = v[c];
        for (size_t k = c + 1; k < n; ++k)
            s -= m[c * n + k] * x[k];
        x[c] = s / m[c * n + c];
    }
    return x;
}

// The constrained minimiser by brute force: every subset of references left free (the
// offset always is), the equality-constrained least squares on it, the best feasible one.
std::vector<double> bruteForce(const LcfModel &model, const std::vector<double> &mu)
{
    const int k = model.energyCount(), n = model.unknownCount(), r = model.referenceCount();
    const bool sum1 = model.kind() == Kind::SumToOne;
    std::vector<double> best;
    double bestResidual = INFINITY;
    for (int mask = 0; mask < (1 << r); ++mask) {
        if (model.kind() == Kind::Free && mask != (1 << r) - 1) continue;
        std::vector<int> cols;
        for (int j = 0; j < n; ++j)
            if (j >= r || (mask >> j & 1)) cols.push_back(j);
        if (sum1 && mask == 0) continue;
        const size_t m = cols.size() + (sum1 ? 1 : 0);
        std::vector<double> kkt(m * m, 0.0), rhs(m, 0.0);
        for (size_t a = 0; a < cols.size(); ++a) {
            for (int e = 0; e < k; ++e) {
                rhs[a] += model.design(e, cols[a]) * mu[size_t(e)];
                for (size_t b = 0; b < cols.size(); ++b)
                    kkt[a * m + b] += model.design(e, cols[a]) * model.design(e, cols[b]);
            }
            if (sum1 && cols[a] < r) kkt[a * m + m - 1] = kkt[(m - 1) * m + a] = 1.0;
        }
        if (sum1) rhs[m - 1] = 1.0;
        const std::vector<double> y = gauss(kkt, rhs);
        std::vector<double> x(size_t(n), 0.0);
        bool feasible = true;
        for (size_t a = 0; a < cols.size(); ++a) {
            x[size_t(cols[a])] = y[a];
            feasible = feasible && (model.kind() == Kind::Free || cols[a] >= r || y[a] >= 0.0);
        }
        double res = 0.0;
        for (int e = 0; e < k; ++e) {
            double f = 0.0;
            for (int j = 0; j < n; ++j)
                f += model.design(e, j) * x[size_t(j)];
            res += (mu[size_t(e)] - f) * (mu[size_t(e)] - f);
        }
        if (feasible && res < bestResidual) bestResidual = res, best = x;
    }
    return best;
}

std::unique_ptr<TDDataWL> image(int w, int h)
{
    auto r = std::make_unique<TDDataWL>(w, h);
    std::fill_n(r->validFlags(), r->pixelCount(), quint8(1));
    return r;
}

QList<const TDData0 *> pointers(const std::vector<std::unique_ptr<TDDataWL>> &stack)
{
    QList<const TDData0 *> list;
    for (const auto &s : stack)
        list << s.get();
    return list;
}

} // namespace

class TestLcfEngine : public QObject
{
    Q_OBJECT

private slots:
    void fitKindsAgainstBruteForce_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("references");
        QTest::addColumn<bool>("offset");
        for (const auto &[name, kind] :
             {std::pair{"nonneg", Kind::NonNegative}, std::pair{"free", Kind::Free},
              std::pair{"sum1", Kind::SumToOne}})
            for (int r : {1, 3, 4})
                for (bool offset : {false, true})
                    QTest::addRow("%s R=%d%s", name, r, offset ? " +c" : "")
                        << int(kind) << r << offset;
    }

    void fitKindsAgainstBruteForce()
    {
        QFETCH(int, kind);
        QFETCH(int, references);
        QFETCH(bool, offset);
        QList<double> energies;
        for (int e = 0; e < 9; ++e)
            energies << 7100.0 + 6.0 * e;
        QList<LcfModel::Reference> refs;
        for (int j = 0; j < references; ++j)
            refs << edgeCurve(QString::number(j), 7105.0 + 9.0 * j, 0.3 * j);
        LcfModel model;
        QString error;
        QVERIFY2(model.build(energies, refs, Kind(kind), offset, &error), qPrintable(error));
        // Random pixels, many of them outside the feasible cone, so the active set is exercised.
        std::mt19937 gen(kind * 100 + references * 10 + offset);
        std::uniform_real_distribution<double> u(-1.0, 2.0);
        for (int trial = 0; trial < 60; ++trial) {
            std::vector<double> mu(size_t(energies.size()));
            for (double &m : mu)
                m = u(gen);
            const LcfModel::PixelFit fit = model.fitPixel(mu.data());
            const std::vector<double> expected = bruteForce(model, mu);
            QVERIFY(fit.valid);
            for (int j = 0; j < references; ++j)
                QVERIFY2(std::fabs(fit.weights[size_t(j)] - expected[size_t(j)]) < 1e-8,
                         qPrintable(QStringLiteral("trial %1 w%2").arg(trial).arg(j)));
            if (offset) QVERIFY(std::fabs(fit.offset - expected[size_t(references)]) < 1e-8);
            double res = 0.0, norm = 0.0;
            for (size_t e = 0; e < mu.size(); ++e)
                res += std::pow(mu[e] - fit.fitted[e], 2), norm += mu[e] * mu[e];
            QVERIFY(std::fabs(fit.residual - res / norm) < 1e-10);
        }
    }

    void shiftAndFreshNormalisation()
    {
        // dE = +1.5 moves the reference up: image energy E reads the curve at E - 1.5.
        LcfModel model;
        QString error;
        const LcfModel::Reference line{"line", [](double e) { return e; }, 1.5, 0.0};
        QVERIFY(model.build({10.0, 20.0, 30.0}, {line}, Kind::Free, false, &error));
        QCOMPARE((QList<double>{model.design(1, 0), model.referenceAt(0, 40.0)}),
                 (QList<double>{18.5, 38.5}));

        // The spectrum's own x shift and an earlier Victreen normalisation leave no trace.
        Spectrum points;
        for (double e = 8900.0; e <= 9100.0; e += 1.0)
            points.append(e, 0.1 + std::atan((e - 8980.0) / 3.0) / M_PI);
        const XafsSpectrum fresh(points, "a", 1, 0.0, {});
        XafsSpectrum used(points, "a", 0, 0.0, {});
        used.setXOffset(true, 7.0);
        used.normalize(1);
        const LcfModel::Reference ref = LcfModel::fromSpectrum(used, 1, 0.0);
        for (double e : {8950.0, 8979.5, 8990.0, 9050.0, 9150.0})
            QCOMPARE(ref.curve(e), fresh.doubleNormalizedPreBase(e));
        QCOMPARE(ref.e0, fresh.e0());
    }

    void recoversSyntheticStack()
    {
        // 130 x 130 pixels: more than one chunk of work, so two threads share it.
        const int w = 130, h = 130, k = 14;
        const double noise = 1e-3;
        QList<double> energies;
        for (int e = 0; e < k; ++e)
            energies << 7090.0 + 5.0 * e;
        const LcfModel::Reference a = edgeCurve("metal", 7112.0, 0.1);
        const LcfModel::Reference b = edgeCurve("oxide", 7124.0, 0.6, 2.0);
        std::vector<std::unique_ptr<TDDataWL>> stack;
        for (int e = 0; e < k; ++e)
            stack.push_back(image(w, h));
        std::mt19937 gen(7);
        std::normal_distribution<double> gaussian(0.0, noise);
        std::vector<double> wa(size_t(w) * h), wb(wa.size()), c(wa.size());
        for (size_t p = 0; p < wa.size(); ++p) {
            wa[p] = 0.5 + 0.5 * double(p % 97) / 96.0;
            wb[p] = double(p % 89) / 88.0;
            c[p] = 0.3 * double(p % 13) / 12.0 - 0.1;
            for (int e = 0; e < k; ++e) {
                const double E = energies[e];
                stack[size_t(e)]->values()[p] =
                    wa[p] * a.curve(E) + wb[p] * b.curve(E - 2.0) + c[p] + gaussian(gen);
            }
        }
        stack[3]->validFlags()[17] = 0;
        stack[5]->values()[18] = NAN;
        stack[k - 1]->values()[19] = INFINITY;
        // No absorption at all: weights of zero, so no fractions and no relative residual.
        for (int e = 0; e < k; ++e)
            stack[size_t(e)]->values()[20] = 0.0;

        LcfModel model;
        QString error;
        QVERIFY(model.build(energies, {a, b}, Kind::NonNegative, true, &error));
        qsizetype lastDone = 0;
        LcfEngine::Options options;
        options.progress = [&](qsizetype done, qsizetype) { lastDone = done; };
        options.threads = 2;
        LcfEngine::Result result = LcfEngine::run(model, pointers(stack), options, &error);
        QVERIFY2(result.ok(), qPrintable(error));
        QCOMPARE((QList<qsizetype>{lastDone, result.validPixels}),
                 (QList<qsizetype>{qsizetype(w) * h, qsizetype(w) * h - 3}));
        QCOMPARE(result.weights[1]->dataId(), "LCF[oxide] w");
        QCOMPARE(result.fractions[0]->dataId(), "LCF[metal] f");
        QCOMPARE(result.total->level(), 1);

        double worst = 0.0;
        for (size_t p = 0; p < wa.size(); ++p) {
            const bool bad = p >= 17 && p <= 19;
            for (const auto *r : {result.weights[0].get(), result.total.get(), result.offset.get()})
                QCOMPARE(r->isValid(qsizetype(p)), !bad);
            for (const auto *r : {result.fractions[1].get(), result.residual.get()})
                QCOMPARE(r->isValid(qsizetype(p)), !bad && p != 20);
            if (bad || p == 20) continue;
            if (p % 101 == 0) {
                // The map holds what one pixel's fit gives, relative residual included.
                std::vector<double> mu;
                for (int e = 0; e < k; ++e)
                    mu.push_back(stack[size_t(e)]->values()[p]);
                const LcfModel::PixelFit fit = model.fitPixel(mu.data());
                QVERIFY(std::fabs(result.residual->value(qsizetype(p)) - fit.residual) <=
                        1e-9 * fit.residual);
            }
            worst = std::max({worst, std::fabs(result.weights[0]->value(qsizetype(p)) - wa[p]),
                              std::fabs(result.weights[1]->value(qsizetype(p)) - wb[p]),
                              std::fabs(result.offset->value(qsizetype(p)) - c[p])});
            QCOMPARE(result.fractions[0]->value(qsizetype(p)),
                     wa[p] > 0 ? result.weights[0]->value(qsizetype(p)) /
                                     result.total->value(qsizetype(p))
                               : 0.0);
            QVERIFY(result.residual->value(qsizetype(p)) < 1e-4);
        }
        // A few times 1e-3 at worst, but not below the noise, which is really there.
        QVERIFY2(worst < 1e-2 && worst > 1e-5, qPrintable(QString::number(worst)));

        // One thread gives the same numbers; a raised cancel flag gives no records.
        options.threads = 1;
        LcfEngine::Result single = LcfEngine::run(model, pointers(stack), options, &error);
        QVERIFY(std::equal(single.weights[1]->values(), single.weights[1]->values() + w * h,
                           result.weights[1]->values()));
        std::atomic<bool> cancel{true};
        options.cancel = &cancel;
        const LcfEngine::Result stopped = LcfEngine::run(model, pointers(stack), options, &error);
        QVERIFY(stopped.cancelled && !stopped.ok());
    }

    void refusals_data()
    {
        QTest::addColumn<QList<double>>("energies");
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("dependent");
        QTest::addColumn<bool>("offset");
        QTest::addColumn<QString>("message");
        const int nonneg = int(Kind::NonNegative), free = int(Kind::Free);
        QTest::newRow("one image")
            << QList<double>{7100} << nonneg << false << false << "at least two";
        QTest::newRow("same energy") << QList<double>{7100, 7110, 7100} << nonneg << false << false
                                     << "a.zmp and c.zmp are both at 7100 eV";
        QTest::newRow("underdetermined")
            << QList<double>{7100, 7110} << nonneg << false << true << "underdetermined";
        QTest::newRow("dependent, free") << QList<double>{7100, 7110, 7120, 7130} << free << true
                                         << false << "'twice' is a linear combination";
        QTest::newRow("dependent, nonneg")
            << QList<double>{7100, 7110, 7120, 7130} << nonneg << true << false << "";
    }

    void refusals()
    {
        QFETCH(QList<double>, energies);
        QFETCH(int, kind);
        QFETCH(bool, dependent);
        QFETCH(bool, offset);
        QFETCH(QString, message);
        LcfModel::Reference second = edgeCurve("twice", 7112.0, 0.1);
        if (dependent)
            second.curve = [c = edgeCurve({}, 7112.0, 0.1).curve](double e) { return 2.0 * c(e); };
        else
            second = edgeCurve("other", 7124.0, 0.5);
        LcfModel model;
        QString error;
        const bool built =
            model.build(energies, {edgeCurve("one", 7112.0, 0.1), second}, Kind(kind), offset,
                        &error, {"a.zmp", "b.zmp", "c.zmp", "d.zmp"});
        QCOMPARE(built, message.isEmpty());
        QVERIFY2(error.contains(message), qPrintable(error));
        if (!built) return;
        // Still a solution with dependent references: it reproduces an exact mixture.
        std::vector<double> mu;
        for (double e : energies)
            mu.push_back(0.7 * model.referenceAt(0, e));
        const LcfModel::PixelFit fit = model.fitPixel(mu.data());
        QVERIFY(fit.residual < 1e-12);
        QVERIFY(std::fabs(fit.weights[0] + 2.0 * fit.weights[1] - 0.7) < 1e-9);
    }

    void copperMixtures()
    {
        // Pixels mixing the three measured spectra, each scaled to a unit edge jump: the fit
        // recovers the mixing fractions although the pixels are raw mu, not normalised.
        const QStringList names = {"cu_foil", "cu_cu2o", "cu_cuo"};
        QList<LcfModel::Reference> refs;
        std::vector<XafsSpectrum> raw(3);
        for (int j = 0; j < 3; ++j) {
            const QString path = QStringLiteral(ZELMAP_TESTDATA "/xafs/%1_herfd.dat").arg(names[j]);
            QVERIFY2(raw[size_t(j)].loadAndNormalize(path), qPrintable(path));
            refs << LcfModel::fromSpectrum(raw[size_t(j)], 1, 0.0);
        }
        QList<double> energies;
        std::vector<int> index;
        for (int i = 0; i < raw[0].size(); i += 3)
            if (raw[0].x(i) > 8950.0 && raw[0].x(i) < 9100.0)
                energies << raw[0].x(i), index.push_back(i);
        LcfModel model;
        QString error;
        QVERIFY2(model.build(energies, refs, Kind::NonNegative, true, &error), qPrintable(error));
        const double mixtures[][3] = {{1, 0, 0}, {0.2, 0.5, 0.3}, {0.6, 0, 0.4}, {0.1, 0.1, 0.8}};
        for (const auto &f : mixtures) {
            std::vector<double> mu;
            for (int i : index) {
                double m = 0.0;
                for (int j = 0; j < 3; ++j)
                    m += f[j] * raw[size_t(j)].y(i) / raw[size_t(j)].jump();
                mu.push_back(m);
            }
            const LcfModel::PixelFit fit = model.fitPixel(mu.data());
            for (int j = 0; j < 3; ++j)
                QVERIFY2(std::fabs(fit.fraction(j) - f[j]) < 0.03,
                         qPrintable(QStringLiteral("%1: %2 for %3")
                                        .arg(names[j])
                                        .arg(fit.fraction(j))
                                        .arg(f[j])));
        }
    }

    void commandLineRoundTrip()
    {
        QTemporaryDir tmp;
        // Two references as spectrum files, and a 3 x 2 stack mixed from them as the fit reads
        // them.
        QStringList refFiles;
        QList<LcfModel::Reference> refs;
        for (const auto &[name, e0] : {std::pair{"a", 7112.0}, std::pair{"b", 7124.0}}) {
            QByteArray text = "# energy mu\n";
            for (double e = 7000.0; e <= 7300.0; e += 1.0)
                text += QByteArray::number(e) + ' ' +
                        QByteArray::number(0.2 + edgeCurve({}, e0, 0.3).curve(e), 'g', 17) + '\n';
            refFiles << writeFile(tmp, QString(name) + ".dat", text);
            QString error;
            refs << *LcfModel::fromFile(refFiles.last(), 1, name[0] == 'b' ? 1.5 : 0.0, &error);
        }
        const double fa[] = {1, 0.75, 0.5, 0.25, 0, 0.4};
        QStringList stack;
        for (double e : {7100.0, 7110.0, 7115.0, 7122.0, 7130.0, 7150.0}) {
            TDDataWL r(3, 2);
            for (int p = 0; p < 6; ++p)
                r.setValue(p, fa[p] * refs[0].curve(e) + (1 - fa[p]) * refs[1].curve(e - 1.5),
                           true);
            stack << tmp.filePath(QStringLiteral("mu_%1eV.zmp").arg(e));
            QVERIFY(r.save(stack.last()));
        }
        const QString out = tmp.filePath("fit");
        QCOMPARE(runCli(QStringList{"lcf", "--ref", refFiles[0], "--ref", refFiles[1] + "@1.5",
                                    "--fit", "sum1", "-o", out} +
                        stack)
                     .status,
                 0);
        TDDataWL fraction(0, 0);
        QVERIFY(fraction.load(out + "/fraction_0.zmp"));
        QCOMPARE(fraction.dataId(), "LCF[a] f");
        for (int p = 0; p < 6; ++p)
            QVERIFY(std::fabs(fraction.value(qsizetype(p)) - fa[p]) < 1e-9);
        QVERIFY(QFile::exists(out + "/residual.zmp") && !QFile::exists(out + "/offset.zmp"));

        // A reference read beyond its measured range is used, and said to be extrapolated.
        const CliRun r =
            runCli(QStringList{"lcf", "--ref", refFiles[0] + "@-200", "-o", out} + stack);
        QCOMPARE(r.status, 0);
        QVERIFY2(r.err.contains("'a' is extrapolated at 7310 eV"), qPrintable(r.err));
    }
};

QTEST_MAIN(TestLcfEngine)
#include "tst_LcfEngine.moc"
