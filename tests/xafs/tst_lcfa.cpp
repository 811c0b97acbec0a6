#include "Cli.h"
#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/DispA.h"
#include "xafs/LCFReference.h"
#include "xafs/LcfA.h"
#include "xafs/LcfACtrl.h"
#include "xafs/SpectrumPlot.h"
#include "xafs/StackEnergy.h"
#include "xafs/XafsFileSelect.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <cmath>

namespace {

const QString kXafs = QStringLiteral(ZELMAP_TESTDATA "/xafs/");

template <typename T> T *child(const QObject *w, const char *name)
{
    T *found = w->findChild<T *>(QString::fromLatin1(name));
    if (!found) qFatal("no widget %s", name);
    return found;
}

void typeInto(QLineEdit *edit, const QString &text)
{
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
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

TDDataWL *record(const QString &id, double value)
{
    auto *r = new TDDataWL(3, 2);
    for (qsizetype i = 0; i < r->pixelCount(); ++i)
        r->setValue(i, value, true);
    r->setDataId(id);
    return r;
}

} // namespace

class TestLcfA : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void energyFromLabel_data();
    void energyFromLabel();
    void energyStatus();
    void referenceFields();
    void referenceMatchesCli_data();
    void referenceMatchesCli();
    void unusableReference_data();
    void unusableReference();
    void windowsFromMainWindow();
    void plotFollowsUntilZoomed();
};

void TestLcfA::energyFromLabel_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<double>("energy"); // 0: none
    QTest::newRow("glued") << "I_7117eV" << 7117.0;
    QTest::newRow("spaced fraction") << "mu 7112.5 eV" << 7112.5;
    QTest::newRow("keV") << "Fe_7.112keV.tif" << 7112.0;
    QTest::newRow("derived id") << "I0_7100eV: MA(3,3)" << 7100.0;
    QTest::newRow("first wins") << "a 7100eV b 7200eV" << 7100.0;
    QTest::newRow("word") << "7117eVal" << 0.0;
    QTest::newRow("no unit") << "scan_7117" << 0.0;
    QTest::newRow("zero") << "0eV" << 0.0;
}

void TestLcfA::energyFromLabel()
{
    QFETCH(QString, label);
    QFETCH(double, energy);
    QCOMPARE(StackEnergy::fromLabel(label).value_or(0.0), energy);
}

void TestLcfA::energyStatus()
{
    using S = StackEnergy::Status;
    const QList<std::optional<double>> e = {7100.0, 7110.0, 7100.0, -5.0, std::nullopt, 0.0};
    QCOMPARE(StackEnergy::check(e), QList<S>({S::Duplicate, S::Usable, S::Duplicate, S::NotPositive,
                                              S::NotANumber, S::NotPositive}));
    QVERIFY(!StackEnergy::parse(QStringLiteral("abc")));
    QCOMPARE(StackEnergy::parse(QStringLiteral(" 7112.5 ")).value_or(0), 7112.5);
}

void TestLcfA::referenceFields()
{
    LCFReference ref;
    ref.show();
    QSignalSpy files(&ref, &LCFReference::newFileSelected);
    QSignalSpy shifts(&ref, &LCFReference::newDeltaE);
    auto *midE = child<QLineEdit>(&ref, "MidE");
    auto *dMut = child<QLineEdit>(&ref, "DMut");

    // Victreen before any file: nothing visible happens.
    QTest::mouseClick(ref.victreenBox(), Qt::LeftButton);
    QVERIFY(ref.isVictreen());
    QVERIFY(midE->text().isEmpty() && dMut->text().isEmpty());
    QCOMPARE(files.count(), 0);

    auto *dE = child<QLineEdit>(&ref, "DeltaE");
    typeInto(dE, QStringLiteral("abc"));
    QCOMPARE(ref.deltaE(), 0.0);
    QCOMPARE(shifts.count(), 1);

    choose(ref, kXafs + QStringLiteral("cu_foil_rt.dat"));
    QCOMPARE(files.count(), 1);
    QVERIFY(ref.isUsable() && ref.isUsed());
    QCOMPARE(ref.spectrum().fitKind(), 0u);
    typeInto(dE, QStringLiteral("2.5"));
    QCOMPARE(ref.deltaE(), 2.5);
    QCOMPARE(ref.spectrum().energyShift(), 2.5);
    const double e0 = ref.spectrum().e0();
    QCOMPARE(ref.valueAt(e0 + 2.5), ref.spectrum().doubleNormalizedPreBase(e0));

    // Back to straight lines: normalised again, the shown edge stays.
    const QString shown = midE->text();
    QTest::mouseClick(ref.victreenBox(), Qt::LeftButton);
    QCOMPARE(ref.spectrum().fitKind(), 1u);
    QCOMPARE(midE->text(), shown);

    ref.setWeight(0.1234);
    QCOMPARE(child<QLineEdit>(&ref, "R")->text(), QStringLiteral("12.34"));
    ref.setWeight(1.0);
    QCOMPARE(child<QLineEdit>(&ref, "R")->text(), QStringLiteral("100.00"));

    QTest::mouseClick(child<QCheckBox>(ref.fileSelect(), "Use"), Qt::LeftButton);
    QVERIFY(ref.isUsable() && !ref.isUsed());
    QTest::mouseClick(child<QPushButton>(ref.fileSelect(), "Clear"), Qt::LeftButton);
    QVERIFY(!ref.isUsable() && ref.spectrum().isEmpty());
    QVERIFY(midE->text().isEmpty() && ref.fileName().isEmpty());
    QCOMPARE(files.count(), 2);
}

void TestLcfA::referenceMatchesCli_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("victreen");
    for (const char *f : {"cu_foil_rt.dat", "fe2o3_rt.dat", "cu_cuo_herfd.dat", "fe3c_rt.dat"}) {
        QTest::addRow("%s straight", f) << QString::fromLatin1(f) << false;
        QTest::addRow("%s victreen", f) << QString::fromLatin1(f) << true;
    }
}

void TestLcfA::referenceMatchesCli()
{
    QFETCH(QString, file);
    QFETCH(bool, victreen);
    QString outText, errText;
    QTextStream out(&outText), err(&errText);
    QStringList args = {kXafs + file};
    if (victreen) args.prepend(QStringLiteral("--victreen"));
    QCOMPARE(Cli::xafs(args, out, err), 0);
    out.flush();
    QString e0, jump;
    for (const QString &line : outText.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("e0: "))) e0 = line.mid(4);
        if (line.startsWith(QLatin1String("jump: "))) jump = line.mid(6);
    }

    LCFReference ref;
    ref.show();
    if (victreen) QTest::mouseClick(ref.victreenBox(), Qt::LeftButton);
    choose(ref, kXafs + file);
    QCOMPARE(child<QLineEdit>(&ref, "MidE")->text(), QString::number(e0.toDouble(), 'g', 6));
    QCOMPARE(child<QLineEdit>(&ref, "DMut")->text(), QString::number(jump.toDouble(), 'g', 6));
    QVERIFY(ref.isUsable());
}

void TestLcfA::unusableReference_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("where"); // empty: a file with content; else "gone", "dir", a path
    QTest::newRow("vanished") << QByteArray("8900 1\n") << "gone";
    QTest::newRow("directory") << QByteArray() << "dir";
    QTest::newRow("device") << QByteArray() << "/dev/zero";
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i)
        garbage.append(char((i * 7919) % 256));
    QTest::newRow("binary") << garbage << QString();
    QTest::newRow("comments only") << QByteArray("# E mu\n# none\n") << QString();
    QTest::newRow("one point") << QByteArray("8980 1.5\n") << QString();
    QTest::newRow("flat") << QByteArray("8900 1\n8950 1\n9000 1\n9050 1\n9100 1\n9150 1\n")
                          << QString();
    QTest::newRow("nan") << QByteArray("8900 0.1\n8950 0.1\n8980 nan\n9000 1\n9050 1\n9100 1\n")
                         << QString();
}

void TestLcfA::unusableReference()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, where);
    QTemporaryDir dir;
    QString path = dir.filePath(QStringLiteral("ref.dat"));
    if (where == QLatin1String("dir")) {
        path = dir.path();
    } else if (where.startsWith(QLatin1Char('/'))) {
        path = where;
    } else {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(content);
    }

    LcfA window(QStringLiteral("9"));
    LCFReference *good = window.addReference();
    LCFReference *bad = window.addReference();
    // A row that held a good spectrum keeps nothing of it.
    choose(*good, kXafs + QStringLiteral("cu_foil_rt.dat"));
    choose(*bad, kXafs + QStringLiteral("cu_foil_rt.dat"));
    QCOMPARE(window.plot()->curves().size(), 2);
    if (!where.isEmpty()) {
        // The dialog itself refuses these; what it hands on may still be gone by then.
        if (where == QLatin1String("gone")) QFile::remove(path);
        bad->fileSelect()->fileSelected(path);
    } else {
        choose(*bad, path);
    }
    QVERIFY(!bad->isUsable());
    QVERIFY(!bad->problem().isEmpty());
    QCOMPARE(child<QLineEdit>(bad, "MidE")->text(), QStringLiteral("not usable"));
    QCOMPARE(child<QLineEdit>(bad, "DMut")->text(), QStringLiteral("not usable"));
    QCOMPARE(window.referencesInFit(), QList<LCFReference *>({good}));
    QCOMPARE(window.plot()->curves().size(), 1);

    QTest::mouseClick(child<QPushButton>(bad->parentWidget(), "RemoveReference"), Qt::LeftButton);
    QCOMPARE(window.references(), QList<LCFReference *>({good}));
}

void TestLcfA::windowsFromMainWindow()
{
    ConfigStore &store = ConfigStore::instance();
    store.clear();
    store.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-lcfs"),
                            QStringLiteral("640x480"), QStringLiteral("-ibs"),
                            QStringLiteral("900x700")},
                           false, QString(), {});
    Body body;
    body.show();
    const QStringList ids = {QStringLiteral("I_7117eV"), QStringLiteral("dark"),
                             QStringLiteral("mu 7112.5 eV"), QStringLiteral("I0_7117eV")};
    for (int i = 0; i < ids.size(); ++i)
        body.calculatedData(record(ids[i], i + 1));
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
    QCOMPARE(first->name(), QStringLiteral("1"));
    QCOMPARE(first->dataCtrls()->windowTitle(), QStringLiteral("DCs of LCFA-1"));
    QCOMPARE(first->size(), QSize(640, 480));
    QCOMPARE(first->imgBase()->size(), QSize(900, 700));
    QCOMPARE(child<QPushButton>(&body, "LCFA_2")->text(), QStringLiteral("LCFA 2"));
    store.clear();

    // Copies in list order, energies from their names; later changes stay in the main list.
    QList<LcfA::StackImage> stack = first->stack();
    QCOMPARE(stack.size(), 3);
    QCOMPARE(stack[0].energy, 7117.0);
    QCOMPARE(stack[1].energy, 9000.0);
    QCOMPARE(stack[2].energy, 7112.5);
    QVERIFY(stack[0].record != list->record(0));
    list->record(0)->setValue(0, 99.0, true);
    QCOMPARE(stack[0].record->value(0), 1.0);
    QCOMPARE(body.lcfWindows().at(1)->stack().size(), 3);
    // Only the display in view has made its picture.
    QTRY_VERIFY(stack[2].record->image());
    QVERIFY(!stack[0].record->image());

    // Typed energies: text and duplicates are left out; sorting puts the rest in order.
    typeInto(stack[1].ctrl->lineEdit(), QStringLiteral("7117"));
    stack = first->stack();
    QCOMPARE(stack[0].status, StackEnergy::Status::Duplicate);
    QCOMPARE(stack[1].status, StackEnergy::Status::Duplicate);
    typeInto(stack[1].ctrl->lineEdit(), QStringLiteral("7100"));
    typeInto(stack[0].ctrl->lineEdit(), QStringLiteral("n/a"));
    QCOMPARE(first->stack()[0].ctrl->status(), StackEnergy::Status::NotANumber);
    QTest::mouseClick(child<QPushButton>(first, "SortByEnergy"), Qt::LeftButton);
    stack = first->stack();
    QCOMPARE(stack[0].energy, 7100.0);
    QCOMPARE(stack[1].energy, 7112.5);
    QVERIFY(!stack[2].usable());
    QCOMPARE(first->plot()->energies(), QList<double>({7100.0, 7112.5}));

    // Closed and brought back by its launcher with stack and references.
    QTest::mouseClick(child<QPushButton>(first, "AddReference"), Qt::LeftButton);
    choose(*first->references().at(0), kXafs + QStringLiteral("fe2o3_rt.dat"));
    QVERIFY(first->close());
    QVERIFY(!first->isVisible());
    QTest::mouseClick(child<QPushButton>(&body, "LCFA_1"), Qt::LeftButton);
    QVERIFY(first->isVisible());
    QCOMPARE(first->stack().size(), 3);
    QCOMPARE(first->referencesInFit().size(), 1);
    QCOMPARE(first->plot()->curves().size(), 1);
}

void TestLcfA::plotFollowsUntilZoomed()
{
    LcfA window(QStringLiteral("7"));
    window.resize(800, 800);
    window.show();
    LCFReference *ref = window.addReference();
    choose(*ref, kXafs + QStringLiteral("cu_foil_rt.dat"));
    typeInto(child<QLineEdit>(ref, "DeltaE"), QStringLiteral("3"));
    SpectrumPlot *plot = window.plot();
    QCOMPARE(plot->curves().size(), 1);
    QCOMPARE(plot->curves()[0].e0, ref->spectrum().e0() + 3.0);
    const double x0 = plot->canvas()->coord.dataRange().x0;
    QCOMPARE(x0, plot->autoRange().left());

    // A zoomed view stays while the content changes; a double click shows it all again.
    DispA *canvas = plot->canvas();
    const QPoint centre = canvas->rect().center();
    QMouseEvent move(QEvent::MouseMove, centre, canvas->mapToGlobal(centre), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(canvas, &move);
    QWheelEvent wheel(centre, canvas->mapToGlobal(centre), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(canvas, &wheel);
    const double zoomed = canvas->coord.dataRange().x0;
    QVERIFY(zoomed > x0);
    typeInto(child<QLineEdit>(ref, "DeltaE"), QStringLiteral("-20"));
    QCOMPARE(canvas->coord.dataRange().x0, zoomed);
    QTest::mouseDClick(canvas, Qt::LeftButton, Qt::NoModifier, centre);
    QCOMPARE(canvas->coord.dataRange().x0, plot->autoRange().left());
    QCOMPARE(plot->autoRange().left(), ref->spectrum().e0() - 20.0 - 40.0);
}

QTEST_MAIN(TestLcfA)
#include "tst_lcfa.moc"
