#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"
#include "xafs/LCFReference.h"
#include "xafs/LcfA.h"
#include "xafs/LcfACtrl.h"
#include "xafs/LcfEngine.h"
#include "xafs/LcfModel.h"
#include "xafs/SpectrumPlot.h"
#include "xafs/StackEnergy.h"
#include "xafs/VictLine.h"
#include "xafs/XafsFileSelect.h"

#include "tests/support/WidgetFixtures.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <cmath>

namespace {

const QString kXafs = QStringLiteral(ZELMAP_TESTDATA "/xafs/");

using fx::child;

void typeInto(QLineEdit *edit, const QString &text)
{
    fx::setText(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
}

// Chooses a file the way a user does: Select, then the dialog's choice.
void choose(LCFReference &ref, const QString &path)
{
    QTest::mouseClick(child<QPushButton>(ref.fileSelect(), "Select"), Qt::LeftButton);
    _FileDialog *dialog = ref.fileSelect()->dialog();
    QVERIFY(dialog->isVisible());
    dialog->selectFile(path);
    QTest::keyClick(child<QLineEdit>(dialog, "fileNameEdit"), Qt::Key_Return);
}

const QList<double> kEnergies = {8970, 8980, 8984, 8990, 9000, 9020};
const QStringList kRefFiles = {"cu_foil_herfd.dat", "cu_cuo_herfd.dat"};

// Weights of the two references at pixel (x, y) of the synthetic stack.
const auto weightA = [](int x, int) { return 0.2 + 0.05 * x; };
const auto weightB = [](int, int y) { return 0.1 + 0.1 * y; };

// An 8 x 8 image at energy e mixing the references with the pixel's weights.
TDDataWL *mixture(const QList<LcfModel::Reference> &refs, double e, int width = 8)
{
    auto *r = new TDDataWL(width, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < width; ++x)
            r->setValue(qsizetype(y) * width + x,
                        weightA(x, y) * refs[0].curve(e) + weightB(x, y) * refs[1].curve(e), true);
    r->setDataId(QStringLiteral("mu_%1eV").arg(e));
    return r;
}

QList<LcfModel::Reference> references()
{
    QList<LcfModel::Reference> refs;
    for (const QString &f : kRefFiles) {
        QString error;
        refs << *LcfModel::fromFile(kXafs + f, VictLine::kStraight, 0.0, &error);
    }
    return refs;
}

void moveOver(ImgDisp *disp, int x, int y)
{
    fx::move(disp->canvas(),
             QPoint(int(disp->coord()->dataToScreenX(x + 0.5)),
                    int(disp->coord()->dataToScreenY(y + 0.5))),
             Qt::NoModifier);
}

} // namespace

class TestLcfA : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void energyFromLabel_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<double>("energy"); // 0: none
        QTest::newRow("glued") << "I_7117eV" << 7117.0;
        QTest::newRow("spaced fraction") << "mu 7112.5 eV" << 7112.5;
        QTest::newRow("keV") << "Fe_7.112keV.tif" << 7112.0;
        QTest::newRow("first wins") << "a 7100eV b 7200eV" << 7100.0;
        QTest::newRow("hyphen separates") << "mu-7112eV.zmp" << 7112.0;
        QTest::newRow("after a letter") << "runE7120eV.zmp" << 7120.0;
        QTest::newRow("word") << "7117eVal" << 0.0;
        QTest::newRow("no unit") << "scan_7117" << 0.0;
        QTest::newRow("zero") << "0eV" << 0.0;
    }

    void energyFromLabel()
    {
        QFETCH(QString, label);
        QFETCH(double, energy);
        QCOMPARE(StackEnergy::fromLabel(label).value_or(0.0), energy);
    }

    void energyStatus()
    {
        using S = StackEnergy::Status;
        const QList<std::optional<double>> e = {7100.0, 7110.0, 7100.0, -5.0, std::nullopt, 0.0};
        QCOMPARE(StackEnergy::check(e), QList<S>({S::Duplicate, S::Usable, S::Duplicate,
                                                  S::NotPositive, S::NotANumber, S::NotPositive}));
        QVERIFY(!StackEnergy::parse("abc"));
        QCOMPARE(StackEnergy::parse(" 7112.5 ").value_or(0), 7112.5);
    }

    void referenceFields()
    {
        LCFReference ref;
        ref.show();
        QSignalSpy files(&ref, &LCFReference::newFileSelected);
        QSignalSpy shifts(&ref, &LCFReference::newDeltaE);
        auto *midE = child<QLineEdit>(&ref, "MidE");
        auto *dMut = child<QLineEdit>(&ref, "DMut");

        // Victreen before any file: nothing visible happens.
        QTest::mouseClick(ref.victreenBox(), Qt::LeftButton);
        QVERIFY(ref.isVictreen() && midE->text().isEmpty() && dMut->text().isEmpty());
        QCOMPARE(files.count(), 0);

        auto *dE = child<QLineEdit>(&ref, "DeltaE");
        typeInto(dE, "abc");
        QVERIFY(ref.deltaE() == 0.0 && shifts.count() == 1);

        choose(ref, kXafs + "cu_foil_rt.dat");
        QCOMPARE(files.count(), 1);
        QVERIFY(ref.isUsable() && ref.isUsed());
        QCOMPARE(ref.spectrum().fitKind(), 0u);
        QCOMPARE(QStringList({midE->text(), dMut->text()}),
                 QStringList({QString::number(ref.spectrum().e0(), 'g', 6),
                              QString::number(ref.spectrum().jump(), 'g', 6)}));
        typeInto(dE, "2.5");
        QVERIFY(ref.deltaE() == 2.5 && ref.spectrum().energyShift() == 2.5);
        const double e0 = ref.spectrum().e0();
        QCOMPARE(ref.valueAt(e0 + 2.5), ref.spectrum().doubleNormalizedPreBase(e0));

        // Back to straight lines: normalised again, the shown edge stays.
        const QString shown = midE->text();
        QTest::mouseClick(ref.victreenBox(), Qt::LeftButton);
        QCOMPARE(ref.spectrum().fitKind(), 1u);
        QCOMPARE(midE->text(), shown);

        QTest::mouseClick(child<QCheckBox>(ref.fileSelect(), "Use"), Qt::LeftButton);
        QVERIFY(ref.isUsable() && !ref.isUsed());
        QTest::mouseClick(child<QPushButton>(ref.fileSelect(), "Clear"), Qt::LeftButton);
        QVERIFY(!ref.isUsable() && ref.spectrum().isEmpty() && midE->text().isEmpty() &&
                ref.fileName().isEmpty());
        QCOMPARE(files.count(), 2);
    }

    void unusableReference_data()
    {
        QTest::addColumn<QByteArray>("content");
        // Empty: a file with content; else "gone" or a path.
        QTest::addColumn<QString>("where");
        QTest::newRow("vanished") << QByteArray("8900 1\n") << "gone";
        QTest::newRow("device") << QByteArray() << "/dev/zero";
        QTest::newRow("comments only") << QByteArray("# E mu\n# none\n") << QString();
        QTest::newRow("one point") << QByteArray("8980 1.5\n") << QString();
        QTest::newRow("flat") << QByteArray("8900 1\n8950 1\n9000 1\n9050 1\n9100 1\n9150 1\n")
                              << QString();
        QTest::newRow("nan") << QByteArray("8900 0.1\n8950 0.1\n8980 nan\n9000 1\n9050 1\n9100 1\n")
                             << QString();
    }

    void unusableReference()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, where);
        QTemporaryDir dir;
        const QString path = where.startsWith(QLatin1Char('/')) ? where : dir.filePath("ref.dat");
        QFile f(path);
        if (path != where) QVERIFY(f.open(QIODevice::WriteOnly) && f.write(content) >= 0);
        f.close();

        LcfA window("9");
        LCFReference *good = window.addReference();
        LCFReference *bad = window.addReference();
        // A row that held a good spectrum keeps nothing of it.
        choose(*good, kXafs + "cu_foil_rt.dat");
        choose(*bad, kXafs + "cu_foil_rt.dat");
        QCOMPARE(window.plot()->curves().size(), 2);
        if (!where.isEmpty()) {
            // The dialog itself refuses these; what it hands on may still be gone by then.
            if (where == QLatin1String("gone")) QFile::remove(path);
            bad->fileSelect()->fileSelected(path);
        } else {
            choose(*bad, path);
        }
        QVERIFY(!bad->isUsable() && !bad->problem().isEmpty());
        QCOMPARE(QStringList({child<QLineEdit>(bad, "MidE")->text(),
                              child<QLineEdit>(bad, "DMut")->text()}),
                 QStringList({"not usable", "not usable"}));
        QCOMPARE(window.referencesInFit(), QList<LCFReference *>({good}));
        QCOMPARE(window.plot()->curves().size(), 1);

        QTest::mouseClick(child<QPushButton>(bad->parentWidget(), "RemoveReference"),
                          Qt::LeftButton);
        QCOMPARE(window.references(), QList<LCFReference *>({good}));
    }

    void windowsFromMainWindow()
    {
        ConfigStore &store = ConfigStore::instance();
        store.clear();
        store.parseCommandLine({"zelmap", "-lcfs", "640x480", "-ibs", "900x700"}, false, QString(),
                               {});
        Body body;
        body.show();
        const QStringList ids = {"I_7117eV", "dark", "mu 7112.5 eV", "I0_7117eV"};
        for (int i = 0; i < ids.size(); ++i)
            body.calculatedData(
                fx::record(
                    3, 2, [i](int, int) { return i + 1.0; }, [](int, int) { return true; }, ids[i])
                    .release());
        auto *lcfButton = child<QPushButton>(&body, "LCFA");
        QVERIFY(lcfButton->isVisible());

        // No A: no window, and the count does not move.
        QTest::mouseClick(lcfButton, Qt::LeftButton);
        QVERIFY(body.lcfWindows().isEmpty());

        DataCtrls *list = body.dataCtrls();
        for (int i : {0, 1, 2})
            QTest::mouseClick(static_cast<QCheckBox *>(list->at(i)->aBox()), Qt::LeftButton);
        QTest::mouseClick(lcfButton, Qt::LeftButton);
        QTest::mouseClick(static_cast<QCheckBox *>(list->at(1)->aBox()), Qt::LeftButton);
        QTest::mouseClick(static_cast<QCheckBox *>(list->at(3)->aBox()), Qt::LeftButton);
        QTest::mouseClick(lcfButton, Qt::LeftButton);
        QCOMPARE(body.lcfWindows().size(), 2);
        LcfA *first = body.lcfWindows().at(0);
        QCOMPARE(QStringList({first->name(), first->dataCtrls()->windowTitle()}),
                 QStringList({"1", "DCs of LCFA-1"}));
        QCOMPARE(first->size(), QSize(640, 480));
        QCOMPARE(first->imgBase()->size(), QSize(900, 700));
        QCOMPARE(child<QPushButton>(&body, "LCFA_2")->text(), "LCFA 2");
        store.clear();

        // Copies in list order, energies from their names; later changes stay in the main list.
        QList<LcfA::StackImage> stack = first->stack();
        QCOMPARE(stack.size(), 3);
        QCOMPARE(QList<double>({stack[0].energy, stack[1].energy, stack[2].energy}),
                 QList<double>({7117, 9000, 7112.5}));
        QVERIFY(stack[0].record != list->record(0));
        list->record(0)->setValue(0, 99.0, true);
        QCOMPARE(stack[0].record->value(0), 1.0);
        QCOMPARE(body.lcfWindows().at(1)->stack().size(), 3);
        // Only the display in view has made its picture.
        QTRY_VERIFY(stack[2].record->image());
        QVERIFY(!stack[0].record->image());

        // Typed energies: text and duplicates are left out; sorting puts the rest in order.
        typeInto(stack[1].ctrl->lineEdit(), "7117");
        stack = first->stack();
        QVERIFY(stack[0].status == StackEnergy::Status::Duplicate &&
                stack[1].status == StackEnergy::Status::Duplicate);
        typeInto(stack[1].ctrl->lineEdit(), "7100");
        typeInto(stack[0].ctrl->lineEdit(), "n/a");
        QCOMPARE(first->stack()[0].ctrl->status(), StackEnergy::Status::NotANumber);
        QTest::mouseClick(child<QPushButton>(first, "SortByEnergy"), Qt::LeftButton);
        stack = first->stack();
        QCOMPARE(QList<double>({stack[0].energy, stack[1].energy}), QList<double>({7100, 7112.5}));
        QVERIFY(!stack[2].usable());
        QCOMPARE(first->plot()->energies(), QList<double>({7100.0, 7112.5}));

        // Closed and brought back by its launcher with stack and references.
        QTest::mouseClick(child<QPushButton>(first, "AddReference"), Qt::LeftButton);
        choose(*first->references().at(0), kXafs + "fe2o3_rt.dat");
        QVERIFY(first->close() && !first->isVisible());
        QTest::mouseClick(child<QPushButton>(&body, "LCFA_1"), Qt::LeftButton);
        QVERIFY(first->isVisible());
        QCOMPARE((QList<qsizetype>{first->stack().size(), first->referencesInFit().size(),
                                   first->plot()->curves().size()}),
                 (QList<qsizetype>{3, 1, 1}));
    }

    void plotFollowsUntilZoomed()
    {
        LcfA window("7");
        window.resize(800, 800);
        window.show();
        LCFReference *ref = window.addReference();
        choose(*ref, kXafs + "cu_foil_rt.dat");
        typeInto(child<QLineEdit>(ref, "DeltaE"), "3");
        SpectrumPlot *plot = window.plot();
        QCOMPARE(plot->curves().size(), 1);
        QCOMPARE(plot->curves()[0].e0, ref->spectrum().e0() + 3.0);
        const double x0 = plot->canvas()->coord.dataRange().x0;
        QCOMPARE(x0, plot->autoRange().left());

        // A zoomed view stays while the content changes; a double click shows it all again.
        DispA *canvas = plot->canvas();
        const QPoint centre = canvas->rect().center();
        fx::move(canvas, centre, Qt::NoModifier);
        fx::wheel(canvas, centre, 120);
        const double zoomed = canvas->coord.dataRange().x0;
        QVERIFY(zoomed > x0);
        typeInto(child<QLineEdit>(ref, "DeltaE"), "-20");
        QCOMPARE(canvas->coord.dataRange().x0, zoomed);
        QTest::mouseDClick(canvas, Qt::LeftButton, Qt::NoModifier, centre);
        QCOMPARE(canvas->coord.dataRange().x0, plot->autoRange().left());
        QCOMPARE(plot->autoRange().left(), ref->spectrum().e0() - 20.0 - 40.0);
    }

    void fitAndPointer()
    {
        ConfigStore::instance().clear();
        Body body;
        body.show();
        const QList<LcfModel::Reference> refs = references();
        DataCtrls *list = body.dataCtrls();
        for (double e : kEnergies)
            body.calculatedData(mixture(refs, e));
        list->record(2)->setValue(9, 0.0, false); // pixel (1, 1)
        for (int i = 0; i < list->count(); ++i)
            QTest::mouseClick(static_cast<QCheckBox *>(list->at(i)->aBox()), Qt::LeftButton);
        QTest::mouseClick(child<QPushButton>(&body, "LCFA"), Qt::LeftButton);
        LcfA *window = body.lcfWindows().at(0);
        for (const QString &f : kRefFiles) {
            QTest::mouseClick(child<QPushButton>(window, "AddReference"), Qt::LeftButton);
            choose(*window->references().last(), kXafs + f);
        }
        QTest::mouseClick(child<QPushButton>(window, "Fit"), Qt::LeftButton);
        // The result comes back through the event loop; till then the stack cannot lose an image.
        QVERIFY(window->isFitting());
        QTest::mouseClick(child<QPushButton>(window->dataCtrls()->at(0), "Del"), Qt::LeftButton);
        QTRY_COMPARE(list->count(), 12);
        QVERIFY(window->stack().size() == 6 && !window->isFitting());
        QVERIFY2(window->fitState().contains("63 pixels"), qPrintable(window->fitState()));

        // The same as the engine run directly on the window's stack.
        LcfModel model;
        QString error;
        QVERIFY(model.build(kEnergies, refs, LcfModel::FitKind::NonNegative, false, &error));
        QList<const TDData0 *> images;
        for (const LcfA::StackImage &s : window->stack())
            images << s.record;
        LcfEngine::Result direct = LcfEngine::run(model, images, {}, &error);
        const std::vector<std::unique_ptr<TDDataWL>> expected = direct.takeRecords();
        QCOMPARE(expected.size(), size_t(6));
        for (size_t i = 0; i < expected.size(); ++i) {
            const TDDataWL *got = list->record(int(6 + i));
            QCOMPARE(got->dataId(), expected[i]->dataId());
            QCOMPARE(got->level(), list->record(0)->level() + 1);
            for (qsizetype p = 0; p < got->pixelCount(); ++p) {
                QCOMPARE(got->isValid(p), expected[i]->isValid(p));
                if (got->isValid(p)) QCOMPARE(got->value(p), expected[i]->value(p));
            }
        }
        QCOMPARE(list->record(6)->dataId(), "LCF[cu_foil_herfd] w");
        QCOMPARE(list->record(9)->dataId(), "LCF[cu_cuo_herfd] f");
        QVERIFY(!list->record(6)->isValid(9));

        // Pointing at a pixel of the window's images, then of the main window's: each row shows
        // the pixel's fraction and weight, the plot its points, the fit and the contributions.
        const auto shown = [](DataCtrls *l) {
            ImgDisp *d = nullptr;
            for (int i = 0; i < l->count(); ++i)
                if (l->at(i)->display()->isVisible()) d = l->at(i)->display();
            return d;
        };
        for (const auto &[disp, x, y] :
             {std::tuple(shown(window->dataCtrls()), 3, 5), std::tuple(shown(list), 6, 2)}) {
            QVERIFY(disp);
            moveOver(disp, x, y);
            const double a = weightA(x, y), b = weightB(x, y);
            const QList<LCFReference *> rows = window->references();
            const auto text = [&rows](int i, const char *f) {
                return child<QLineEdit>(rows[i], f)->text();
            };
            QCOMPARE(QStringList({text(0, "R"), text(1, "R")}),
                     QStringList({QString::asprintf("%5.2f", 100 * a / (a + b)),
                                  QString::asprintf("%5.2f", 100 * b / (a + b))}));
            QVERIFY(std::abs(text(0, "T").toDouble() - a) < 1e-5 &&
                    std::abs(text(1, "T").toDouble() - b) < 1e-5);
            const QList<SpectrumPlot::Layer> layers = window->plot()->layers();
            QCOMPARE(layers.size(), 4);
            QCOMPARE(layers[3].points.size(), kEnergies.size());
            QCOMPARE(layers[3].points[1],
                     QPointF(kEnergies[1], list->record(1)->value(qsizetype(y) * 8 + x)));
            // Fit and contributions add up wherever they are sampled.
            const QPolygonF &fit = layers[2].points;
            QVERIFY(fit.size() > 100);
            for (int i : {0, int(fit.size()) / 2}) {
                QCOMPARE(fit[i].x(), layers[0].points[i].x());
                QVERIFY(std::abs(fit[i].y() - layers[0].points[i].y() - layers[1].points[i].y()) <
                        1e-9);
            }
        }
    }

    void fitRefused_data()
    {
        QTest::addColumn<int>("images");
        QTest::addColumn<int>("refs"); // 2: the two references; 3: the first twice
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("odd"); // "size", "energy" or none
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, int images, int refs, const char *kind,
                            const char *odd, const char *message) {
            QTest::newRow(name) << images << refs << QString(kind) << QString(odd)
                                << QString(message);
        };
        row("no reference", 6, 0, "non-negative", "", "no reference");
        row("dependent, free", 6, 3, "free", "", "linear combination");
        row("duplicate energy", 6, 2, "non-negative", "energy", "both at 8990");
        row("other size", 6, 2, "non-negative", "size", "mu_9020eV is 7 x 8");
    }

    void fitRefused()
    {
        QFETCH(int, images);
        QFETCH(int, refs);
        QFETCH(QString, kind);
        QFETCH(QString, odd);
        QFETCH(QString, message);
        const QList<LcfModel::Reference> curves = references();
        LcfA window("5");
        window.show();
        for (int k = 0; k < images; ++k) {
            std::unique_ptr<TDDataWL> r(
                mixture(curves, kEnergies[k], odd == QLatin1String("size") && k == 5 ? 7 : 8));
            if (odd == QLatin1String("energy") && k == 5) r->setDataId("mu_8990eV");
            window.addImage(*r);
        }
        for (int i = 0; i < refs; ++i) {
            QTest::mouseClick(child<QPushButton>(&window, "AddReference"), Qt::LeftButton);
            choose(*window.references().last(), kXafs + kRefFiles[i == 2 ? 0 : i]);
        }
        auto *kinds = child<QComboBox>(&window, "FitKind");
        kinds->setFocus();
        while (kinds->currentText() != kind)
            QTest::keyClick(kinds, Qt::Key_Down);
        QTest::mouseClick(child<QPushButton>(&window, "Fit"), Qt::LeftButton);
        QVERIFY(!window.isFitting());
        QVERIFY2(window.fitState().startsWith("Fit refused: ") &&
                     window.fitState().contains(message),
                 qPrintable(window.fitState()));
        QCOMPARE(window.dataCtrls()->count(), images);
    }
};

QTEST_MAIN(TestLcfA)
#include "tst_lcfa.moc"
