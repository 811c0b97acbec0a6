#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "proc/CompositeCtrl.h"
#include "proc/RgbComposite.h"

#include "../support/WidgetFixtures.h"

#include <QCheckBox>
#include <QImage>
#include <QLabel>

using fx::child;

namespace {

// value(x, y) = scale * x + y, all valid.
TDDataWL *makeRecord(int w, int h, double scale)
{
    return fx::record(w, h, [scale](int x, int y) { return scale * x + y; }).release();
}

} // namespace

class TestComposite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesPngOfChannelValues();
    void controlFollowsSelectionA();
};

void TestComposite::writesPngOfChannelValues()
{
    const std::unique_ptr<TDDataWL> red(makeRecord(6, 5, 1.0));
    const std::unique_ptr<TDDataWL> green(makeRecord(4, 7, 2.0));
    const std::unique_ptr<TDDataWL> blue(makeRecord(6, 6, 0.0));
    red->setValue(1, 2, 3.0, false);

    RgbComposite comp;
    QVERIFY(comp.isEmpty());
    QVERIFY(comp.compose().isNull());
    comp.setChannel(RgbComposite::Red, red.get(), 0.0, 5.0);
    comp.setChannel(RgbComposite::Green, green.get(), 0.0, 10.0);
    comp.setChannel(RgbComposite::Blue, blue.get(), 5.0, 0.0);
    QCOMPARE(comp.size(), QSize(4, 5));

    QTemporaryDir dir;
    const QString png = dir.filePath(QStringLiteral("c.png"));
    QVERIFY(comp.save(png));
    QImage back(png);
    QCOMPARE(back.size(), QSize(4, 5));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 4; ++x)
            QCOMPARE(back.pixel(x, y),
                     qRgb((x == 1 && y == 2) ? 0 : RgbComposite::level(x + y, true, 0.0, 5.0),
                          RgbComposite::level(2.0 * x + y, true, 0.0, 10.0),
                          RgbComposite::level(y, true, 5.0, 0.0)));

    // A missing channel is black; JPEG goes by the suffix.
    comp.setChannel(RgbComposite::Green, nullptr, 0.0, 1.0);
    QCOMPARE(comp.size(), QSize(6, 5));
    QVERIFY(comp.save(dir.filePath(QStringLiteral("c.jpg"))));
    const QImage jpeg(dir.filePath(QStringLiteral("c.jpg")));
    QVERIFY(jpeg.size() == QSize(6, 5) && qGreen(jpeg.pixel(5, 4)) < 24);

    // Clamped at both ends; low above high inverts; NaN is black; a flat range is a step.
    using C = RgbComposite;
    QCOMPARE((QList<int>{C::level(-3.0, true, 0, 10), C::level(30.0, true, 0, 10),
                         C::level(2.0, true, 10, 0), C::level(std::nan(""), true, 0, 10),
                         C::level(4.0, true, 4, 4)}),
             (QList<int>{0, 255, 204, 0, 255}));

    // A preview fits the box and samples the picture.
    const QImage preview = comp.compose(QSize(3, 3));
    QCOMPARE(preview.size(), QSize(3, 2));
    QCOMPARE(preview.pixel(2, 1), comp.compose().pixel(4, 2));
}

void TestComposite::controlFollowsSelectionA()
{
    ImgBase base;
    DataCtrls list(QStringLiteral("DCs of test"));
    list.setImgBase(&base);
    CompositeCtrl ctrl(&list);
    connect(&list, &DataCtrls::selsChanged, &ctrl, &CompositeCtrl::selsChanged);
    list.addData(makeRecord(8, 8, 1.0));  // 0..14
    list.addData(makeRecord(8, 8, 2.0));  // 0..21
    list.addData(makeRecord(8, 6, 10.0)); // 0..75
    list.addData(makeRecord(8, 8, 3.0));
    list.show();
    ctrl.show();
    auto *save = child(&ctrl, QStringLiteral("SaveComposite"));
    QVERIFY(!save->isEnabled());
    QTemporaryDir dir;

    // Ticked in the order 2, 0: list order decides, so entry 0 is red and entry 2 green.
    const auto tickA = [&list](int k) { fx::click(list.at(k), "MultiSelA"); };
    tickA(2);
    tickA(0);
    QVERIFY(save->isEnabled());
    QCOMPARE(ctrl.composite().record(RgbComposite::Red), list.record(0));
    QCOMPARE(ctrl.composite().record(RgbComposite::Green), list.record(2));
    QVERIFY(!ctrl.composite().record(RgbComposite::Blue));
    const auto edit = [&ctrl](const char *name) {
        return child<QLineEdit>(&ctrl, QLatin1String(name));
    };
    QCOMPARE(edit("RedHigh")->text(), QStringLiteral("14"));
    QCOMPARE(edit("GreenHigh")->text(), QStringLiteral("75"));
    QVERIFY(!edit("BlueLow")->isEnabled());
    QVERIFY(!child<QLabel>(&ctrl, QStringLiteral("Preview"))->pixmap().isNull());

    fx::setText(edit("RedLow"), QStringLiteral("2"));
    fx::setText(edit("RedHigh"), QStringLiteral("4"));
    QCOMPARE(ctrl.composite().low(RgbComposite::Red), 2.0);
    QCOMPARE(ctrl.composite().high(RgbComposite::Red), 4.0);

    // An edited range survives a selection change that keeps the channel's image.
    tickA(3);
    QCOMPARE(ctrl.composite().high(RgbComposite::Red), 4.0);
    QCOMPARE(ctrl.composite().record(RgbComposite::Blue), list.record(3));

    QSignalSpy saved(&ctrl, &CompositeCtrl::compositeSaved);
    const QString file = dir.filePath(QStringLiteral("rgb"));
    QVERIFY(ctrl.saveComposite(file));
    QCOMPARE(saved.count(), 1);
    QCOMPARE(saved.at(0).at(0).toString(), file + QStringLiteral(".png"));
    const QImage img(file + QStringLiteral(".png"));
    QCOMPARE(img.size(), QSize(8, 6));
    // Display ranges start at the smallest value other than zero.
    const QRgb p = img.pixel(1, 2); // red 3 in [2, 4], green 12 in [1, 75], blue 5 in [1, 28]
    QCOMPARE(p, qRgb(128, 38, 38));

    fx::click(&ctrl, "ResetRanges");
    QCOMPARE(edit("RedLow")->text(), QStringLiteral("1"));
    QCOMPARE(ctrl.composite().high(RgbComposite::Red), 14.0);

    // Removing the red entry moves the others up a channel.
    list.removeDataCtrl(list.at(0));
    QCOMPARE(ctrl.composite().record(RgbComposite::Red), list.record(1));
    QVERIFY(!ctrl.composite().record(RgbComposite::Blue));
}

QTEST_MAIN(TestComposite)
#include "tst_composite.moc"
