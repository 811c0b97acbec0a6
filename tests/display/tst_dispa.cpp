#include "display/DispA.h"

#include "../support/WidgetFixtures.h"

#include <QImage>
#include <QPainter>

// QCOMPARE on every element, so that doubles are compared as loosely as QCOMPARE does.
#define COMPARE_EACH(actual, expected)                                                             \
    do {                                                                                           \
        const QList<double> a_ = actual, e_ = expected;                                            \
        QCOMPARE(a_.size(), e_.size());                                                            \
        for (qsizetype i_ = 0; i_ < a_.size(); ++i_)                                               \
            QCOMPARE(a_[i_], e_[i_]);                                                              \
    } while (false)

using fx::colours;
using fx::drag;

namespace {

QList<double> area(const ChCoord::Area &a)
{
    return {a.x0, a.x1, a.y0, a.y1};
}

} // namespace

class TstDispA : public QObject
{
    Q_OBJECT

private:
    // 201 x 101 pixels, so screen x runs 0..200 and y 0..100.
    std::unique_ptr<DispA> makeCanvas()
    {
        auto d = std::make_unique<DispA>();
        d->resize(201, 101);
        d->show();
        if (!QTest::qWaitForWindowExposed(d.get())) qWarning("canvas not exposed");
        return d;
    }

private slots:
    void cornersAndConversions();
    void plotMarginsAndEdges();
    void niceTicks_data();
    void niceTicks();
    void paintOrderAndBackground();
    void recorderFlags();
    void panNeedsShift();
    void rectangleZoomOrientations();
    void wheelZoom();
    void altFreezesReadOut();
    void enterLeaveAndAttach();
    void drawsVisiblePartOfImage();
};

void TstDispA::cornersAndConversions()
{
    auto d = makeCanvas();
    d->resize(300, 150);
    d->coord.setDataRange(-5.0, 2.0, 5.0, 12.0);
    QVERIFY(d->coord.xRangeSet() && d->coord.yRangeSet() && d->coord.hasCommittedRange());
    ChCoord &c = d->coord;
    COMPARE_EACH((QList<double>{c.dataToScreenX(-5.0), c.dataToScreenX(5.0), c.dataToScreenY(2.0),
                                c.dataToScreenY(12.0), c.dataToScreenYMirrored(2.0),
                                c.dataToScreenYMirrored(7.0)}),
                 (QList<double>{0, 299, 149, 0, -149, -74.5}));
    COMPARE_EACH(
        (QList<double>{c.screenToDataX(299.0), c.screenToDataY(0.0), c.screenToDataY(149.0)}),
        (QList<double>{5, 12, 2}));
    COMPARE_EACH((QList<double>{c.dataLenToScreenX(10.0), c.dataLenToScreenY(10.0),
                                c.screenLenToDataX(299.0)}),
                 (QList<double>{299, -149, 10}));
    COMPARE_EACH((QList<double>{c.screenToDataXClamped(-40.0), c.screenToDataXClamped(1000.0),
                                c.screenToDataYClamped(-40.0), c.screenToDataYClamped(400.0)}),
                 (QList<double>{-5, 5, 12, 2}));
}

void TstDispA::plotMarginsAndEdges()
{
    ChCoord c;
    c.setScreenArea(0, 399, 999, 0);
    c.setPlotAreaWithMargins();
    // x0 = trunc(99.9), y0 = 399 - trunc(39.9).
    COMPARE_EACH(area(c.plotArea()), (QList<double>{99, 950, 360, 19}));

    c.setPlotArea(100, 300, 200, 100);
    c.setDataRange(0, 0, 1, 1);
    QCOMPARE(c.dataToScreenX(0.5), 150.0);
    QCOMPARE(c.dataToScreenY(0.25), 250.0);
    // 10% of 100 pixels from either end, whichever way the area is given.
    QCOMPARE((QList<bool>{c.nearEdgePlotX(109.9), c.nearEdgePlotX(190.0), c.nearEdgePlotX(190.1),
                          c.nearEdgePlotY(119.0), c.nearEdgePlotY(281.0), c.nearEdgePlotY(200.0)}),
             (QList<bool>{true, false, true, true, true, false}));
    QCOMPARE((QList<bool>{c.nearEdgeFullX(50.0), c.nearEdgeFullX(500.0), c.nearEdgeFullY(390.0)}),
             (QList<bool>{true, false, true}));
}

void TstDispA::niceTicks_data()
{
    QTest::addColumn<double>("from");
    QTest::addColumn<double>("to");
    QTest::addColumn<QList<double>>("stepFirstLast");
    QTest::newRow("0..7.3") << 0.0 << 7.3 << QList<double>{1, 0, 7};
    QTest::newRow("reversed") << 0.25 << 0.0 << QList<double>{0.02, 0, 0.24};
    QTest::newRow("3..4.5") << 3.0 << 4.5 << QList<double>{0.2, 3, 4.4};
    QTest::newRow("m = 8") << -350.0 << 520.0 << QList<double>{200, -200, 400};
    QTest::newRow("m = 3") << 10.0 << 13.5 << QList<double>{0.5};
    QTest::newRow("empty") << 2.0 << 2.0 << QList<double>{0};
}

void TstDispA::niceTicks()
{
    QFETCH(double, from);
    QFETCH(double, to);
    QFETCH(QList<double>, stepFirstLast);
    const auto t = ChCoord::niceTicks(from, to);
    const double got[] = {t.step, t.first, t.last};
    for (qsizetype i = 0; i < stepFirstLast.size(); ++i)
        QCOMPARE(got[i], stepFirstLast[i]);
}

void TstDispA::paintOrderAndBackground()
{
    DispA d;
    d.resize(40, 30);
    QList<int> order;
    QSet<QPainter *> painters;
    QList<QPointF> sizes; // the mapper already knows each paint's size
    const auto layer = [&](int n, QRect r, Qt::GlobalColor c) {
        return [&, n, r, c](QPainter *p) {
            order << n;
            painters << p;
            sizes << QPointF(d.coord.plotArea().x1, d.coord.plotArea().y0);
            p->fillRect(r, c);
        };
    };
    connect(&d, &DispA::drawImage2, &d, layer(2, {0, 0, 10, 10}, Qt::blue));
    connect(&d, &DispA::drawImage0, &d, layer(0, {0, 0, 20, 20}, Qt::red));
    connect(&d, &DispA::drawImage1, &d, layer(1, {5, 5, 10, 10}, Qt::green));
    const QImage img = d.grab().toImage();
    QCOMPARE(order, (QList<int>{0, 1, 2}));
    QCOMPARE(painters.size(), 1);
    QCOMPARE(sizes, QList<QPointF>(3, QPointF(39, 29)));
    QCOMPARE(colours(img, {{2, 2}, {12, 12}, {18, 18}, {35, 25}}),
             (QList<QColor>{Qt::blue, Qt::green, Qt::red, Qt::white}));

    d.background = QColor(10, 20, 30);
    QCOMPARE(d.grab().toImage().pixelColor(39, 29), QColor(10, 20, 30));
    QCOMPARE(order.size(), 6);
}

void TstDispA::recorderFlags()
{
    auto d = makeCanvas();
    MouseC &m = d->mouse;
    QSignalSpy pressed(&m, &MouseC::mPressed);
    QSignalSpy released(&m, &MouseC::mReleased);
    QSignalSpy dclicked(&m, &MouseC::mDClicked);

    QTest::mouseMove(d.get(), QPoint(7, 8));
    // Flags: pressed, left, right, Shift, Ctrl, Alt.
    const auto flags = [&m] {
        return QList<bool>{m.pressed,    m.pressLeft, m.pressRight,
                           m.pressShift, m.pressCtrl, m.pressAlt};
    };
    QTest::mousePress(d.get(), Qt::LeftButton, Qt::ShiftModifier, QPoint(20, 30));
    QCOMPARE(pressed.size(), 1);
    QCOMPARE((QList<int>{m.prevX, m.x, m.pressY, m.pressButton, m.pressModifiers,
                         ChCoord::gestureCode(m.pressButton, m.pressModifiers)}),
             (QList<int>{7, 20, 30, 1, MouseC::kShift, 1}));
    QCOMPARE(flags(), (QList<bool>{true, true, false, true, false, false}));

    QTest::mouseMove(d.get(), QPoint(25, 33));
    QCOMPARE(QPoint(m.prevX, m.x), QPoint(20, 25));
    QTest::mouseRelease(d.get(), Qt::LeftButton, Qt::ControlModifier, QPoint(26, 34));
    QCOMPARE(released.size(), 1);
    QVERIFY(!m.pressed && !m.pressLeft);
    QCOMPARE(QPoint(m.releaseX, m.releaseModifiers), QPoint(26, MouseC::kCtrl));

    // Two keys held is not "exactly" either of them.
    QTest::mousePress(d.get(), Qt::RightButton, Qt::ShiftModifier | Qt::ControlModifier,
                      QPoint(40, 41));
    QCOMPARE(flags(), (QList<bool>{true, false, true, false, false, false}));
    QCOMPARE(m.pressButton, 2);
    QCOMPARE(ChCoord::gestureCode(m.pressButton, m.pressModifiers), 12);
    QTest::mouseRelease(d.get(), Qt::RightButton, Qt::ControlModifier, QPoint(40, 41));
    // Any further bit, even the keypad's, is not "exactly" Shift either.
    QTest::mousePress(d.get(), Qt::LeftButton, Qt::ShiftModifier | Qt::KeypadModifier,
                      QPoint(40, 41));
    QVERIFY(!m.pressShift);
    fx::move(d.get(), QPoint(41, 41), Qt::ControlModifier | Qt::KeypadModifier, Qt::LeftButton);
    QVERIFY(!m.moveCtrl);
    fx::move(d.get(), QPoint(40, 41), Qt::ControlModifier, Qt::LeftButton);
    QVERIFY(m.moveCtrl && !m.moveShift);
    QTest::mouseRelease(d.get(), Qt::LeftButton, {}, QPoint(40, 41));

    // A double click records its own fields and leaves the current position alone.
    QTest::mouseDClick(d.get(), Qt::LeftButton, Qt::AltModifier, QPoint(60, 61));
    QCOMPARE(dclicked.size(), 1);
    QCOMPARE((QList<int>{m.dClickX, m.dClickModifiers, m.x}), (QList<int>{60, MouseC::kAlt, 40}));

    const int sca = MouseC::kShift | MouseC::kCtrl | MouseC::kAlt;
    QCOMPARE((QList<int>{ChCoord::gestureCode(Qt::LeftButton, 0),
                         ChCoord::gestureCode(Qt::LeftButton, MouseC::kCtrl | MouseC::kAlt),
                         ChCoord::gestureCode(Qt::RightButton, sca),
                         ChCoord::gestureCode(Qt::LeftButton, MouseC::kShift | MouseC::kAlt),
                         ChCoord::gestureCode(Qt::LeftButton, MouseC::kShift | MouseC::kMeta),
                         ChCoord::gestureCode(Qt::MiddleButton, 0)}),
             (QList<int>{0, 6, 15, 5, 16, 16}));
    QCOMPARE((QList<int>{MouseC::wheelStep(120), MouseC::wheelStep(-360), MouseC::wheelStep(60)}),
             (QList<int>{1, -3, 0}));
}

void TstDispA::panNeedsShift()
{
    auto d = makeCanvas();
    ChCoord &c = d->coord;
    c.setDataRange(0, 0, 200, 100); // screen x = data x, screen y = 100 - data y
    QSignalSpy updated(&c, &ChCoord::updated);
    QSignalSpy pos(&c, &ChCoord::nowPos);

    drag(d.get(), QPoint(100, 50), QPoint(120, 40));
    COMPARE_EACH(area(c.dataRange()), (QList<double>{0, 200, 0, 100}));
    QCOMPARE(fx::lastPoint(pos), QPointF(120.0, 60.0));

    QTest::mousePress(d.get(), Qt::LeftButton, Qt::ShiftModifier, QPoint(100, 50));
    const auto before = updated.size();
    QTest::mouseMove(d.get(), QPoint(110, 45));
    QTest::mouseMove(d.get(), QPoint(120, 40));
    QTest::mouseRelease(d.get(), Qt::LeftButton, Qt::ShiftModifier, QPoint(120, 40));
    QVERIFY(updated.size() >= before + 2);
    // The data point that was under the cursor follows it.
    COMPARE_EACH(area(c.dataRange()), (QList<double>{-20, 180, -10, 90}));
    QCOMPARE(QPointF(c.screenToDataX(120), c.screenToDataY(40)), QPointF(100, 50));
    // Panning is a view change only.
    COMPARE_EACH(area(c.committedRange()), (QList<double>{0, 200, 0, 100}));

    // Another gesture can be made the pan gesture.
    c.setPanCode(2);
    drag(d.get(), QPoint(100, 50), QPoint(90, 50), Qt::LeftButton, Qt::ShiftModifier);
    QCOMPARE(c.dataRange().x0, -20.0);
    drag(d.get(), QPoint(100, 50), QPoint(90, 50), Qt::LeftButton, Qt::ControlModifier);
    QCOMPARE(c.dataRange().x0, -10.0);
}

void TstDispA::rectangleZoomOrientations()
{
    auto d = makeCanvas();
    ChCoord &c = d->coord;
    QSignalSpy updated(&c, &ChCoord::updated);
    struct Case
    {
        QPoint from, to;
        double y0, y1;
    };
    // Image-like mapping: data x = screen x, data y = screen row.
    const Case cases[] = {{{10, 10}, {110, 60}, 60, 10},
                          {{110, 60}, {10, 10}, 60, 10},
                          {{10, 60}, {110, 10}, 10, 60},
                          {{110, 10}, {10, 60}, 10, 60}};
    for (const Case &k : cases) {
        c.setDataRange(0, 100, 200, 0);
        drag(d.get(), k.from, k.to, Qt::RightButton);
        COMPARE_EACH(area(c.dataRange()), (QList<double>{10, 110, k.y0, k.y1}));
        QCOMPARE(c.committedRange().y0, k.y0);
    }
    // Equal x: the release point gives y0.
    c.setDataRange(0, 100, 200, 0);
    drag(d.get(), QPoint(50, 20), QPoint(50, 70), Qt::RightButton);
    QCOMPARE(QPointF(c.dataRange().y0, c.dataRange().y1), QPointF(70, 20));

    // A modifier at the release cancels the zoom but not the notification.
    c.setDataRange(0, 100, 200, 0);
    updated.clear();
    drag(d.get(), QPoint(10, 10), QPoint(110, 60), Qt::RightButton, {}, Qt::ControlModifier);
    COMPARE_EACH(area(c.dataRange()), (QList<double>{0, 200, 100, 0}));
    QVERIFY(!updated.isEmpty());
    // The left button never zooms.
    drag(d.get(), QPoint(10, 10), QPoint(110, 60));
    QCOMPARE(c.dataRange().x1, 200.0);
}

void TstDispA::wheelZoom()
{
    auto d = makeCanvas();
    ChCoord &c = d->coord;
    QSignalSpy updated(&c, &ChCoord::updated);
    c.setDataRange(0, 0, 200, 100);

    // Middle: both axes zoom in about the point under the cursor.
    const auto spin = [&](QPoint at, std::initializer_list<int> deltas) {
        QTest::mouseMove(d.get(), at);
        for (int delta : deltas)
            fx::wheel(d.get(), at, delta);
        const ChCoord::Area a = c.dataRange();
        return QList<double>{a.x1 - a.x0, a.y1 - a.y0};
    };
    COMPARE_EACH(spin({50, 40}, {120}), (QList<double>{200.0 / 1.1, 100.0 / 1.1}));
    QCOMPARE(updated.size(), 1);
    QCOMPARE(QPointF(c.screenToDataX(50), c.screenToDataY(40)), QPointF(50, 60));
    QCOMPARE(c.committedRange().x0, c.dataRange().x0);

    // Three notches out and three in restore the range up to rounding; the notch count of
    // a single event is not used, and less than a notch (truncated to 0) zooms in as well.
    spin({50, 40}, {-360, -120, -120, 120, 30});
    QVERIFY(qAbs(c.dataRange().x0) < 1e-9);
    QVERIFY(qAbs(c.dataRange().x1 - 200.0) < 1e-9);
    QVERIFY(qAbs(c.dataRange().y1 - 100.0) < 1e-9);

    // Left tenth: over the vertical axis, only y changes; bottom tenth: only x; a corner is
    // near both edges: both.
    c.setDataRange(0, 0, 200, 100);
    COMPARE_EACH(spin({5, 40}, {-120}), (QList<double>{200, 110}));
    QCOMPARE(c.dataRange().x0, 0.0);
    QCOMPARE(c.screenToDataY(40), 60.0);
    c.setDataRange(0, 0, 200, 100);
    COMPARE_EACH(spin({100, 95}, {120}), (QList<double>{200.0 / 1.1, 100}));
    QCOMPARE(c.dataRange().y0, 0.0);
    c.setDataRange(0, 0, 200, 100);
    COMPARE_EACH(spin({2, 98}, {120}), (QList<double>{200.0 / 1.1, 100.0 / 1.1}));

    c.setWheelZoomEnabled(false);
    c.setDataRange(0, 0, 200, 100);
    updated.clear();
    fx::wheel(d.get(), QPoint(2, 98), 120);
    QCOMPARE(c.dataRange().x1, 200.0);
    QVERIFY(updated.isEmpty());
}

void TstDispA::altFreezesReadOut()
{
    auto d = makeCanvas();
    d->coord.setDataRange(0, 0, 200, 100);
    QSignalSpy moved(&d->mouse, &MouseC::mMoved);
    QSignalSpy pos(&d->coord, &ChCoord::nowPos);

    QTest::mouseMove(d.get(), QPoint(10, 10));
    fx::move(d.get(), QPoint(20, 20), Qt::AltModifier);
    QCOMPARE(moved.size(), 2);
    QVERIFY(d->mouse.moveAlt);
    QCOMPARE(fx::lastPoint(pos).x(), 20.0);

    QTest::mouseMove(d.get(), QPoint(30, 30));
    fx::move(d.get(), QPoint(40, 40), Qt::NoModifier);
    QCOMPARE((QList<int>{int(moved.size()), int(pos.size()), d->mouse.x}), (QList<int>{2, 2, 20}));

    // A press records new modifiers and lifts the freeze.
    QTest::mousePress(d.get(), Qt::LeftButton, {}, QPoint(50, 50));
    QTest::mouseMove(d.get(), QPoint(60, 50));
    QCOMPARE(QPoint(moved.size(), d->mouse.x), QPoint(3, 60));
    QVERIFY(!d->mouse.moveAlt);
    QTest::mouseRelease(d.get(), Qt::LeftButton, {}, QPoint(60, 50));
}

void TstDispA::enterLeaveAndAttach()
{
    DispA d;
    QSignalSpy enterLeave(&d.mouse, &MouseC::mEnterLeave);
    QSignalSpy entered(&d.mouse, &MouseC::mEntered);
    QSignalSpy left(&d.mouse, &MouseC::mLeaved);
    QEnterEvent enter(QPointF(3, 3), QPointF(3, 3), QPointF(3, 3));
    QApplication::sendEvent(&d, &enter);
    QVERIFY(d.mouse.inside);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&d, &leave);
    QVERIFY(!d.mouse.inside);
    QCOMPARE(QPoint(entered.size(), left.size()), QPoint(1, 1));
    QCOMPARE(enterLeave, (QList<QList<QVariant>>{{true}, {false}}));

    // After attaching another recorder the canvas's own no longer drives the mapper.
    MouseC other;
    d.coord.attachMouse(&other);
    QCOMPARE(d.coord.mouse(), &other);
    QSignalSpy updated(&d.coord, &ChCoord::updated);
    QTest::mousePress(&d, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseRelease(&d, Qt::LeftButton, {}, QPoint(5, 5));
    QVERIFY(updated.isEmpty());
    emit other.mPressed();
    QCOMPARE(updated.size(), 1);
    d.coord.attachMouse(nullptr);
    QCOMPARE(d.coord.mouse(), &other);
    emit other.mPressed();
    QCOMPARE(updated.size(), 1);
}

void TstDispA::drawsVisiblePartOfImage()
{
    // 4 x 2 cells with distinct colours, row 0 on top as in an image display.
    QImage src(4, 2, QImage::Format_RGB888);
    const QColor cols[2][4] = {{Qt::red, Qt::green, Qt::blue, Qt::yellow},
                               {Qt::cyan, Qt::magenta, Qt::black, Qt::gray}};
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 4; ++i)
            src.setPixelColor(i, j, cols[j][i]);

    DispA d;
    d.resize(101, 101);
    connect(&d, &DispA::drawImage1, &d,
            [&](QPainter *p) { d.coord.drawImage(p, src, QRectF(0, 0, 4, 2)); });

    // Zoomed on cells (1..3, 0..2): two columns visible, 50 screen pixels each.
    d.coord.setDataRange(1, 2, 3, 0);
    QImage shot = d.grab().toImage();
    QCOMPARE(colours(shot, {{20, 20}, {80, 20}, {20, 80}, {80, 80}}),
             (QList<QColor>{Qt::green, Qt::blue, Qt::magenta, Qt::black}));
    const QRectF vis = d.coord.visibleSourceRect(src.size(), QRectF(0, 0, 4, 2));
    QVERIFY(qAbs(vis.left() - 1.0) < 1e-9 && vis.right() > 3.0 && vis.right() < 3.05);
    QCOMPARE(QPointF(vis.top(), vis.bottom()), QPointF(0.0, 2.0));

    // With data y growing upward the picture is drawn upside down.
    d.coord.setDataRange(1, 0, 3, 2);
    shot = d.grab().toImage();
    QCOMPARE(colours(shot, {{20, 20}, {80, 80}}), (QList<QColor>{Qt::magenta, Qt::blue}));

    // Panned off the picture: nothing but background.
    d.coord.setDataRange(10, 2, 12, 0);
    QVERIFY(d.coord.visibleSourceRect(src.size(), QRectF(0, 0, 4, 2)).isEmpty());
    shot = d.grab().toImage();
    QCOMPARE(shot.pixelColor(50, 50), QColor(Qt::white));
}

QTEST_MAIN(TstDispA)
#include "tst_dispa.moc"
