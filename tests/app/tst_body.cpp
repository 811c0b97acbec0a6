// The main window and what a user meets first: loading, selecting, saving and deleting entries,
// the file dialogs, start-up settings and translation, the colour bar's ramp, keys, square
// pixels, where windows open, typed formulas and empty results.
#include "../io/ImageTestFiles.h"
#include "../support/RecordFixtures.h"
#include "../support/WidgetFixtures.h"

#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/Startup.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListView>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTranslator>

#include <algorithm>
#include <cmath>

using namespace RecordFixtures;
using fx::child;
using fx::click;
using namespace Qt::StringLiterals;

namespace {

// Screen pixels per image pixel along x and y, and the canvas position of the image centre.
QList<double> mapping(const ImgDisp &d)
{
    const ChCoord *c = d.coord();
    return {std::abs(c->dataLenToScreenX(1.0)), std::abs(c->dataLenToScreenY(1.0)),
            c->dataToScreenX(d.imageSize().width() / 2.0),
            c->dataToScreenY(d.imageSize().height() / 2.0)};
}

// Equal up to rounding.
bool near(const QList<double> &a, const QList<double> &b)
{
    for (qsizetype i = 0; i < a.size(); ++i)
        if (std::abs(a[i] - b.value(i)) > 1e-9 * std::max(1.0, std::abs(a[i]))) return false;
    return a.size() == b.size();
}

// What start-up makes of the command line, with the default file "config.cfg" in appDir.
Startup::Settings configured(const QStringList &args, const QString &appDir)
{
    ConfigStore s;
    s.parseCommandLine(QStringList{u"zelmap"_s} + args, false, u"config.cfg"_s, {u"-c"_s});
    return Startup::configure(s, appDir);
}

} // namespace

class TestBody : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup() { ConfigStore::instance().clear(); }
    void loadSelectSaveDelete();
    void fileDialogs_data();
    void fileDialogs();
    void pointedPixelReachesEveryEntry();
    void windowSizesAndCommandLineFiles();
    void configurationPrecedence();
    void translationChangesTexts();
    void barIsASmoothRampAfterResize();
    void imageKeys_data();
    void imageKeys();
    void squarePixels_data();
    void squarePixels();
    void mainWindowShortcuts();
    void windowsOpenBesideTheirParent_data();
    void windowsOpenBesideTheirParent();
    void typedFormulaSurvivesNewEntryAndEmptyResultIsReported();

private:
    std::unique_ptr<ImgDisp> shownDisplay(QSize size, QSize image);
    QTemporaryDir m_dir;
    QString m_zmp, m_png, m_tif, m_junk;
    QStringList m_files;
};

void TestBody::initTestCase()
{
    qRegisterMetaType<TDDataWL *>();
    QVERIFY(m_dir.isValid());
    for (int k = 0; k < 3; ++k)
        m_files << savedRecord(m_dir.filePath(u"rec%1.zmp"_s.arg(k)), 6, 4, u"rec%1"_s.arg(k),
                               [k](qsizetype i) { return 1.0 + k + double(i); });
    QVERIFY(!m_files.contains(QString()));
    m_zmp = savedRecord(m_dir.filePath(u"first.zmp"_s), 4, 3, u"first/record"_s,
                        [](qsizetype i) { return double(i); });
    QImage img(5, 2, QImage::Format_Grayscale8);
    img.fill(77);
    m_png = m_dir.filePath(u"second.png"_s);
    QVERIFY(img.save(m_png));
    m_tif = m_dir.filePath(u"third.tif"_s);
    QVERIFY(ImageTestFiles::writeTiff(m_tif, {.width = 6, .height = 2},
                                      [](int x, int y, int) { return 100 * y + x; }));
    m_junk = m_dir.filePath(u"junk.img"_s);
    QVERIFY(writeAll(m_junk, "\x7f\x01 nothing any reader takes"));
}

void TestBody::loadSelectSaveDelete()
{
    Body body;
    body.show();
    DataCtrls *list = body.dataCtrls();
    QSignalSpy sels(list, &DataCtrls::selsChanged);
    QSignalSpy next(&body, &Body::loadNextFile);

    body.loadFilesSelected({m_zmp, m_png, m_junk, m_tif});
    // Each file waits for its own turn of the event loop.
    QCOMPARE(next.count(), 4);
    QCOMPARE(list->count(), 0);
    QTRY_COMPARE(list->count(), 3);
    QCOMPARE((QStringList{list->record(0)->dataId(), list->record(1)->dataId(),
                          list->record(2)->dataId()}),
             (QStringList{u"first/record"_s, u"second"_s, u"third"_s}));
    QCOMPARE(list->record(2)->value(3, 1), 103.0);
    QCOMPARE(body.imgBase()->tabWidget()->count(), 3);

    // S1 on the second entry, A on the first and third, by clicks. Moving S1 from the
    // third to the second switches two buttons, and each switch reports.
    click(list->at(2), "SingleSel1");
    sels.clear();
    click(list->at(1), "SingleSel1");
    QCOMPARE(sels.count(), 2);
    for (const QList<QVariant> &record : std::as_const(sels))
        QCOMPARE(record.at(0).toInt(), 1);
    click(list->at(0), "MultiSelA");
    click(list->at(2), "MultiSelA");
    QList<QVariant> last = sels.takeLast();
    QCOMPARE(QPoint(last.at(0).toInt(), last.at(1).toInt()), QPoint(1, -1));
    QCOMPARE(last.at(2).value<QList<bool>>() + last.at(3).value<QList<bool>>(),
             QList<bool>({true, false, true, false, false, false}));

    // Single(S1) saves the S1 record under the chosen name.
    body.saveFile(m_dir.filePath(u"single.zmp"_s));
    TDDataWL back(0, 0);
    QVERIFY(back.load(m_dir.filePath(u"single.zmp"_s)));
    QCOMPARE(back.dataId() + u' ' + QString::number(back.value(0)), u"second 77"_s);

    // Selected(A) saves each A record beside the chosen name, named by its data id.
    click(&body, "SaveSelected");
    QDir out(m_dir.filePath(u"out"_s));
    QVERIFY(out.mkpath(u"."_s));
    body.saveFile(out.filePath(u"ignored.zmp"_s));
    QCOMPARE(out.entryList(QDir::Files), (QStringList{u"firstdivrecord.zmp"_s, u"third.zmp"_s}));
    QVERIFY(back.load(out.filePath(u"firstdivrecord.zmp"_s)) && back.width() == 4);
    QVERIFY(back.load(out.filePath(u"third.zmp"_s)) && back.width() == 6);

    // Deleting the first entry renews the indices: S1 moves from 1 to 0.
    QPointer<DataCtrl> gone(list->at(0));
    click(list->at(0), "Del");
    QCOMPARE(list->count(), 2);
    last = sels.takeLast();
    QVERIFY(last.at(0).toInt() == 0 &&
            last.at(2).value<QList<bool>>() == QList<bool>({false, true}));
    QCOMPARE(child<QLabel>(list->at(0), u"No"_s)->text() +
                 child<QLabel>(list->at(1), u"No"_s)->text(),
             u"01"_s);
    QCOMPARE(body.imgBase()->tabWidget()->count(), 2);
    QTRY_VERIFY(gone.isNull());

    // A refused file adds nothing, and says so.
    body.loadAFile(m_junk);
    QVERIFY(list->count() == 2 && body.statusBar()->currentMessage().contains("junk.img"_L1));
}

void TestBody::fileDialogs_data()
{
    QTest::addColumn<int>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("picture");
    QTest::newRow("2dData") << 0 << u"typed"_s << u"typed.zmp"_s << false;
    QTest::newRow("picture") << 1 << u"pic"_s << u"pic.png"_s << true;
    QTest::newRow("any") << 2 << u"raw"_s << u"raw"_s << false;
    QTest::newRow("own extension") << 0 << u"mine.dat"_s << u"mine.dat"_s << false;
}

void TestBody::fileDialogs()
{
    QFETCH(int, filter);
    QFETCH(QString, typed);
    QFETCH(QString, written);
    QFETCH(bool, picture);
    Body body;
    body.show();
    _FileDialog *open = body.openDialog();
    QVERIFY(open->fileMode() == QFileDialog::ExistingFiles &&
            body.saveDialog()->acceptMode() == QFileDialog::AcceptSave);

    // Load: the default filter shows a camera image, which is then picked by its name.
    click(&body, "Load");
    QVERIFY(open->isVisible());
    open->setDirectory(m_dir.path());
    auto *view = open->findChild<QListView *>(u"listView"_s);
    const auto shown = [view] {
        QStringList names;
        for (int r = 0; r < view->model()->rowCount(view->rootIndex()); ++r)
            names << view->model()->index(r, 0, view->rootIndex()).data().toString();
        return names;
    };
    QTRY_VERIFY(shown().contains(u"third.tif"_s) && shown().contains(u"first.zmp"_s));
    fx::setText(open, "fileNameEdit", u"first.zmp"_s);
    QTest::keyClick(child<QLineEdit>(open, u"fileNameEdit"_s), Qt::Key_Return);
    QTRY_COMPARE(body.dataCtrls()->count(), 1);

    // Save S1 under a typed name, with the filter chosen in the dialog's own list.
    click(body.dataCtrls()->at(0), "SingleSel1");
    click(&body, "Save");
    _FileDialog *save = body.saveDialog();
    QVERIFY(save->isVisible());
    QTemporaryDir out;
    save->setDirectory(out.path());
    auto *kinds = child<QComboBox>(save, u"fileTypeCombo"_s);
    for (int i = 0; i < filter; ++i)
        QTest::keyClick(kinds, Qt::Key_Down);
    QCOMPARE(kinds->currentIndex(), filter);
    fx::setText(save, "fileNameEdit", typed);
    QTest::keyClick(child<QLineEdit>(save, u"fileNameEdit"_s), Qt::Key_Return);
    const QString path = QDir(out.path()).filePath(written);
    QTRY_VERIFY2(QFile::exists(path), qPrintable(QDir(out.path()).entryList().join(' ')));
    QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 1);
    TDDataWL back(0, 0);
    QVERIFY(back.load(path) != picture && QImage(path).isNull() != picture);
}

void TestBody::pointedPixelReachesEveryEntry()
{
    Body body;
    body.show();
    body.loadFilesSelected({m_zmp, m_tif});
    QTRY_COMPARE(body.dataCtrls()->count(), 2);
    DataCtrl *a = body.dataCtrls()->at(0);
    DataCtrl *b = body.dataCtrls()->at(1);
    // Raising a tab focuses its entry.
    body.imgBase()->setCurrentWidget(b->display());
    QVERIFY(b->isFocused() && !a->isFocused());

    // Out of the tabs, each display is a window of its own; pointing into one focuses it.
    click(&body, "InTab");
    QVERIFY(body.imgBase()->tabWidget()->count() == 0 && a->display()->isWindow());
    DispA *canvas = a->display()->canvas();
    QTRY_VERIFY(canvas->isVisible());
    QSignalSpy focused(a, &DataCtrl::focused);
    fx::move(canvas, canvas->rect().center(), Qt::NoModifier);
    QVERIFY(a->noticedPosition().x() >= 0 && focused.count() == 1);
    QCOMPARE(b->noticedPosition(), a->noticedPosition());
    QVERIFY(a->isFocused() && !b->isFocused());
}

void TestBody::windowSizesAndCommandLineFiles()
{
    QCOMPARE(Body::parseSize(u"640x480"_s), QSize(640, 480));
    for (const QString &bad : {QString(), u"640"_s, u"axb"_s})
        QVERIFY(!Body::parseSize(bad).isValid());

    ConfigStore &store = ConfigStore::instance();
    store.clear();
    store.parseCommandLine({u"zelmap"_s, u"-bs"_s, u"500x400"_s, u"-ibs"_s, u"300x200"_s}, false,
                           QString(), {});
    Body body;
    body.applyWindowSizes();
    QCOMPARE(QList<QSize>({body.size(), body.imgBase()->size()}),
             QList<QSize>({{500, 400}, {300, 200}}));
    store.clear();

    QCOMPARE(Startup::filesToOpen({u"zelmap"_s, u"-d"_s, u"/data"_s, u"a.tif"_s, u"-e"_s,
                                   u"b.img"_s, u"-x"_s, u"-5"_s, u"c.zmp"_s}),
             (QStringList{u"a.tif"_s, u"b.img"_s, u"c.zmp"_s}));
}

void TestBody::configurationPrecedence()
{
    QTemporaryDir appDir;
    QVERIFY(writeAll(appDir.filePath(u"config.cfg"_s), "DataRoot /from/default\n"));
    const QString c = m_dir.filePath(u"c.cfg"_s), config2 = m_dir.filePath(u"config2.cfg"_s);
    QVERIFY(writeAll(c, "DataRoot /from/c\n") && writeAll(config2, "DataRoot /from/config\n"));

    // Reached through a link, the default file is still named by its canonical path.
    const QString link = m_dir.filePath(u"applink"_s);
    QVERIFY(QFile::link(appDir.path(), link));
    Startup::Settings set = configured({}, link);
    QCOMPARE(set.dataRoot, u"/from/default"_s);
    QCOMPARE(set.configFile, QFileInfo(appDir.filePath(u"config.cfg"_s)).canonicalFilePath());
    QVERIFY(!set.english && !set.debug);

    set = configured({u"-c"_s, c, u"-config"_s, config2, u"-dbg"_s}, appDir.path());
    QCOMPARE(set.dataRoot, u"/from/config"_s);
    QVERIFY(set.configFile.endsWith("config2.cfg"_L1) && set.debug);
    QCOMPARE(configured({u"-c"_s, c, u"-d"_s, u"/from/option"_s}, appDir.path()).dataRoot,
             u"/from/option"_s);

    // No file anywhere: the current directory, and start-up goes on.
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Can't open config file : "));
    set = configured({u"-c"_s, m_dir.filePath(u"missing.cfg"_s)}, appDir.path());
    QCOMPARE(set.dataRoot, QDir::currentPath());
}

void TestBody::translationChangesTexts()
{
    for (const bool english : {false, true}) {
        ConfigStore store;
        store.parseCommandLine(english ? QStringList{u"zelmap"_s, u"-e"_s}
                                       : QStringList{u"zelmap"_s},
                               false, QString(), {});
        QTranslator translator;
        QCOMPARE(Startup::prepare(store, translator, m_dir.path()).english, english);
        QCOMPARE(translator.isEmpty(), english);
        Body body;
        QCOMPARE(child<QAbstractButton>(&body, u"Load"_s)->text(), english ? u"Load"_s : u"読込"_s);
        QCOMPARE(body.windowTitle(), u"Zelmap"_s);
        if (english)
            QCOMPARE(child<QAbstractButton>(&body, u"SaveSingle"_s)->text(), u"Single(S1)"_s);
        QCoreApplication::removeTranslator(&translator);
    }
    // Every text the translation lists has its Japanese form.
    const QByteArray xml = readAll(QFINDTESTDATA("../../translations/Zelmap_ja_JP.ts"));
    QVERIFY(xml.count("<message") > 50);
    QCOMPARE(xml.count("type=\"unfinished\""), 0);
}

std::unique_ptr<ImgDisp> TestBody::shownDisplay(QSize size, QSize image)
{
    auto disp = std::make_unique<ImgDisp>();
    disp->setImageSize(image.width(), image.height());
    disp->resize(size);
    disp->show();
    disp->activateWindow();
    if (!QTest::qWaitForWindowActive(disp.get())) qWarning("display not active");
    return disp;
}

void TestBody::barIsASmoothRampAfterResize()
{
    auto disp = shownDisplay(QSize(300, 240), QSize(10, 10));
    ColorBar *bar = disp->colorBar();
    for (const QSize size : {QSize(400, 560), QSize(400, 330)}) {
        disp->resize(size);
        QTRY_VERIFY(bar->height() > size.height() / 2 && bar->height() < size.height());
        const int h = bar->height();
        const QImage shot = bar->grab().toImage();
        // Between the labels, every screen row shows the ramp at its own height: no bands.
        for (int y = 110; y < h - 110; ++y)
            QCOMPARE(shot.pixelColor(bar->width() / 2, y), bar->colorOfH(h - 1 - y));
    }
}

void TestBody::imageKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<double>("factor"); // 0: the whole image again
    QTest::newRow("+") << int(Qt::Key_Plus) << 0.9;
    QTest::newRow("-") << int(Qt::Key_Minus) << 1.1;
    QTest::newRow("0") << int(Qt::Key_0) << 0.0;
    QTest::newRow("Home") << int(Qt::Key_Home) << 0.0;
}

void TestBody::imageKeys()
{
    QFETCH(int, key);
    QFETCH(double, factor);
    auto disp = shownDisplay(QSize(400, 300), QSize(120, 90));
    DispA *canvas = disp->canvas();
    // A click gives the image the keys; being no drag, it draws no region.
    QTest::mouseClick(canvas, Qt::LeftButton, {}, QPoint(30, 30));
    QVERIFY(canvas->hasFocus() && disp->regionState() == 0);
    fx::drag(canvas, QPoint(30, 30), QPoint(80, 70));
    QCOMPARE(disp->regionState(), 2);

    QTest::keyClick(canvas, Qt::Key_Plus); // off the reset view, so that a reset is seen
    const ChCoord::Area d = disp->coord()->dataRange();
    QSignalSpy reset(disp.get(), &ImgDisp::scaleReset);
    QTest::keyClick(canvas, Qt::Key(key));
    const ChCoord::Area e = disp->coord()->dataRange();
    const QList<double> sizeAndCentre = {e.x1 - e.x0, e.y0 - e.y1, e.x0 + e.x1, e.y0 + e.y1};
    QCOMPARE(reset.count(), factor == 0.0 ? 1 : 0);
    if (factor == 0.0)
        QVERIFY(near(sizeAndCentre, {120, 90, 120, 90}));
    else
        QVERIFY(near(sizeAndCentre,
                     {(d.x1 - d.x0) * factor, (d.y0 - d.y1) * factor, d.x0 + d.x1, d.y0 + d.y1}));

    QSignalSpy cleared(disp.get(), &ImgDisp::regionCleared);
    QTest::keyClick(canvas, Qt::Key_Escape);
    QVERIFY(cleared.count() == 1 && disp->regionLabel().isEmpty());
}

void TestBody::squarePixels_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<bool>("on");
    QTest::addColumn<QSize>("image");
    QTest::newRow("unset") << QByteArray() << false << QSize(200, 50);
    QTest::newRow("0") << QByteArray("0") << false << QSize(200, 50);
    QTest::newRow("wide") << QByteArray("1") << true << QSize(200, 50);
    QTest::newRow("tall") << QByteArray("on") << true << QSize(40, 160);
}

void TestBody::squarePixels()
{
    QFETCH(QByteArray, config);
    QFETCH(bool, on);
    QFETCH(QSize, image);
    ConfigStore::instance().clear();
    if (!config.isNull())
        ConfigStore::instance().setValue(u"SquarePixels"_s, QString::fromLatin1(config));
    auto disp = shownDisplay(QSize(420, 380), image);
    auto *box = child<QCheckBox>(disp.get(), u"SquarePixels"_s);
    QCOMPARE(box->isChecked(), on);
    DispA *canvas = disp->canvas();
    const auto fitsCentred = [&] {
        const QList<double> m = mapping(*disp);
        const double sw = canvas->width() - 1, sh = canvas->height() - 1;
        // Square, centred, and the whole image in view filling one side of the canvas.
        QVERIFY(near(m, {m[0], m[0], sw / 2, sh / 2}));
        QCOMPARE(std::min(sw / image.width(), sh / image.height()), m[0]);
    };
    if (!on) {
        QCOMPARE(disp->viewSize(), QSizeF(image)); // stretched, as before
        QTest::mouseClick(box, Qt::LeftButton);
    }
    fitsCentred();
    disp->resize(300, 520);
    QTRY_VERIFY(canvas->height() > 400);
    fitsCentred();

    // Zoomed in, a resize keeps the size of a pixel on screen.
    QTest::keyClick(canvas, Qt::Key_Plus);
    const QList<double> zoomed = mapping(*disp);
    disp->resize(380, 400);
    QTRY_VERIFY(canvas->height() < 400);
    QVERIFY(near(mapping(*disp).mid(0, 2), zoomed.mid(0, 2)));

    // Off again is the plain reset: the image stretched over the canvas.
    QTest::mouseClick(box, Qt::LeftButton);
    const ChCoord::Area d = disp->coord()->dataRange();
    QCOMPARE((QList<double>{d.x0, d.y0, d.x1, d.y1}),
             (QList<double>{0, double(image.height()), double(image.width()), 0}));
}

void TestBody::mainWindowShortcuts()
{
    Body body;
    connect(&body, &Body::finishing, qApp, &QApplication::closeAllWindows); // as at start-up
    body.show();
    QVERIFY(QTest::qWaitForWindowActive(&body));
    QTest::keyClick(&body, Qt::Key_O, Qt::ControlModifier);
    QVERIFY(body.openDialog()->isVisible() && !body.saveDialog()->isVisible());
    body.openDialog()->hide();
    body.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&body));
    QTest::keyClick(&body, Qt::Key_S, Qt::ControlModifier);
    QVERIFY(body.saveDialog()->isVisible());
    body.saveDialog()->hide();

    // Ctrl+Q from the image window closes everything.
    body.loadFilesSelected({m_files.first()});
    QTRY_COMPARE(body.dataCtrls()->count(), 1);
    ImgBase *base = body.imgBase();
    base->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(base));
    QSignalSpy finishing(&body, &Body::finishing);
    QTest::keyClick(body.dataCtrls()->at(0)->display()->canvas(), Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(finishing.count(), 1);
    QVERIFY(!body.isVisible() && !base->isVisible());
}

void TestBody::windowsOpenBesideTheirParent_data()
{
    // The screen is 1600 by 1000 (see main).
    QTest::addColumn<QSize>("body");
    QTest::addColumn<QSize>("base");
    QTest::addColumn<bool>("right");
    QTest::newRow("room on the right") << QSize(600, 300) << QSize(600, 400) << true;
    QTest::newRow("too narrow") << QSize(1000, 300) << QSize(700, 400) << false;
}

void TestBody::windowsOpenBesideTheirParent()
{
    QFETCH(QSize, body);
    QFETCH(QSize, base);
    QFETCH(bool, right);
    Body main;
    main.resize(body);
    main.move(0, 0);
    main.imgBase()->resize(base);
    main.show();
    QVERIFY(QTest::qWaitForWindowExposed(&main));
    main.loadFilesSelected({m_files.first()});
    QTRY_VERIFY(main.imgBase()->isVisible());
    const QRect m = main.frameGeometry();
    const QRect b = main.imgBase()->frameGeometry();
    QCOMPARE(b.topLeft(),
             right ? QPoint(m.right() + 1, m.top()) : QPoint(m.left(), m.bottom() + 1));

    // A tab closed by its button becomes a window beside the image window.
    DataCtrl *entry = main.dataCtrls()->at(0);
    QTabBar *tabs = main.imgBase()->tabWidget()->tabBar();
    QTest::mouseClick(tabs->tabButton(0, QTabBar::RightSide), Qt::LeftButton);
    QTRY_VERIFY(entry->display()->isWindow() && entry->display()->isVisible());
    QVERIFY(!entry->display()->frameGeometry().intersects(b));

    // The statistics open beside the main window.
    click(entry, "Stat");
    const QList<QLabel *> labels = entry->findChildren<QLabel *>();
    const auto stat =
        std::find_if(labels.begin(), labels.end(), [](QLabel *l) { return l->isWindow(); });
    QVERIFY(stat != labels.end() && (*stat)->isVisible());
    QVERIFY(!(*stat)->frameGeometry().intersects(m));
}

void TestBody::typedFormulaSurvivesNewEntryAndEmptyResultIsReported()
{
    Body body;
    body.show();
    body.loadFilesSelected(m_files.mid(0, 2));
    QTRY_COMPARE(body.dataCtrls()->count(), 2);
    click(&body, "Calc");
    auto *num = child<QLineEdit>(&body, u"Numerators"_s);
    auto *den = child<QLineEdit>(&body, u"Denominators"_s);
    QTest::keyClicks(num, u"I[0]"_s);
    QTest::keyClicks(den, u"2*I[1]"_s);

    // A new entry leaves the typed formulas alone ...
    body.loadFilesSelected({m_files.at(2)});
    QTRY_COMPARE(body.dataCtrls()->count(), 3);
    QCOMPARE(num->text() + u" / "_s + den->text(), u"I[0] / 2*I[1]"_s);
    // ... and is known to the panel as soon as it is ticked or named.
    click(body.dataCtrls()->at(2), "MultiSelB");
    QCOMPARE(den->text(), u"I[2]"_s);

    // Every pixel invalid (the logarithm of negative values): said, and still added.
    num->clear();
    QTest::keyClicks(num, u"-I[2]"_s);
    click(&body, "Gen");
    QVERIFY(body.dataCtrls()->count() == 4 && body.dataCtrls()->record(3)->validCount() == 0);
    QCOMPARE(body.statusBar()->currentMessage(),
             u"Cl[log(-I[2]/I[2])] has no valid pixel (check the regions and the formula)"_s);
}

int main(int argc, char **argv)
{
    // A virtual screen with room for two windows side by side, as on a desk.
    QTemporaryDir dir;
    const QString json = dir.filePath(u"screen.json"_s);
    if (!writeAll(json,
                  R"({"screens": [{"name": "desk", "x": 0, "y": 0, "width": 1600, "height": 1000,
                             "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})"))
        return 1;
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + json.toLocal8Bit());
    QApplication app(argc, argv);
    TestBody test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_body.moc"
