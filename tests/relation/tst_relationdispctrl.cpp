// The relation frame in the main window: its options' readers, selections drawn with the
// mouse on the map and marked in the S1 and S2 displays, and the mask image.
#include "app/Body.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/ChCoord.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "relation/RelationDispCtrl.h"
#include "relation/RelationDispCtrlOptions.h"
#include "tests/support/WidgetFixtures.h"

#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <cmath>
#include <numbers>

namespace {

using fx::child;

void typeInto(QLineEdit *edit, const QString &text)
{
    edit->setFocus();
    fx::setText(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
}

} // namespace

class TestRelationDispCtrl : public QObject
{
    Q_OBJECT

private slots:
    void optionsReadFieldsAfresh_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("want");
        const auto row = [](const char *name, const char *field, const char *text, double want) {
            QTest::newRow(name) << QString::fromLatin1(field) << QString::fromLatin1(text) << want;
        };
        row("hw 7", "kernelHW_", "7", 7.0);
        row("hw 2.5", "kernelHW_", "2.5", 0.0);
        row("hw -3", "kernelHW_", "-3", -3.0);
        row("hw past 32 bits", "kernelHW_", "4294967296", 0.0);
        row("hw text", "kernelHW_", "ten", 0.0);
        row("b 1e-3", "bVal_", "1e-3", 0.001);
        row("b text", "bVal_", "b", 0.0);
        row("R 0.5", "colorMaxRange_", "0.5", 0.5);
        row("R empty", "colorMaxRange_", "", 0.0);
    }

    void optionsReadFieldsAfresh()
    {
        QFETCH(QString, field);
        QFETCH(QString, text);
        QFETCH(double, want);
        RelationDispCtrlOptions options;
        options.show();
        QCOMPARE((QList<double>{double(options.kernelHalfWidth()), options.boundaryValue(),
                                options.colorMaxRange()}),
                 (QList<double>{10, 0.01, 0.002}));
        typeInto(child<QLineEdit>(&options, field.toLatin1().constData()), text);
        const double got = field == "kernelHW_" ? options.kernelHalfWidth()
                           : field == "bVal_"   ? options.boundaryValue()
                                                : options.colorMaxRange();
        QCOMPARE(got, want);
    }

    void mouseSelectionMarksImages_data()
    {
        QTest::addColumn<bool>("square");
        QTest::newRow("sector") << false;
        QTest::newRow("square") << true;
    }

    void mouseSelectionMarksImages()
    {
        QFETCH(bool, square);
        Body body;
        constexpr int kW = 24, kH = 18;
        for (int k = 0; k < 2; ++k) {
            auto *r = new TDDataWL(kW, kH);
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x)
                    r->setValue(x, y, k == 0 ? x + 1.0 : y + 1.0 + 0.3 * x, !(x == 5 && y == 5));
            r->setDataId(k == 0 ? "a" : "b");
            body.calculatedData(r);
        }
        DataCtrls *list = body.dataCtrls();
        QTest::mouseClick(child<QRadioButton>(list->at(0), "SingleSel1"), Qt::LeftButton);
        QTest::mouseClick(child<QRadioButton>(list->at(1), "SingleSel2"), Qt::LeftButton);
        QTest::mouseClick(child<QPushButton>(&body, "Relation"), Qt::LeftButton);
        RelationDispCtrl *rel = body.relationDispCtrl();
        QVERIFY(rel->isVisible());
        rel->resize(600, 700);
        if (square)
            QTest::mouseClick(child<QRadioButton>(rel, "selRegion_"), Qt::LeftButton);
        else
            typeInto(child<QLineEdit>(rel, "sectorWDeg_"), "30"); // a sector 30 degrees wide
        DispA *canvas = rel->canvas();
        QVERIFY(!canvas->grab().isNull()); // lays out the plot area
        QVERIFY(!rel->picture().isNull());

        // The pixel pointed at in an image is crossed on the map. The S2 display is the tab in
        // front.
        body.imgBase()->show();
        ImgDisp *disp1 = list->at(1)->display();
        QVERIFY(QTest::qWaitForWindowExposed(disp1->window()));
        QVERIFY(disp1->canvas()->isVisible());
        const QImage before = disp1->canvas()->grab().toImage();
        ChCoord *ic = disp1->coord();
        QTest::mouseMove(disp1->canvas(), QPoint(1, 1)); // a move to where the mouse is is dropped
        QTest::mouseMove(disp1->canvas(),
                         QPoint(int(ic->dataToScreenX(3.5)), int(ic->dataToScreenY(4.5))));
        QCOMPARE(rel->pointedPixel(), QPoint(3, 4));

        // Drag on the map: the value plane under press and release decides the selection.
        const QPoint a(canvas->width() / 3, canvas->height() / 2);
        const QPoint b(canvas->width() * 2 / 3, canvas->height() / 3);
        const ChCoord &c = canvas->coord;
        const double ax = c.screenToDataX(a.x()), ay = c.screenToDataY(a.y());
        const double bx = c.screenToDataX(b.x()), by = c.screenToDataY(b.y());
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, a);
        QTest::mouseMove(canvas, (a + b) / 2);
        QTest::mouseMove(canvas, b);
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, b);

        const double half = 15.0 / 180.0 * std::numbers::pi;
        const double dir = std::atan2(by, bx);
        long long want = 0;
        const auto &marks = rel->marks();
        QCOMPARE(marks.size(), size_t(kW * kH));
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) {
                const double v1 = x + 1.0, v2 = y + 1.0 + 0.3 * x;
                double d = std::fabs(std::atan2(v2, v1) - dir);
                d = std::min(d, 2 * std::numbers::pi - d);
                const bool in = square ? (v1 >= std::min(ax, bx) && v1 <= std::max(ax, bx) &&
                                          v2 >= std::min(ay, by) && v2 <= std::max(ay, by))
                                       : d <= half;
                const bool marked = in && !(x == 5 && y == 5);
                QCOMPARE(bool(marks[size_t(y) * kW + x]), marked);
                want += marked;
            }
        QVERIFY(want > 0 && want < kW * kH - 1);
        QCOMPARE(rel->markedCount(), want);

        // The S2 display shows the marks over the picture, and only there.
        const QImage after = disp1->canvas()->grab().toImage();
        int changedMarked = 0, changedOther = 0;
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) {
                if (x == 3 || y == 4) continue; // the pointed pixel's cross
                const QPoint s(int(ic->dataToScreenX(x + 0.5)), int(ic->dataToScreenY(y + 0.5)));
                const bool changed = before.pixel(s) != after.pixel(s);
                (marks[size_t(y) * kW + x] ? changedMarked : changedOther) += changed;
            }
        QVERIFY(changedMarked > 0);
        QCOMPARE(changedOther, 0);

        // Composite joins the data list with the mask.
        QTest::mouseClick(child<QPushButton>(rel, "composite_"), Qt::LeftButton);
        QCOMPARE(list->count(), 3);
        const TDDataWL *mask = list->record(2);
        QCOMPARE(mask->dataId(), "Rel[a vs b]");
        QCOMPARE(mask->level(), 1);
        for (int i = 0; i < kW * kH; ++i) {
            QCOMPARE(mask->value(i), double(marks[size_t(i)]));
            QCOMPARE(mask->isValid(i), i != 5 * kW + 5);
        }

        // "No" drops the selection and its marks.
        QTest::mouseClick(child<QRadioButton>(rel, "selNoRegion_"), Qt::LeftButton);
        QCOMPARE(rel->markedCount(), 0);
        QVERIFY(disp1->canvas()->grab().toImage() != after);
    }
};

QTEST_MAIN(TestRelationDispCtrl)
#include "tst_relationdispctrl.moc"
