#include "app/Body.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "proc/CalcCtrl.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <memory>

namespace {

template <typename T> T *child(QWidget *w, const char *name)
{
    T *found = w->findChild<T *>(QString::fromLatin1(name));
    if (!found) qFatal("no widget %s", name);
    return found;
}

// Entry k holds the value (k + 1) * (1 + x) everywhere, entry 3 is smaller.
TDDataWL *makeRecord(int k)
{
    const int w = k == 3 ? 5 : 8;
    auto *r = new TDDataWL(w, 6);
    for (int y = 0; y < r->height(); ++y)
        for (int x = 0; x < w; ++x)
            r->setValue(x, y, (k + 1) * (1.0 + x), true);
    r->setDataId(QStringLiteral("img%1").arg(k));
    return r;
}

void setText(QLineEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

} // namespace

class TestCalcCtrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<TDDataWL *>(); }
    void init();
    void cleanup();
    void genFromTypedFormulas();
    void selectionsRewriteFormulas();
    void mainWindowTakesResults();

private:
    std::unique_ptr<ImgBase> m_base;
    std::unique_ptr<DataCtrls> m_list;
    std::unique_ptr<CalcCtrl> m_calc;
};

void TestCalcCtrl::init()
{
    m_base = std::make_unique<ImgBase>();
    m_list = std::make_unique<DataCtrls>(QStringLiteral("DCs of test"));
    m_list->setImgBase(m_base.get());
    m_calc = std::make_unique<CalcCtrl>(m_list.get());
    connect(m_list.get(), &DataCtrls::selsChanged, m_calc.get(), &CalcCtrl::selsChanged);
    for (int k = 0; k < 4; ++k)
        m_list->addData(makeRecord(k));
    m_list->show();
    m_calc->show();
}

void TestCalcCtrl::cleanup()
{
    m_calc.reset();
    m_list.reset();
    m_base.reset();
}

void TestCalcCtrl::genFromTypedFormulas()
{
    QSignalSpy spy(m_calc.get(), &CalcCtrl::newDataGenerated);
    auto *num = child<QLineEdit>(m_calc.get(), "Numerators");
    auto *den = child<QLineEdit>(m_calc.get(), "Denominators");
    auto *gen = child<QPushButton>(m_calc.get(), "Gen");

    // Nothing to compute: no signal.
    QTest::mouseClick(gen, Qt::LeftButton);
    QCOMPARE(spy.count(), 0);

    QTest::keyClicks(num, QStringLiteral("I[2]"));
    QTest::keyClicks(den, QStringLiteral("I[1]"));
    QTest::mouseClick(child<QCheckBox>(m_calc.get(), "Neg"), Qt::LeftButton);
    QTest::mouseClick(gen, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
    std::unique_ptr<TDDataWL> result(spy.takeFirst().at(0).value<TDDataWL *>());
    QVERIFY(result);
    QCOMPARE(result->dataId(), QStringLiteral("Cl[-log(I[2]/I[1])]"));
    QCOMPARE(result->width(), 8);
    QCOMPARE(result->level(), 1);
    QCOMPARE(result->value(4, 3), -std::log(3.0 / 2.0));
    QCOMPARE(result->validCount(), result->pixelCount());

    // Log off, Neg off again; the smaller entry 3 crops the result.
    QTest::mouseClick(child<QCheckBox>(m_calc.get(), "Log"), Qt::LeftButton);
    QTest::mouseClick(child<QCheckBox>(m_calc.get(), "Neg"), Qt::LeftButton);
    setText(num, QStringLiteral("2I[0]+I[3]"));
    setText(den, QString());
    QTest::mouseClick(gen, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
    result.reset(spy.takeFirst().at(0).value<TDDataWL *>());
    QCOMPARE(result->dataId(), QStringLiteral("Cl[2I[0]+I[3]/]"));
    QCOMPARE(result->width(), 5);
    QCOMPARE(result->value(2, 5), 2 * 3.0 + 4 * 3.0);

    // A region drawn on entry 1 limits where it counts.
    m_list->record(1)->setRegion(QRect(1, 2, 3, 2));
    setText(num, QStringLiteral("I[1]"));
    QTest::mouseClick(gen, Qt::LeftButton);
    result.reset(spy.takeFirst().at(0).value<TDDataWL *>());
    QCOMPARE(result->validCount(), 6);
    QVERIFY(result->isValid(3, 3));
    QVERIFY(!result->isValid(4, 3));

    // Entry numbers follow the list: after the first entry goes, I[0] is the old entry 1.
    m_list->record(1)->regionCleared();
    m_list->removeDataCtrl(m_list->at(0));
    setText(num, QStringLiteral("I[0]"));
    setText(den, QString());
    QTest::mouseClick(gen, Qt::LeftButton);
    result.reset(spy.takeFirst().at(0).value<TDDataWL *>());
    QCOMPARE(result->value(0, 0), 2.0);
}

void TestCalcCtrl::selectionsRewriteFormulas()
{
    auto *num = child<QLineEdit>(m_calc.get(), "Numerators");
    auto *den = child<QLineEdit>(m_calc.get(), "Denominators");
    QTest::keyClicks(num, QStringLiteral("-2I[3]"));
    QTest::keyClicks(den, QStringLiteral("0*I[0]+I[2]"));

    QTest::mouseClick(child<QCheckBox>(m_list->at(3), "MultiSelA"), Qt::LeftButton);
    QCOMPARE(num->text(), QStringLiteral("-2*I[3]"));
    // B is empty, so the denominators empty as well.
    QCOMPARE(den->text(), QString());

    QTest::keyClicks(den, QStringLiteral("0*I[0]+I[2]"));
    QTest::mouseClick(child<QCheckBox>(m_list->at(1), "MultiSelA"), Qt::LeftButton);
    QCOMPARE(num->text(), QStringLiteral("I[1]-2*I[3]"));
    QCOMPARE(den->text(), QString());

    QTest::keyClicks(den, QStringLiteral("0*I[0]+I[2]"));
    QTest::mouseClick(child<QCheckBox>(m_list->at(0), "MultiSelB"), Qt::LeftButton);
    QCOMPARE(den->text(), QStringLiteral("-0*I[0]"));
    QTest::mouseClick(child<QCheckBox>(m_list->at(2), "MultiSelB"), Qt::LeftButton);
    QCOMPARE(den->text(), QStringLiteral("-0*I[0]+I[2]"));

    // Unticking drops the term; the kept coefficient stays.
    QTest::mouseClick(child<QCheckBox>(m_list->at(1), "MultiSelA"), Qt::LeftButton);
    QCOMPARE(num->text(), QStringLiteral("-2*I[3]"));
}

void TestCalcCtrl::mainWindowTakesResults()
{
    Body body;
    body.show();
    auto *frame = child<QWidget>(&body, "CalcFrame");
    QVERIFY(!frame->isVisible());
    QTest::mouseClick(child<QPushButton>(&body, "Calc"), Qt::LeftButton);
    QVERIFY(frame->isVisible());
    body.calculatedData(makeRecord(0));
    body.calculatedData(makeRecord(1));
    QTest::mouseClick(child<QCheckBox>(body.dataCtrls()->at(1), "MultiSelA"), Qt::LeftButton);
    QTest::mouseClick(child<QCheckBox>(body.dataCtrls()->at(0), "MultiSelB"), Qt::LeftButton);
    QTest::mouseClick(child<QPushButton>(frame, "Gen"), Qt::LeftButton);
    QCOMPARE(body.dataCtrls()->count(), 3);
    QCOMPARE(body.dataCtrls()->record(2)->dataId(), QStringLiteral("Cl[log(I[1]/I[0])]"));
    QCOMPARE(body.dataCtrls()->record(2)->value(0), std::log(2.0));
}

QTEST_MAIN(TestCalcCtrl)
#include "tst_calcctrl.moc"
