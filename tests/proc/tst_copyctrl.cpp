#include "app/Body.h"
#include "core/Shape.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "display/ChCoord.h"
#include "display/ColorBar0.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "proc/CopyCtrl.h"
#include "proc/FindPeaksF.h"
#include "proc/PeakTable.h"
#include "proc/RecordCopy.h"
#include "proc/Resampler.h"

#include "../support/CliFixtures.h"
#include "../support/WidgetFixtures.h"

#include <QClipboard>
#include <QComboBox>
#include <QRadioButton>
#include <QStatusBar>

using fx::click;
using fx::setText;

namespace {

// value 1 + x + 10 y; the pixels with (x + 2 y) % 7 == 3 invalid.
TDDataWL *ramp(int w, int h)
{
    auto r = fx::record(
        w, h, [](int x, int y) { return 1.0 + x + 10.0 * y; },
        [](int x, int y) { return (x + 2 * y) % 7 != 3; }, QStringLiteral("src"));
    r->setLevel(2);
    return r.release();
}

// The resampling written out per output pixel in two dimensions.
void direct(const TDDataWL &s, int ow, int oh, int method, int ox, int oy, double *v, bool *ok)
{
    const double kx = double(s.width()) / ow, ky = double(s.height()) / oh;
    double sum = 0, weight = 0;
    bool bad = false;
    const auto take = [&](int x, int y, double w) {
        if (w <= 0) return;
        if (s.isValid(x, y)) {
            sum += w * s.value(x, y);
            weight += w;
        } else {
            bad = true;
        }
    };
    if (method == Resampler::Nearest) {
        take(std::min(s.width() - 1, int((ox + 0.5) * kx)),
             std::min(s.height() - 1, int((oy + 0.5) * ky)), 1.0);
    } else if (method == Resampler::Linear) {
        const double sx = std::clamp((ox + 0.5) * kx - 0.5, 0.0, s.width() - 1.0);
        const double sy = std::clamp((oy + 0.5) * ky - 0.5, 0.0, s.height() - 1.0);
        const int x0 = int(sx), y0 = int(sy);
        const int x1 = std::min(x0 + 1, s.width() - 1), y1 = std::min(y0 + 1, s.height() - 1);
        const double fx = sx - x0, fy = sy - y0;
        take(x0, y0, (1 - fx) * (1 - fy));
        if (x1 != x0) take(x1, y0, fx * (1 - fy));
        if (y1 != y0) take(x0, y1, (1 - fx) * fy);
        if (x1 != x0 && y1 != y0) take(x1, y1, fx * fy);
    } else {
        for (int y = 0; y < s.height(); ++y)
            for (int x = 0; x < s.width(); ++x) {
                const double wx = std::min(x + 1.0, (ox + 1) * kx) - std::max(double(x), ox * kx);
                const double wy = std::min(y + 1.0, (oy + 1) * ky) - std::max(double(y), oy * ky);
                if (wx > 0 && wy > 0) take(x, y, wx * wy);
            }
    }
    *ok = method == Resampler::Area ? weight > 0 : !bad;
    *v = *ok ? (method == Resampler::Area ? sum / weight : sum) : 0.0;
}

} // namespace

class TestCopyCtrl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<TDDataWL *>(); }
    void resizeMatchesDirectFormulas_data();
    void resizeMatchesDirectFormulas();
    void regionAndCuts();
    void panelInTheMainWindow();
    void commandLine();
};

void TestCopyCtrl::resizeMatchesDirectFormulas_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<int>("ow");
    QTest::addColumn<int>("oh");
    for (int m : {0, 1, 2}) {
        const QByteArray name = QByteArrayList{"nearest", "linear", "area"}[m];
        QTest::newRow(name + " down") << m << 5 << 4;
        QTest::newRow(name + " up") << m << 31 << 23;
        QTest::newRow(name + " to 1 x 1") << m << 1 << 1;
    }
}

void TestCopyCtrl::resizeMatchesDirectFormulas()
{
    QFETCH(int, method);
    QFETCH(int, ow);
    QFETCH(int, oh);
    const std::unique_ptr<TDDataWL> src(ramp(13, 9));
    const auto out = Resampler::resize(*src, ow, oh, Resampler::Method(method));
    QCOMPARE(out->width(), ow);
    double v;
    bool ok;
    for (int y = 0; y < oh; ++y)
        for (int x = 0; x < ow; ++x) {
            direct(*src, ow, oh, method, x, y, &v, &ok);
            QCOMPARE(out->isValid(x, y), ok);
            QVERIFY2(
                std::abs(out->value(x, y) - v) < 1e-9,
                qPrintable(
                    QStringLiteral("%1 %2: %3 vs %4").arg(x).arg(y).arg(out->value(x, y)).arg(v)));
        }
}

void TestCopyCtrl::regionAndCuts()
{
    const std::unique_ptr<TDDataWL> src(ramp(12, 10));
    const auto part = RecordCopy::region(*src, QRect(QPoint(3, 2), QPoint(40, 4)));
    QCOMPARE(part->dataId(), QStringLiteral("src: Cp(3,2,11,4)"));
    QCOMPARE(part->level(), 3);
    QCOMPARE(QSize(part->width(), part->height()), QSize(9, 3));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 9; ++x)
            QCOMPARE(part->isValid(x, y) ? part->value(x, y) : -1.0,
                     src->isValid(x + 3, y + 2) ? src->value(x + 3, y + 2) : -1.0);
    QVERIFY(!RecordCopy::region(*src, QRect(20, 20, 3, 3)));
    QVERIFY(!Resampler::resize(*src, 100000, 100000, Resampler::Area));

    // Cuts larger than the image and past its edges: outside is invalid, the size stays.
    const QList<QPointF> points = {{1, 1}, {11, 0}, {5, 9}, {5, 2}};
    const auto cuts = RecordCopy::aroundPoints(*src, points, 15, 4);
    QCOMPARE(cuts.size(), size_t(4));
    for (size_t n = 0; n < cuts.size(); ++n) {
        const TDDataWL &cut = *cuts[n];
        QCOMPARE(cut.dataId(), QStringLiteral("src: Pk[%1]").arg(n));
        QCOMPARE(QSize(cut.width(), cut.height()), QSize(15, 4));
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 15; ++x) {
                const int sx = int(points[n].x()) - 7 + x, sy = int(points[n].y()) - 2 + y;
                const bool inside = sx >= 0 && sy >= 0 && sx < 12 && sy < 10;
                QCOMPARE(cut.isValid(x, y), inside && src->isValid(sx, sy));
                if (inside) QCOMPARE(cut.value(x, y), src->value(sx, sy));
            }
    }
    QList<QList<int>> orders;
    for (auto o : {RecordCopy::AsFound, RecordCopy::ByXThenY, RecordCopy::ByYThenX,
                   RecordCopy::ByValueDescending})
        orders << RecordCopy::saveOrder(*src, points, o);
    QCOMPARE(orders, (QList<QList<int>>{{0, 1, 2, 3}, {0, 3, 2, 1}, {1, 0, 3, 2}, {2, 3, 0, 1}}));
}

void TestCopyCtrl::panelInTheMainWindow()
{
    Body body;
    body.show();
    auto *frame = fx::child(&body, QStringLiteral("CopyFrame"));
    QVERIFY(!frame->isVisible());
    click(&body, "Copy");
    QVERIFY(frame->isVisible());
    DataCtrls *list = body.dataCtrls();

    // A peak result arrives with its table and its markers.
    std::unique_ptr<TDDataWL> src(ramp(40, 30));
    const FindPeaksF finder(10.0, 3, true, true);
    body.calculatedData(finder.compute(src.get(), QRect(0, 0, 40, 30)));
    PeakTable *table = body.findChild<PeakTable *>();
    QVERIFY(table);
    click(table, "CopyB");
    const QStringList lines = QApplication::clipboard()->text().split(QLatin1Char('\n'));
    QCOMPARE(lines.at(1), QStringLiteral("0\t39\t29\t%1").arg(src->value(39, 29), 0, 'g', 17));
    QTemporaryDir dir;
    QVERIFY(table->saveCsv(dir.filePath(QStringLiteral("p.csv"))));
    QFile csv(dir.filePath(QStringLiteral("p.csv")));
    QVERIFY(csv.open(QIODevice::ReadOnly) && csv.readAll().startsWith("n,x,y,value\n0,39,29,"));
    QVERIFY(!table->saveCsv(dir.filePath(QStringLiteral("no/such/p.csv"))));

    DataCtrl *entry = list->at(0);
    ImgDisp *disp = entry->display();
    disp->resize(500, 400);
    const QImage shot = disp->grab().toImage();
    const auto screen = [&](double x, double y) {
        return disp->canvas()->mapTo(
            disp,
            QPointF(disp->coord()->dataToScreenX(x), disp->coord()->dataToScreenY(y)).toPoint());
    };
    // The dot of the list's colour sits on the peak pixel; a pixel far off shows the picture.
    QCOMPARE(QColor(shot.pixel(screen(39.5, 29.5))), ColorBar0::paletteColor(1));
    QCOMPARE(QColor(shot.pixel(screen(20.5, 15.5))),
             QColor(entry->record()->image()->pixel(20, 15)));

    // Region, resize and cuts of S1 through the panel's buttons.
    body.calculatedData(ramp(12, 10));
    QTest::mouseClick(list->at(1)->s1Button(), Qt::LeftButton);
    click(&body, "CopyRegionB");
    QCOMPARE(list->count(), 2);
    QVERIFY(body.statusBar()->currentMessage().contains(QStringLiteral("region")));
    list->record(1)->setRegion(QRect(QPoint(2, 1), QPoint(5, 3)));
    click(&body, "CopyRegionB");
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->record(2)->dataId(), QStringLiteral("src: Cp(2,1,5,3)"));

    setText(&body, "ResizeW", QStringLiteral("100000"));
    setText(&body, "ResizeH", QStringLiteral("100000"));
    click(&body, "ResizeB");
    QCOMPARE(list->count(), 3);
    QVERIFY(body.statusBar()->currentMessage().contains(QStringLiteral("limit")));
    click(&body, "ResizeByFactor");
    setText(&body, "ResizeFactor", QStringLiteral("0.5"));
    fx::child<QComboBox>(&body, QStringLiteral("ResizeMethod"))->setCurrentIndex(Resampler::Area);
    click(&body, "ResizeB");
    QCOMPARE(list->count(), 4);
    QCOMPARE(list->record(3)->dataId(), QStringLiteral("src: Rs(6,5)"));
    QCOMPARE(list->record(3)->level(), 3);

    click(&body, "AroundPeaksB");
    QVERIFY(body.statusBar()->currentMessage().contains(QStringLiteral("no peak list")));
    QTest::mouseClick(list->at(0)->s1Button(), Qt::LeftButton);
    setText(&body, "CutW", QStringLiteral("5"));
    setText(&body, "CutH", QStringLiteral("3"));
    fx::child<QComboBox>(&body, QStringLiteral("SaveOrder"))->setCurrentIndex(RecordCopy::ByXThenY);
    click(&body, "AroundPeaksB");
    QCOMPARE(list->count(), 7);
    const QList<QPointF> peaks = *RecordCopy::lastPeakList(*list->record(0))->points();
    const QList<int> order = RecordCopy::saveOrder(*list->record(0), peaks, RecordCopy::ByXThenY);
    QCOMPARE(body.copyCtrl()->saveCuts(dir.path()), 3);
    for (int k = 0; k < 3; ++k) {
        const QString id = QStringLiteral("src: PKs(+): Pk[%1]").arg(order[k]);
        QCOMPARE(list->record(4 + k)->dataId(), id);
        TDDataWL back(1, 1);
        QVERIFY(back.load(dir.filePath(list->record(0)->fileSafeId() +
                                       QStringLiteral("_%1.zmp").arg(k, 3, 10, QLatin1Char('0')))));
        QCOMPARE(back.dataId(), id);
    }
}

void TestCopyCtrl::commandLine()
{
    QTemporaryDir dir;
    const std::unique_ptr<TDDataWL> src(ramp(13, 9));
    const QString in = dir.filePath(QStringLiteral("in.zmp"));
    const QString out = dir.filePath(QStringLiteral("out.zmp"));
    QVERIFY(src->save(in));
    const auto run = [](const QStringList &args) { return runCli(args).status; };
    TDDataWL back(1, 1);
    QCOMPARE(run({"copy", "--rect", "2", "1", "5", "3", "--time", in, "-o", out}), 0);
    QVERIFY(back.load(out));
    QCOMPARE(back.dataId(), QStringLiteral("src: Cp(2,1,5,3)"));
    QCOMPARE(back.value(3, 2), src->value(5, 3));
    QCOMPARE(run({"resize", "--size", "7", "17", "--method", "area", in, "-o", out}), 0);
    QVERIFY(back.load(out));
    const auto want = Resampler::resize(*src, 7, 17, Resampler::Area);
    QCOMPARE(back.dataId(), QStringLiteral("src: Rs(7,17)"));
    QCOMPARE(back.value(4, 9), want->value(4, 9));
    QCOMPARE(back.validCount(), want->validCount());
    // Too large, no pixel, unknown method, rectangle off the image.
    QCOMPARE((QList<int>{run({"resize", "--size", "100000", "100000", in, "-o", out}),
                         run({"resize", "--size", "0", "0", in, "-o", out}),
                         run({"resize", "--size", "4", "4", "--method", "cubic", in, "-o", out}),
                         run({"copy", "--rect", "50", "50", "60", "60", in, "-o", out})}),
             (QList<int>{2, 2, 2, 2}));
}

QTEST_MAIN(TestCopyCtrl)
#include "tst_copyctrl.moc"
