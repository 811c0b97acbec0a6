#include "proc/CalcFormula.h"
#include "proc/ImageCalc.h"

#include "../support/CliFixtures.h"
#include "../support/WidgetFixtures.h"

#include <vector>

namespace {

// value(x, y) = f(x, y), every pixel valid.
template <typename F> std::unique_ptr<TDDataWL> record(int w, int h, F f, int level = 0)
{
    auto r = fx::record(w, h, f);
    r->setLevel(level);
    return r;
}

QList<CalcTerm> terms(const char *text, int count)
{
    return CalcFormula::parse(QString::fromLatin1(text),
                              [count](int n) { return n >= 0 && n < count ? n : -1; })
        .terms();
}

} // namespace

class TestImageCalc : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sizeLevelAndValues();
    void invalidPixels();
    void limitingRectangle();
    void commandLine();
    void statisticsAndDataIds();
};

void TestImageCalc::sizeLevelAndValues()
{
    const auto a = record(
        100, 80, [](int x, int y) { return 1.0 + x + 1000.0 * y; }, 2);
    const auto b = record(
        90, 120, [](int x, int y) { return 2.0 + x * y; }, 5);
    const QList<CalcSource> sources = {{a.get()}, {b.get()}};

    // A copy of image 0, cropped to the smallest size.
    auto copy = ImageCalc::compute(sources, terms("I[0]", 2), {}, {false, false});
    QCOMPARE(copy->level(), 3);
    QCOMPARE(QSize(copy->width(), copy->height()), QSize(100, 80));
    QCOMPARE(copy->value(37, 61), 1.0 + 37 + 61000.0);

    auto ratio = ImageCalc::compute(sources, terms("2I[0]-0.5*I[1]", 2), terms("I[1]+I[1]", 2),
                                    {false, true});
    QCOMPARE(QSize(ratio->width(), ratio->height()), QSize(90, 80));
    QCOMPARE(ratio->level(), 6);
    for (const auto &[x, y] : {std::pair{0, 0}, std::pair{89, 79}, std::pair{13, 42}}) {
        const double i0 = a->value(x, y), i1 = b->value(x, y);
        QCOMPARE(ratio->value(x, y), -((2 * i0 - 0.5 * i1) / (i1 + i1)));
        QVERIFY(ratio->isValid(x, y));
    }

    // Only denominators: 1 / sum.
    auto inverse = ImageCalc::compute(sources, {}, terms("I[1]", 2), {true, false});
    QCOMPARE(inverse->value(3, 4), std::log(1.0 / b->value(3, 4)));

    QVERIFY(!ImageCalc::compute(sources, {}, {}, {true, true}));
}

void TestImageCalc::invalidPixels()
{
    // I0 - I1 is 0 at x == y, negative below the diagonal; I2 is 0 in column 3.
    auto i0 = record(8, 8, [](int x, int) { return double(x); });
    auto i1 = record(8, 8, [](int, int y) { return double(y); });
    auto i2 = record(8, 8, [](int x, int) { return x == 3 ? 0.0 : 2.0; });
    i1->setValue(6, 1, 1.0, false);
    const QList<CalcSource> sources = {{i0.get()}, {i1.get()}, {i2.get()}};

    auto r = ImageCalc::compute(sources, terms("I[0]-I[1]", 3), terms("I[2]", 3), {true, false});
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            const bool expected = x != 3 && x > y && !(x == 6 && y == 1);
            QVERIFY2(r->isValid(x, y) == expected,
                     qPrintable(QStringLiteral("%1,%2").arg(x).arg(y)));
            if (expected)
                QCOMPARE(r->value(x, y), std::log((x - y) / 2.0));
            else
                QCOMPARE(r->value(x, y), 0.0);
        }
    }
    // Without log a zero or negative ratio is a value; the zero denominator still is not.
    auto plain =
        ImageCalc::compute(sources, terms("I[0]-I[1]", 3), terms("I[2]", 3), {false, false});
    QCOMPARE(plain->value(1, 5), -2.0);
    QCOMPARE((QList<bool>{plain->isValid(1, 5), plain->isValid(4, 4), plain->isValid(3, 0),
                          plain->isValid(6, 1)}),
             (QList<bool>{true, true, false, false}));
    // An invalid pixel in a term of the denominator counts as well.
    auto viaDen = ImageCalc::compute(sources, terms("I[2]", 3), terms("I[1]", 3), {false, false});
    QVERIFY(!viaDen->isValid(6, 1) && !viaDen->isValid(2, 0) && viaDen->isValid(2, 1));
}

void TestImageCalc::limitingRectangle()
{
    auto big = record(10, 10, [](int x, int y) { return 1.0 + x + y; });
    auto small = record(6, 9, [](int, int) { return 1.0; });
    CalcSource limited{big.get(), true, 1.5, 2.0, 4.0, 7.9};
    const QList<CalcSource> sources = {limited, {small.get()}};

    auto r = ImageCalc::compute(sources, terms("I[0]", 2), terms("I[1]", 2), {false, false});
    QCOMPARE(QSize(r->width(), r->height()), QSize(6, 9));
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 6; ++x)
            QCOMPARE(r->isValid(x, y), x >= 2 && x <= 4 && y >= 2 && y <= 7);
    QCOMPARE(r->value(4, 7), 12.0);

    // A rectangle beyond the image is clipped to it; one that misses it leaves nothing.
    const QList<CalcSource> wide = {{big.get(), true, -5.0, -5.0, 50.0, 50.0}};
    QCOMPARE(ImageCalc::compute(wide, terms("I[0]", 1), {}, {false, false})->validCount(), 100);
    const QList<CalcSource> outside = {{big.get(), true, 20.0, 0.0, 30.0, 9.0}};
    auto none = ImageCalc::compute(outside, terms("I[0]", 1), {}, {false, false});
    QCOMPARE(none->width(), 10);
    QCOMPARE(none->validCount(), 0);
}

void TestImageCalc::statisticsAndDataIds()
{
    auto a = record(4, 3, [](int x, int y) { return double(x * y); });
    const QList<CalcSource> sources = {{a.get()}};
    auto r = ImageCalc::compute(sources, terms("I[0]", 1), {}, {false, true});
    // Zeros count only for the with-zeros extremes.
    QCOMPARE((QList<double>{r->minWithZeros(), r->maxWithZeros(), r->minWithoutZeros(),
                            r->maxWithoutZeros()}),
             (QList<double>{-6, 0, -6, -1}));

    // No valid pixel leaves the fresh record's statistics alone.
    TDDataWL fresh(1, 1);
    auto none =
        ImageCalc::compute({{a.get(), true, 9, 9, 9, 9}}, terms("I[0]", 1), {}, {true, false});
    QCOMPARE(none->minWithZeros(), fresh.minWithZeros());
    QCOMPARE(none->maxWithoutZeros(), fresh.maxWithoutZeros());

    // The other combinations are pinned through the panel and the command line.
    QCOMPARE(ImageCalc::dataId(QStringLiteral(" 2 I[1] "), QStringLiteral("I[2]"), {false, true}),
             QStringLiteral("Cl[- 2 I[1] /I[2]]"));
}

void TestImageCalc::commandLine()
{
    QTemporaryDir dir;
    QStringList files;
    for (int k = 0; k < 3; ++k) {
        const auto r = fx::record(
            4, 3, [k](int x, int y) { return (k + 1) * (4 * y + x + 1.0); },
            [k](int x, int y) { return !(k == 1 && x == 1 && y == 1); });
        files << dir.filePath(QStringLiteral("f%1.zmp").arg(k));
        QVERIFY(r->save(files.last()));
    }
    const QString outFile = dir.filePath(QStringLiteral("out.zmp"));
    const auto run = [&](QStringList args, QString *err = nullptr) {
        const CliRun r = runCli(QStringList{QStringLiteral("calc")} + args);
        if (err) *err = r.err;
        return r.status;
    };

    QCOMPARE(run({"--num", "I[2]", "--den", "I[1]", "--neg", files[0], files[1], files[2], "-o",
                  outFile}),
             0);
    TDDataWL back(0, 0);
    QVERIFY(back.load(outFile));
    QCOMPARE(back.dataId(), QStringLiteral("Cl[-log(I[2]/I[1])]"));
    QCOMPARE(back.value(0), -std::log(1.5));
    QVERIFY(!back.isValid(5));
    QCOMPARE(back.validCount(), 11);

    QCOMPARE(run({"--num", "2I[0]", "--no-log", files[0], "-o", outFile}), 0);
    QVERIFY(back.load(outFile));
    QCOMPARE(back.value(11), 24.0);
    QCOMPARE(back.dataId(), QStringLiteral("Cl[2I[0]/]"));

    QString err;
    QCOMPARE(run({"--num", "I[3]", files[0], files[1], files[2], "-o", outFile}, &err), 2);
    QVERIFY(err.contains(QLatin1String("I[3] names no file")));
    QCOMPARE(run({"--num", "I[0]I[1]", files[0], files[1], "-o", outFile}, &err), 2);
    QVERIFY(err.contains(QLatin1String("cannot read the formula")));
    QCOMPARE(run({"--num", "I[1]", files[0], dir.filePath("missing.zmp"), "-o", outFile}, &err), 1);
}

QTEST_MAIN(TestImageCalc)
#include "tst_imagecalc.moc"
