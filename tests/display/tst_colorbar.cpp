#include "display/ColorBar.h"
#include "display/DrawText.h"

#include "../support/WidgetFixtures.h"

#include <QImage>
#include <QPainter>

namespace {

// Pixels in rows y0..y1 - 1 for which the test holds.
template <typename F> int count(const QImage &shot, int y0, int y1, F test)
{
    int n = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = 0; x < shot.width(); ++x)
            n += test(shot.pixelColor(x, y));
    return n;
}

bool isWhite(const QColor &c)
{
    return c == QColor(Qt::white);
}

} // namespace

class TstColorBar : public QObject
{
    Q_OBJECT

private:
    // Same size as the bar picture, so that screen rows are picture rows.
    std::unique_ptr<ColorBar> makeBar(int height)
    {
        auto bar = std::make_unique<ColorBar>();
        bar->resize(ColorBar::kPictureWidth, height);
        bar->show();
        if (!QTest::qWaitForWindowExposed(bar.get())) qWarning("bar not exposed");
        return bar;
    }

private slots:
    void barPictureOnScreen();
    void labelsOnWhiteGround();
    void markerDragAndTie();
    void dragBeyondEndsAndCrossing();
    void turnedTextKeepsCentreAndFits();
};

void TstColorBar::barPictureOnScreen()
{
    auto bar = makeBar(600);
    bar->paintCBar(); // the picture follows the canvas height it now has
    QImage shot = bar->grab().toImage();
    QCOMPARE(shot.size(), QSize(20, 600));
    // Screen row y shows the ramp at (599 - y) / 600; labels cover only the two ends.
    // Entries 383, 191, 574.
    QCOMPARE(fx::colours(shot, {{10, 299}, {3, 449}, {17, 149}}),
             (QList<QColor>{{255, 128, 0}, {191, 0, 0}, {255, 255, 64}}));
    // Heights beyond the ends clamp.
    QCOMPARE((QList<QColor>{bar->colorOfH(0), bar->colorOfH(600), bar->colorOfH(-5),
                            bar->colorOfH(900)}),
             (QList<QColor>{Qt::black, Qt::white, Qt::black, Qt::white}));

    // Markers at a quarter and three quarters: lines at their rows, ramp squeezed between.
    QSignalSpy updated(bar.get(), &ColorBar::cBarUpdated);
    bar->setMarkers(0.25, 0.75);
    bar->paintCBar();
    QCOMPARE(updated.size(), 1);
    shot = bar->grab().toImage();
    const QColor line(0, 192, 255);
    QCOMPARE(fx::colours(shot, {{10, 150}, {10, 450}, {10, 299}, {10, 499}, {10, 119}}),
             (QList<QColor>{line, line, QColor(255, 128, 0), Qt::black, Qt::white}));

    bar->setPixelFormat(ColorBar0::kFormatGrayscale8);
    bar->setMarkers(0.0, 1.0);
    bar->paintCBar();
    QCOMPARE(fx::colours(bar->grab().toImage(), {{10, 299}, {10, 449}}),
             (QList<QColor>{{128, 128, 128}, {64, 64, 64}}));

    // A bar of another height stretches the picture over itself.
    bar->setPixelFormat(ColorBar0::kFormatRgb32);
    bar->resize(20, 300);
    bar->paintCBar();
    shot = bar->grab().toImage();
    QCOMPARE(shot.size(), QSize(20, 300));
    const QColor mid = shot.pixelColor(10, 150);
    QVERIFY(mid.red() == 255 && mid.blue() == 0 && mid.green() > 120 && mid.green() < 135);
}

void TstColorBar::labelsOnWhiteGround()
{
    auto bar = makeBar(600);
    bar->setValueRange(-2.5, 1234.5);
    bar->paintCBar();
    const QImage shot = bar->grab().toImage();
    // The top label starts at the top end, the bottom one ends at the bottom end: white
    // ground and label-coloured glyph pixels there, but not in the middle of the bar.
    const auto greenish = [](const QColor &c) {
        return c.red() < 100 && c.green() > 200 && c.blue() > 120;
    };
    QVERIFY(count(shot, 3, 40, isWhite) > 20);
    QVERIFY(count(shot, 560, 597, isWhite) > 20);
    QCOMPARE(count(shot, 250, 350, isWhite), 0);
    QVERIFY(count(shot, 0, 100, greenish) > 5);
    QVERIFY(count(shot, 500, 600, greenish) > 5);
}

void TstColorBar::markerDragAndTie()
{
    auto bar = makeBar(600);
    QSignalSpy updating(bar.get(), &ColorBar::cBarUpdating);
    QSignalSpy updated(bar.get(), &ColorBar::cBarUpdated);

    // Moving without a button changes nothing.
    QTest::mouseMove(bar.get(), QPoint(10, 200));
    QVERIFY(updating.isEmpty());

    // Exactly midway between the default markers: neither is taken, yet owners still hear
    // of the move with a button held.
    const auto markers = [&bar] { return QPointF(bar->lowerMarker(), bar->upperMarker()); };
    QTest::mousePress(bar.get(), Qt::LeftButton, {}, QPoint(10, 300));
    QVERIFY(!bar->isDragging());
    QTest::mouseMove(bar.get(), QPoint(10, 200));
    QCOMPARE(updating.size(), 1);
    QCOMPARE(markers(), QPointF(0, 1));
    updated.clear();
    QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, QPoint(10, 200));
    QCOMPARE(updated.size(), 1);

    // Near the top: the upper marker follows the cursor.
    QTest::mousePress(bar.get(), Qt::LeftButton, {}, QPoint(10, 60));
    QVERIFY(bar->isDragging() && !bar->isDraggingLower());
    QTest::mouseMove(bar.get(), QPoint(10, 120));
    QCOMPARE(updating.size(), 2);
    QCOMPARE(markers(), QPointF(0, 0.8));
    updated.clear();
    QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, QPoint(10, 120));
    QCOMPARE(updated.size(), 1);
    QVERIFY(!bar->isDragging());
    // The marker line moved with it, and the ramp now ends at the marker.
    const QImage shot = bar->grab().toImage();
    // (1 - 0.8) * 600 truncates to 119 in doubles.
    QCOMPARE(shot.pixelColor(10, 119), QColor(0, 192, 255));
    QCOMPARE(shot.pixelColor(10, 110), QColor(255, 255, 255));

    // Near the bottom: the lower marker.
    QTest::mousePress(bar.get(), Qt::LeftButton, {}, QPoint(10, 540));
    QVERIFY(bar->isDragging() && bar->isDraggingLower());
    QTest::mouseMove(bar.get(), QPoint(10, 510));
    QTest::mouseMove(bar.get(), QPoint(10, 450));
    QCOMPARE(updating.size(), 4);
    QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, QPoint(10, 450));

    // Any button drags; the right one too.
    fx::drag(bar.get(), QPoint(10, 180), QPoint(10, 150), Qt::RightButton);
    QCOMPARE(markers(), QPointF(0.25, 0.75));

    // Midway between 0.25 and 0.75 is another exact tie.
    QTest::mousePress(bar.get(), Qt::LeftButton, {}, QPoint(10, 300));
    QVERIFY(!bar->isDragging());
    QTest::mouseMove(bar.get(), QPoint(10, 10));
    QCOMPARE(markers(), QPointF(0.25, 0.75));
    QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, QPoint(10, 10));
}

void TstColorBar::dragBeyondEndsAndCrossing()
{
    auto bar = makeBar(300);
    bar->setValueRange(0.0, 10.0);
    // The dragged value's label sits within 47 rows of the middle of the bar; the end
    // labels reach no further than 97 rows from the ends.
    const auto whiteInMiddle = [&] { return count(bar->grab().toImage(), 100, 200, isWhite); };
    QCOMPARE(whiteInMiddle(), 0);
    QTest::mousePress(bar.get(), Qt::LeftButton, {}, QPoint(10, 20));
    QTest::mouseMove(bar.get(), QPoint(10, -30));
    QCOMPARE(bar->upperMarker(), 1.1);
    QVERIFY(whiteInMiddle() > 10);
    QTest::mouseRelease(bar.get(), Qt::LeftButton, {}, QPoint(10, -30));
    // Not the full ramp any more: the top of the bar is short of white.
    QVERIFY(bar->colorOfH(300) != QColor(255, 255, 255));

    // The lower marker pulled above the upper one inverts the ramp.
    bar->setMarkers(0.0, 0.5);
    fx::drag(bar.get(), QPoint(10, 290), QPoint(10, 30));
    QCOMPARE(bar->lowerMarker(), 0.9);
    QCOMPARE(bar->colorOfH(0), QColor(255, 255, 255));
    QCOMPARE(bar->colorOfH(300), QColor(0, 0, 0));
}

void TstColorBar::turnedTextKeepsCentreAndFits()
{
    QImage img(200, 200, QImage::Format_RGB32);
    img.fill(Qt::black);
    QPainter p(&img);
    p.setPen(Qt::red);
    const QRectF box(50, 90, 100, 20); // centre (100, 100)
    const QRectF took = DrawText::draw(&p, 90.0, box, QFont(), Qt::AlignCenter, DrawText::kFit,
                                       QStringLiteral("12345"), 0.0, true, Qt::white);
    const QTransform after = p.transform();
    p.end();
    QVERIFY(after.isIdentity());
    // Turned by a quarter: tall and narrow, within the turned box (20 by 100 about the
    // centre) up to font rounding, and filling it along one of its sides.
    QVERIFY(took.height() > took.width());
    QVERIFY(qAbs(took.center().x() - 100.0) < 1.5 && qAbs(took.center().y() - 100.0) < 1.5);
    QVERIFY(took.width() <= 22.0 && took.height() <= 102.0);
    QVERIFY(took.width() > 16.0 || took.height() > 80.0);
    QCOMPARE(img.pixelColor(took.center().toPoint() + QPoint(0, int(took.height() / 2) - 1)).red(),
             255);
    QCOMPARE(fx::colours(img, {{100, 20}, {20, 100}}), QList<QColor>(2, Qt::black));

    // A largest size caps the fit; as-is mode keeps the font's own size.
    QPainter p2(&img);
    const QRectF capped = DrawText::draw(&p2, 90.0, box, QFont(), Qt::AlignCenter, DrawText::kFit,
                                         QStringLiteral("12345"), 6.0);
    QFont big;
    big.setPointSizeF(30.0);
    const QRectF asIs = DrawText::draw(&p2, 0.0, box, big, Qt::AlignCenter, DrawText::kAsIs,
                                       QStringLiteral("12345"));
    QVERIFY(capped.height() < took.height() * 0.8);
    QVERIFY(asIs.height() > 30.0); // overflows the 20-pixel box
    QVERIFY(qAbs(asIs.center().x() - 100.0) < 1.5);
}

QTEST_MAIN(TstColorBar)
#include "tst_colorbar.moc"
