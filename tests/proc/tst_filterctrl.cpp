#include "app/Body.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "core/Shape.h"
#include "proc/FilterCtrl.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

namespace {

template <typename T> T *child(QObject *w, const QString &name)
{
    T *found = w->findChild<T *>(name);
    if (!found) qFatal("no widget %s", qPrintable(name));
    return found;
}

TDDataWL *makeRecord(int k)
{
    auto *r = new TDDataWL(40, 30);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            r->setValue(x, y, double((x * 7 + y * 13 + k) % 17), (x + y) % 9 != 0);
    r->setDataId(QStringLiteral("img%1").arg(k));
    return r;
}

void setText(QLineEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

// A plain left drag between two points given as fractions of the canvas.
void dragOn(DispA *canvas, QPointF a, QPointF b)
{
    const QSize s = canvas->size();
    const QPoint pa(int(a.x() * s.width()), int(a.y() * s.height()));
    const QPoint pb(int(b.x() * s.width()), int(b.y() * s.height()));
    QTest::mousePress(canvas, Qt::LeftButton, {}, pa);
    QTest::mouseMove(canvas, pb);
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, pb);
}

} // namespace

class TestFilterCtrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formAsListed();
    void runsOnS1IntoTheDataList();
    void peaksFromThePanel();
    void matchingFromThePanel_data();
    void matchingFromThePanel();
};

void TestFilterCtrl::formAsListed()
{
    FilterCtrl panel(nullptr);
    QCOMPARE(panel.windowTitle(), QStringLiteral("Filter"));
    const QList<QPair<const char *, const char *>> texts = {
        {"AdaptiveThresholdExecB", "Adaptive Threshold"},
        {"MovingAvrExecB", "Moving Avr."},
        {"MatchingExecB", "Matching"},
        {"FindPeaksExecB", "Find Peaks"},
        {"ComparePeaksExecB", "Compare Peaks"},
        {"label_4", "Target: S1"},
        {"label_8", "Target: A"},
        {"MatchingACosTh", "ArcCosTh"},
        {"PMExec2", "Exec2"},

        {"FindPeaksNumLBL", "Num:"},
        {"FindPeaksShowOnImg", "on Img"},
        {"ComparePeaksShowOnImg", "on Img S1"}};
    for (const auto &[name, text] : texts) {
        const QObject *w = child<QWidget>(&panel, QLatin1String(name));
        QCOMPARE(w->property("text").toString(), QLatin1String(text));
    }
    // "label" is also a name inside the window-size setters.
    QCOMPARE(child<QLabel>(child<QFrame>(&panel, QStringLiteral("FPWinS")), QStringLiteral("label"))
                 ->text(),
             QStringLiteral("Exc. Raius"));
    for (const char *name : {"CPWinS", "FPWinS", "CPWinS_2", "line", "line_2", "line_6"})
        child<QFrame>(&panel, QLatin1String(name));
    QCOMPARE(child<QSpinBox>(&panel, QStringLiteral("PMThreads"))->value(), 32);
    QCOMPARE(child<QSpinBox>(&panel, QStringLiteral("PMThreads"))->minimum(), 1);
    QCOMPARE(panel.atHalfWidths(), QPoint(12, 12));
    QCOMPARE(panel.exclusionRadius(), 100.0);
    QCOMPARE(panel.peakCount(), 10);
    QVERIFY(panel.findPeaksMax() && panel.comparePeaksMax());
    QVERIFY(!panel.findPeaksOnImg() && !panel.comparePeaksOnImg());
    QCOMPARE(panel.matchingThresholdMode(), 1);
    QCOMPARE(panel.matchingExecMode(), 2);

    // The groups are exclusive; unparsable text reads as 0.
    panel.show();
    QTest::mouseClick(child<QRadioButton>(&panel, QStringLiteral("PMExec2")), Qt::LeftButton);
    QTest::mouseClick(child<QRadioButton>(&panel, QStringLiteral("FindPeaksMin")), Qt::LeftButton);
    QCOMPARE(panel.matchingExecMode(), 1);
    QVERIFY(!panel.findPeaksMax());
    auto *ma = child<QWidget>(&panel, QStringLiteral("MAWinS"));
    setText(child<QLineEdit>(ma, QStringLiteral("AreaHW")), QStringLiteral("abc"));
    setText(child<QLineEdit>(ma, QStringLiteral("AreaHH")), QStringLiteral("-3"));
    setText(child<QLineEdit>(&panel, QStringLiteral("FindPeaksExclusionR")), QStringLiteral("x"));
    QCOMPARE(panel.maHalfWidths(), QPoint(0, -3));
    QCOMPARE(panel.exclusionRadius(), 0.0);
}

void TestFilterCtrl::runsOnS1IntoTheDataList()
{
    Body body;
    body.show();
    DataCtrls *list = body.dataCtrls();
    auto *frame = child<QWidget>(&body, QStringLiteral("FilterFrame"));
    QVERIFY(!frame->isVisible());
    QVERIFY(child<QWidget>(&body, QStringLiteral("FilterCBFrame"))->isVisible());
    QTest::mouseClick(child<QPushButton>(&body, QStringLiteral("Filter")), Qt::LeftButton);
    QVERIFY(frame->isVisible());
    auto *maB = child<QPushButton>(frame, QStringLiteral("MovingAvrExecB"));
    auto *atB = child<QPushButton>(frame, QStringLiteral("AdaptiveThresholdExecB"));

    body.calculatedData(makeRecord(0));
    body.calculatedData(makeRecord(1));
    // No S1 yet: nothing happens.
    QTest::mouseClick(maB, Qt::LeftButton);
    QCOMPARE(list->count(), 2);

    QTest::mouseClick(child<QRadioButton>(list->at(1), QStringLiteral("SingleSel1")),
                      Qt::LeftButton);
    QTest::mouseClick(maB, Qt::LeftButton);
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->record(2)->dataId(), QStringLiteral("img1: MA(12,12)"));
    QCOMPARE(list->record(2)->level(), 1);
    QCOMPARE(list->record(2)->validCount(), list->record(1)->validCount());

    // No region: the whole image, walked half-open.
    QTest::mouseClick(atB, Qt::LeftButton);
    QCOMPARE(list->count(), 4);
    const TDDataWL *whole = list->record(3);
    QCOMPARE(whole->dataId(), QStringLiteral("img1: AT(12,12)"));
    QVERIFY(whole->isValid(38, 28));
    QVERIFY(!whole->isValid(39, 28) && !whole->isValid(38, 29));

    // Two regions drawn on S1's display; item 0 counts even when another is current.
    ImgDisp *disp = list->at(1)->display();
    body.imgBase()->setCurrentWidget(disp);
    DispA *canvas = disp->canvas();
    QTRY_VERIFY(canvas->isVisible());
    const auto drag = [canvas](QPointF a, QPointF b) { dragOn(canvas, a, b); };
    auto *add = child<QPushButton>(disp, QStringLiteral("SetARegion"));
    drag({0.05, 0.05}, {0.3, 0.3});
    QTest::mouseClick(add, Qt::LeftButton);
    drag({0.4, 0.3}, {0.8, 0.7});
    QTest::mouseClick(add, Qt::LeftButton);
    auto *regions = child<QComboBox>(disp, QStringLiteral("Regions"));
    QCOMPARE(regions->count(), 2);
    regions->setFocus();
    QTest::keyClick(regions, Qt::Key_Down);
    QCOMPARE(regions->currentIndex(), 1);
    const QRect rect = disp->regionAt(0);
    QVERIFY(rect.width() > 2 && rect.height() > 2 && rect.right() < 39);

    setText(
        child<QLineEdit>(child<QWidget>(frame, QStringLiteral("ATWinS")), QStringLiteral("AreaHW")),
        QStringLiteral("abc"));
    QTest::mouseClick(atB, Qt::LeftButton);
    QCOMPARE(list->count(), 5);
    const TDDataWL *inRect = list->record(4);
    QCOMPARE(inRect->dataId(), QStringLiteral("img1: AT(0,12)"));
    const TDDataWL *src = list->record(1);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            QCOMPARE(inRect->isValid(x, y), src->isValid(x, y) && x >= rect.left() &&
                                                x < rect.right() && y >= rect.top() &&
                                                y < rect.bottom());

    // The read-outs follow the panel's progress signals.
    Q_EMIT body.filterCtrl()->filteringLine(17);
    Q_EMIT body.filterCtrl()->filterProcTime(1500);
    QCOMPARE(child<QLabel>(&body, QStringLiteral("FilteringLine"))->text(), QStringLiteral("17"));
    QCOMPARE(child<QLabel>(&body, QStringLiteral("FilterElapsedTime"))->text(),
             QStringLiteral("1.5"));
}

void TestFilterCtrl::peaksFromThePanel()
{
    Body body;
    body.show();
    DataCtrls *list = body.dataCtrls();
    for (int k = 0; k < 3; ++k)
        body.calculatedData(makeRecord(k));
    QTest::mouseClick(child<QPushButton>(&body, QStringLiteral("Filter")), Qt::LeftButton);
    auto *frame = child<QWidget>(&body, QStringLiteral("FilterFrame"));
    QTest::mouseClick(child<QRadioButton>(list->at(1), QStringLiteral("SingleSel1")),
                      Qt::LeftButton);
    QTest::mouseClick(child<QCheckBox>(list->at(2), QStringLiteral("MultiSelA")), Qt::LeftButton);

    const auto firstMax = [](const TDDataWL *r) {
        QPointF at;
        double best = -1e300;
        for (int y = 0; y < r->height(); ++y)
            for (int x = 0; x < r->width(); ++x)
                if (r->isValid(x, y) && r->value(x, y) > best) {
                    best = r->value(x, y);
                    at = QPointF(x, y);
                }
        return at;
    };

    // One A box, on the third entry: the first entry is the one compared.
    QTest::mouseClick(child<QPushButton>(frame, QStringLiteral("ComparePeaksExecB")),
                      Qt::LeftButton);
    QCOMPARE(list->count(), 4);
    const TDDataWL *compared = list->record(3);
    QCOMPARE(compared->dataId(), QStringLiteral("CPKs(+)"));
    QCOMPARE(compared->shapeCount(), 1);
    QCOMPARE(*compared->shape(0)->points(), QList<QPointF>{firstMax(list->record(0))});

    setText(child<QLineEdit>(frame, QStringLiteral("FindPeaksNum")), QStringLiteral("2"));
    QTest::mouseClick(child<QPushButton>(frame, QStringLiteral("FindPeaksExecB")), Qt::LeftButton);
    QCOMPARE(list->count(), 5);
    const TDDataWL *found = list->record(4);
    QCOMPARE(found->dataId(), QStringLiteral("img1: PKs(+)"));
    const QList<QPointF> peaks = *found->shape(found->shapeCount() - 1)->points();
    QCOMPARE(peaks.size(), 2);
    QCOMPARE(peaks.first(), firstMax(list->record(1)));
}

void TestFilterCtrl::matchingFromThePanel_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("Exec2") << QStringLiteral("PMExec2");
    QTest::newRow("Exec5") << QStringLiteral("PMExec5");
}

void TestFilterCtrl::matchingFromThePanel()
{
    QFETCH(QString, path);
    Body body;
    body.show();
    DataCtrls *list = body.dataCtrls();
    body.calculatedData(makeRecord(3));
    QTest::mouseClick(child<QPushButton>(&body, QStringLiteral("Filter")), Qt::LeftButton);
    auto *frame = child<QWidget>(&body, QStringLiteral("FilterFrame"));
    QTest::mouseClick(child<QRadioButton>(list->at(0), QStringLiteral("SingleSel1")),
                      Qt::LeftButton);
    QTest::mouseClick(child<QRadioButton>(frame, path), Qt::LeftButton);
    auto *run = child<QPushButton>(frame, QStringLiteral("MatchingExecB"));

    // Without a region on S1 there is no template: nothing happens.
    QTest::mouseClick(run, Qt::LeftButton);
    QTest::qWait(50);
    QCOMPARE(list->count(), 1);

    ImgDisp *disp = list->at(0)->display();
    body.imgBase()->setCurrentWidget(disp);
    QTRY_VERIFY(disp->canvas()->isVisible());
    dragOn(disp->canvas(), {0.2, 0.2}, {0.4, 0.45});
    const QRect region = list->record(0)->region();
    QVERIFY(list->record(0)->isRegionSet() && region.width() > 1);
    QTest::mouseClick(run, Qt::LeftButton);
    QTRY_COMPARE(list->count(), 2);
    const TDDataWL *pm = list->record(1);
    QCOMPARE(pm->dataId(), QStringLiteral("img3: PM"));
    QCOMPARE(pm->level(), 1);
    // The template matches itself where it was cut.
    QVERIFY(pm->isValid(region.left(), region.top()));
    QCOMPARE(pm->value(region.left(), region.top()), 1.0);
    const QString lastLine = path == QLatin1String("PMExec5") ? QStringLiteral("-1")
                                                               : QString::number(28);
    QTRY_COMPARE(child<QLabel>(&body, QStringLiteral("FilteringLine"))->text(), lastLine);
}

QTEST_MAIN(TestFilterCtrl)
#include "tst_filterctrl.moc"
