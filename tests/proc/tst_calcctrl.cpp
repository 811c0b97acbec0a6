#include "app/Body.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "proc/CalcCtrl.h"

#include "../support/WidgetFixtures.h"

#include <QCheckBox>

using fx::child;
using fx::click;
using fx::setText;

namespace {

// Entry k holds the value (k + 1) * (1 + x) everywhere, entry 3 is smaller.
TDDataWL *makeRecord(int k)
{
    return fx::record(
               k == 3 ? 5 : 8, 6, [k](int x, int) { return (k + 1) * (1.0 + x); },
               [](int, int) { return true; }, QStringLiteral("img%1").arg(k))
        .release();
}

void tick(DataCtrls *list, int k, const char *box)
{
    QTest::mouseClick(child<QCheckBox>(list->at(k), QLatin1String(box)), Qt::LeftButton);
}

} // namespace

// Four entries in a list with the panel listening to its selections.
struct Panel
{
    ImgBase base;
    DataCtrls list{QStringLiteral("DCs of test")};
    CalcCtrl calc{&list};
    Panel()
    {
        list.setImgBase(&base);
        QObject::connect(&list, &DataCtrls::selsChanged, &calc, &CalcCtrl::selsChanged);
        for (int k = 0; k < 4; ++k)
            list.addData(makeRecord(k));
        list.show();
        calc.show();
    }
};

class TestCalcCtrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<TDDataWL *>(); }
    void genFromTypedFormulas();
    void selectionsRewriteFormulas();
    void mainWindowTakesResults();
};

void TestCalcCtrl::genFromTypedFormulas()
{
    Panel p;
    QSignalSpy spy(&p.calc, &CalcCtrl::newDataGenerated);
    std::unique_ptr<TDDataWL> result;
    const auto gen = [&](const char *num, const char *den) {
        setText(&p.calc, "Numerators", QLatin1String(num));
        setText(&p.calc, "Denominators", QLatin1String(den));
        click(&p.calc, "Gen");
        QCOMPARE(spy.count(), 1);
        result.reset(spy.takeFirst().at(0).value<TDDataWL *>());
    };
    // Nothing to compute: no signal.
    click(&p.calc, "Gen");
    QCOMPARE(spy.count(), 0);

    click(&p.calc, "Neg");
    gen("I[2]", "I[1]");
    QCOMPARE(result->dataId(), QStringLiteral("Cl[-log(I[2]/I[1])]"));
    QCOMPARE(result->value(4, 3), -std::log(3.0 / 2.0));

    // Log off, Neg off again; the smaller entry 3 crops the result.
    click(&p.calc, "Log");
    click(&p.calc, "Neg");
    gen("2I[0]+I[3]", "");
    QCOMPARE(result->dataId(), QStringLiteral("Cl[2I[0]+I[3]/]"));
    QCOMPARE(result->width(), 5);
    QCOMPARE(result->value(2, 5), 2 * 3.0 + 4 * 3.0);

    // A region drawn on entry 1 limits where it counts.
    p.list.record(1)->setRegion(QRect(1, 2, 3, 2));
    gen("I[1]", "");
    QCOMPARE(result->validCount(), 6);
    QVERIFY(result->isValid(3, 3) && !result->isValid(4, 3));

    // Entry numbers follow the list: after the first entry goes, I[0] is the old entry 1.
    p.list.record(1)->regionCleared();
    p.list.removeDataCtrl(p.list.at(0));
    gen("I[0]", "");
    QCOMPARE(result->value(0, 0), 2.0);
}

void TestCalcCtrl::selectionsRewriteFormulas()
{
    // The rewriting itself is pinned on CalcFormula; here A feeds the numerators, B the
    // denominators, each keeping its typed coefficients.
    Panel p;
    auto *num = child<QLineEdit>(&p.calc, QStringLiteral("Numerators"));
    auto *den = child<QLineEdit>(&p.calc, QStringLiteral("Denominators"));
    QTest::keyClicks(num, QStringLiteral("-2I[3]"));
    QTest::keyClicks(den, QStringLiteral("I[2]"));
    tick(&p.list, 3, "MultiSelA");
    tick(&p.list, 1, "MultiSelA");
    QCOMPARE(QStringList({num->text(), den->text()}), QStringList({"I[1]-2*I[3]", ""}));
    QTest::keyClicks(den, QStringLiteral("0*I[0]+I[2]"));
    tick(&p.list, 0, "MultiSelB");
    QCOMPARE(QStringList({num->text(), den->text()}), QStringList({"I[1]-2*I[3]", "-0*I[0]"}));
}

void TestCalcCtrl::mainWindowTakesResults()
{
    Body body;
    body.show();
    auto *frame = child(&body, QStringLiteral("CalcFrame"));
    QVERIFY(!frame->isVisible());
    click(&body, "Calc");
    QVERIFY(frame->isVisible());
    body.calculatedData(makeRecord(0));
    body.calculatedData(makeRecord(1));
    tick(body.dataCtrls(), 1, "MultiSelA");
    tick(body.dataCtrls(), 0, "MultiSelB");
    click(frame, "Gen");
    QCOMPARE(body.dataCtrls()->count(), 3);
    QCOMPARE(body.dataCtrls()->record(2)->dataId(), QStringLiteral("Cl[log(I[1]/I[0])]"));
    QCOMPARE(body.dataCtrls()->record(2)->value(0), std::log(2.0));
}

QTEST_MAIN(TestCalcCtrl)
#include "tst_calcctrl.moc"
