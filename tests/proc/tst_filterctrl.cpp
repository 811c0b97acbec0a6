#include "app/Body.h"
#include "core/Shape.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "proc/FilterCtrl.h"
#include "proc/PeakSearch.h"

#include "../support/WidgetFixtures.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

using fx::child;
using fx::click;
using fx::setText;

namespace {

TDDataWL *makeRecord(int k)
{
    return fx::record(
               40, 30, [k](int x, int y) { return double((x * 7 + y * 13 + k) % 17); },
               [](int x, int y) { return (x + y) % 9 != 0; }, QStringLiteral("img%1").arg(k))
        .release();
}

// A main window holding the given entries, its filter panel open.
QWidget *openFilter(Body &body, std::initializer_list<int> entries)
{
    body.show();
    for (int k : entries)
        body.calculatedData(makeRecord(k));
    auto *frame = child(&body, QStringLiteral("FilterFrame"));
    if (frame->isVisible()) qFatal("the filter panel shows before it is asked for");
    click(&body, "Filter");
    return frame;
}

// A plain left drag between two points given as fractions of the canvas.
void dragOn(DispA *canvas, QPointF a, QPointF b)
{
    const QSize s = canvas->size();
    const QPoint pa(int(a.x() * s.width()), int(a.y() * s.height()));
    const QPoint pb(int(b.x() * s.width()), int(b.y() * s.height()));
    fx::drag(canvas, pa, pb);
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
    // The other defaults show in the data ids of the runs below.
    QCOMPARE(panel.matchingThresholdMode(), 1);
    QCOMPARE(panel.matchingExecMode(), 2);

    // The groups are exclusive; unparsable text reads as 0.
    panel.show();
    click(&panel, "PMExec2");
    click(&panel, "FindPeaksMin");
    click(&panel, "MatchingACosTh");
    QCOMPARE(panel.matchingExecMode(), 1);
    QCOMPARE(panel.matchingThresholdMode(), 2);
    QVERIFY(!panel.findPeaksMax());
    auto *ma = child(&panel, QStringLiteral("MAWinS"));
    setText(ma, "AreaHW", QStringLiteral("abc"));
    setText(ma, "AreaHH", QStringLiteral("-3"));
    setText(&panel, "FindPeaksExclusionR", QStringLiteral("x"));
    QCOMPARE(panel.maHalfWidths(), QPoint(0, -3));
    QCOMPARE(panel.exclusionRadius(), 0.0);
}

void TestFilterCtrl::runsOnS1IntoTheDataList()
{
    Body body;
    QWidget *frame = openFilter(body, {0, 1});
    QVERIFY(frame->isVisible());
    DataCtrls *list = body.dataCtrls();
    // No S1 yet: nothing happens.
    click(frame, "MovingAvrExecB");
    QCOMPARE(list->count(), 2);

    click(list->at(1), "SingleSel1");
    click(frame, "MovingAvrExecB");
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->record(2)->dataId(), QStringLiteral("img1: MA(12,12)"));
    QCOMPARE(list->record(2)->level(), 1);
    QCOMPARE(list->record(2)->validCount(), list->record(1)->validCount());

    // No region: the whole image, walked half-open.
    click(frame, "AdaptiveThresholdExecB");
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
    drag({0.05, 0.05}, {0.3, 0.3});
    click(disp, "SetARegion");
    drag({0.4, 0.3}, {0.8, 0.7});
    click(disp, "SetARegion");
    auto *regions = child<QComboBox>(disp, QStringLiteral("Regions"));
    QCOMPARE(regions->count(), 2);
    regions->setFocus();
    QTest::keyClick(regions, Qt::Key_Down);
    QCOMPARE(regions->currentIndex(), 1);
    const QRect rect = disp->regionAt(0);
    QVERIFY(rect.width() > 2 && rect.height() > 2 && rect.right() < 39);

    setText(child(frame, QStringLiteral("ATWinS")), "AreaHW", QStringLiteral("abc"));
    click(frame, "AdaptiveThresholdExecB");
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
    QWidget *frame = openFilter(body, {0, 1, 2});
    DataCtrls *list = body.dataCtrls();
    click(list->at(1), "SingleSel1");
    click(list->at(2), "MultiSelA");

    // The search itself is pinned against a brute force elsewhere.
    const auto firstMax = [](const TDDataWL *r) {
        return PeakSearch::findPeaks(*r, QRect(0, 0, r->width(), r->height()), 0, 1, true).first();
    };

    // One A box, on the third entry: the first entry is the one compared.
    click(frame, "ComparePeaksExecB");
    QCOMPARE(list->count(), 4);
    const TDDataWL *compared = list->record(3);
    QCOMPARE(compared->dataId(), QStringLiteral("CPKs(+)"));
    QCOMPARE(compared->shapeCount(), 1);
    QCOMPARE(*compared->shape(0)->points(), QList<QPointF>{firstMax(list->record(0))});

    setText(frame, "FindPeaksNum", QStringLiteral("2"));
    click(frame, "FindPeaksExecB");
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
    QWidget *frame = openFilter(body, {3});
    DataCtrls *list = body.dataCtrls();
    click(list->at(0), "SingleSel1");
    click(frame, qPrintable(path));
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
    const QString lastLine =
        path == QLatin1String("PMExec5") ? QStringLiteral("-1") : QString::number(28);
    QTRY_COMPARE(child<QLabel>(&body, QStringLiteral("FilteringLine"))->text(), lastLine);
}

QTEST_MAIN(TestFilterCtrl)
#include "tst_filterctrl.moc"
