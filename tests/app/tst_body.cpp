#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/Startup.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <tiffio.h>

namespace {

bool writeTiff16(const QString &path, int w, int h)
{
    TIFF *tif = TIFFOpen(path.toLocal8Bit().constData(), "w");
    if (!tif) return false;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    std::vector<uint16_t> row(size_t(w), 0);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x)
            row[size_t(x)] = uint16_t(100 * y + x);
        TIFFWriteScanline(tif, row.data(), uint32_t(y), 0);
    }
    TIFFClose(tif);
    return true;
}

template <typename T> T *child(QWidget *w, const char *name)
{
    return w->findChild<T *>(QString::fromLatin1(name));
}

} // namespace

class TestBody : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void loadSelectSaveDelete();
    void fileDialogs_data();
    void fileDialogs();
    void pointedPixelReachesEveryEntry();
    void windowSizesAndCommandLineFiles();
    void configurationPrecedence();
    void translationChangesTexts();

private:
    QTemporaryDir m_dir;
    QString m_zmp, m_png, m_tif, m_junk;
};

void TestBody::initTestCase()
{
    QVERIFY(m_dir.isValid());
    TDDataWL rec(4, 3);
    rec.setDataId(QStringLiteral("first/record"));
    for (qsizetype i = 0; i < rec.pixelCount(); ++i)
        rec.setValue(i, double(i), true);
    m_zmp = m_dir.filePath(QStringLiteral("first.zmp"));
    QVERIFY(rec.save(m_zmp));

    QImage img(5, 2, QImage::Format_Grayscale8);
    img.fill(77);
    m_png = m_dir.filePath(QStringLiteral("second.png"));
    QVERIFY(img.save(m_png));

    m_tif = m_dir.filePath(QStringLiteral("third.tif"));
    QVERIFY(writeTiff16(m_tif, 6, 2));

    m_junk = m_dir.filePath(QStringLiteral("junk.img"));
    QFile junk(m_junk);
    QVERIFY(junk.open(QIODevice::WriteOnly));
    junk.write("\x7f\x01 nothing any reader takes");
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
    QCOMPARE(list->record(0)->dataId(), QStringLiteral("first/record"));
    QCOMPARE(list->record(1)->dataId(), QStringLiteral("second"));
    QCOMPARE(list->record(2)->dataId(), QStringLiteral("third"));
    QCOMPARE(list->record(2)->value(3, 1), 103.0);
    QVERIFY(body.statusBar()->currentMessage().contains(QLatin1String("junk.img")) ||
            body.statusBar()->currentMessage().contains(QLatin1String("third")));
    QCOMPARE(body.imgBase()->tabWidget()->count(), 3);

    // S1 on the second entry, A on the first and third, by clicks. Moving S1 from the
    // third to the second switches two buttons, and each switch reports.
    QTest::mouseClick(child<QRadioButton>(list->at(2), "SingleSel1"), Qt::LeftButton);
    sels.clear();
    QTest::mouseClick(child<QRadioButton>(list->at(1), "SingleSel1"), Qt::LeftButton);
    QCOMPARE(sels.count(), 2);
    for (const QList<QVariant> &record : std::as_const(sels))
        QCOMPARE(record.at(0).toInt(), 1);
    QTest::mouseClick(child<QCheckBox>(list->at(0), "MultiSelA"), Qt::LeftButton);
    QTest::mouseClick(child<QCheckBox>(list->at(2), "MultiSelA"), Qt::LeftButton);
    QVERIFY(!sels.isEmpty());
    QList<QVariant> last = sels.takeLast();
    QCOMPARE(last.at(0).toInt(), 1);
    QCOMPARE(last.at(1).toInt(), -1);
    QCOMPARE(last.at(2).value<QList<bool>>(), QList<bool>({true, false, true}));
    QCOMPARE(last.at(3).value<QList<bool>>(), QList<bool>({false, false, false}));

    // Single(S1) saves the S1 record under the chosen name.
    const QString single = m_dir.filePath(QStringLiteral("single.zmp"));
    body.saveFile(single);
    TDDataWL back(0, 0);
    QVERIFY(back.load(single));
    QCOMPARE(back.dataId(), QStringLiteral("second"));
    QCOMPARE(back.value(0), 77.0);

    // Selected(A) saves each A record beside the chosen name, named by its data id.
    QTest::mouseClick(child<QRadioButton>(&body, "SaveSelected"), Qt::LeftButton);
    QDir out(m_dir.filePath(QStringLiteral("out")));
    QVERIFY(out.mkpath(QStringLiteral(".")));
    body.saveFile(out.filePath(QStringLiteral("ignored.zmp")));
    QVERIFY(back.load(out.filePath(QStringLiteral("firstdivrecord.zmp"))));
    QCOMPARE(back.width(), 4);
    QVERIFY(back.load(out.filePath(QStringLiteral("third.zmp"))));
    QCOMPARE(back.width(), 6);
    QVERIFY(!QFile::exists(out.filePath(QStringLiteral("second.zmp"))));
    QVERIFY(!QFile::exists(out.filePath(QStringLiteral("ignored.zmp"))));

    // Deleting the first entry renews the indices: S1 moves from 1 to 0.
    DataCtrl *first = list->at(0);
    QPointer<DataCtrl> gone(first);
    QTest::mouseClick(child<QPushButton>(first, "Del"), Qt::LeftButton);
    QCOMPARE(list->count(), 2);
    last = sels.takeLast();
    QCOMPARE(last.at(0).toInt(), 0);
    QCOMPARE(last.at(2).value<QList<bool>>(), QList<bool>({false, true}));
    QCOMPARE(child<QLabel>(list->at(0), "No")->text(), QStringLiteral("0"));
    QCOMPARE(child<QLabel>(list->at(1), "No")->text(), QStringLiteral("1"));
    QCOMPARE(body.imgBase()->tabWidget()->count(), 2);
    QTRY_VERIFY(gone.isNull());

    // A refused file adds nothing.
    body.loadAFile(m_junk);
    QCOMPARE(list->count(), 2);
    QVERIFY(body.statusBar()->currentMessage().contains(QLatin1String("junk.img")));
}

void TestBody::fileDialogs_data()
{
    QTest::addColumn<int>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("picture");
    QTest::newRow("2dData") << 0 << "typed"
                            << "typed.zmp" << false;
    QTest::newRow("picture") << 1 << "pic"
                             << "pic.png" << true;
    QTest::newRow("any") << 2 << "raw"
                         << "raw" << false;
    QTest::newRow("own extension") << 0 << "mine.dat"
                                   << "mine.dat" << false;
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
    QCOMPARE(open->fileMode(), QFileDialog::ExistingFiles);
    QCOMPARE(open->acceptMode(), QFileDialog::AcceptOpen);
    const QStringList openFilters = open->nameFilters();
    QCOMPARE(openFilters.size(), 8);
    QCOMPARE(openFilters.first(),
             QStringLiteral("Images (*.zmp *.tif *.tiff *.img *.dat *.txt *.png *.jpg *.jpeg)"));
    QCOMPARE(openFilters.last(), QStringLiteral("Any (* *.*)"));
    QCOMPARE(body.saveDialog()->fileMode(), QFileDialog::AnyFile);
    QCOMPARE(body.saveDialog()->acceptMode(), QFileDialog::AcceptSave);
    QCOMPARE(
        body.saveDialog()->nameFilters(),
        QStringList({QStringLiteral("2D Data File (*.zmp)"),
                     QStringLiteral("Img File (*.png *.jpg)"), QStringLiteral("Any (* *.*)")}));

    // Load: the default filter shows a camera image, which is then picked by its name.
    QTest::mouseClick(child<QPushButton>(&body, "Load"), Qt::LeftButton);
    QVERIFY(open->isVisible());
    open->setDirectory(m_dir.path());
    auto *view = open->findChild<QListView *>(QStringLiteral("listView"));
    const auto shown = [view] {
        QStringList names;
        for (int r = 0; r < view->model()->rowCount(view->rootIndex()); ++r)
            names << view->model()->index(r, 0, view->rootIndex()).data().toString();
        return names;
    };
    QTRY_VERIFY(shown().contains(QStringLiteral("third.tif")));
    QVERIFY(shown().contains(QStringLiteral("first.zmp")));
    QTest::keyClicks(child<QLineEdit>(open, "fileNameEdit"), QStringLiteral("first.zmp"));
    QTest::keyClick(child<QLineEdit>(open, "fileNameEdit"), Qt::Key_Return);
    QTRY_COMPARE(body.dataCtrls()->count(), 1);

    // Save S1 under a typed name, with the filter chosen in the dialog's own list.
    QTest::mouseClick(child<QRadioButton>(body.dataCtrls()->at(0), "SingleSel1"), Qt::LeftButton);
    QTest::mouseClick(child<QPushButton>(&body, "Save"), Qt::LeftButton);
    _FileDialog *save = body.saveDialog();
    QVERIFY(save->isVisible());
    QTemporaryDir out;
    save->setDirectory(out.path());
    auto *kinds = child<QComboBox>(save, "fileTypeCombo");
    for (int i = 0; i < filter; ++i)
        QTest::keyClick(kinds, Qt::Key_Down);
    QCOMPARE(kinds->currentIndex(), filter);
    QTest::keyClicks(child<QLineEdit>(save, "fileNameEdit"), typed);
    QTest::keyClick(child<QLineEdit>(save, "fileNameEdit"), Qt::Key_Return);
    const QString path = QDir(out.path()).filePath(written);
    QTRY_VERIFY2(QFile::exists(path), qPrintable(QDir(out.path()).entryList().join(' ')));
    QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 1);
    TDDataWL back(0, 0);
    QCOMPARE(back.load(path), !picture);
    QCOMPARE(QImage(path).isNull(), !picture);
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
    QVERIFY(b->isFocused());
    QVERIFY(!a->isFocused());

    // Out of the tabs, each display is a window of its own; pointing into one focuses it.
    QTest::mouseClick(child<QCheckBox>(&body, "InTab"), Qt::LeftButton);
    QCOMPARE(body.imgBase()->tabWidget()->count(), 0);
    QVERIFY(a->display()->isWindow());
    DispA *canvas = a->display()->canvas();
    QTRY_VERIFY(canvas->isVisible());
    QSignalSpy focused(a, &DataCtrl::focused);
    const QPoint centre = canvas->rect().center();
    QMouseEvent move(QEvent::MouseMove, centre, canvas->mapToGlobal(centre), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(canvas, &move);
    QVERIFY(a->noticedPosition().x() >= 0);
    QCOMPARE(b->noticedPosition(), a->noticedPosition());
    QCOMPARE(focused.count(), 1);
    QVERIFY(a->isFocused());
    QVERIFY(!b->isFocused());
}

void TestBody::windowSizesAndCommandLineFiles()
{
    QCOMPARE(Body::parseSize(QStringLiteral("640x480")), QSize(640, 480));
    QVERIFY(!Body::parseSize(QString()).isValid());
    QVERIFY(!Body::parseSize(QStringLiteral("640")).isValid());
    QVERIFY(!Body::parseSize(QStringLiteral("axb")).isValid());

    ConfigStore &store = ConfigStore::instance();
    store.clear();
    store.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-bs"),
                            QStringLiteral("500x400"), QStringLiteral("-ibs"),
                            QStringLiteral("300x200")},
                           false, QString(), {});
    Body body;
    body.applyWindowSizes();
    QCOMPARE(body.size(), QSize(500, 400));
    QCOMPARE(body.imgBase()->size(), QSize(300, 200));
    store.clear();

    const QStringList args = {
        QStringLiteral("zelmap"), QStringLiteral("-d"), QStringLiteral("/data"),
        QStringLiteral("a.tif"),  QStringLiteral("-e"), QStringLiteral("b.img"),
        QStringLiteral("-x"),     QStringLiteral("-5"), QStringLiteral("c.zmp")};
    QCOMPARE(
        Startup::filesToOpen(args),
        QStringList({QStringLiteral("a.tif"), QStringLiteral("b.img"), QStringLiteral("c.zmp")}));
}

void TestBody::configurationPrecedence()
{
    QTemporaryDir appDir;
    auto write = [](const QString &path, const QByteArray &text) {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(text);
    };
    write(appDir.filePath(QStringLiteral("config.cfg")), "DataRoot /from/default\n");
    write(m_dir.filePath(QStringLiteral("c.cfg")), "DataRoot /from/c\n");
    write(m_dir.filePath(QStringLiteral("config2.cfg")), "DataRoot /from/config\n");

    ConfigStore s1;
    s1.parseCommandLine({QStringLiteral("zelmap")}, false, QStringLiteral("config.cfg"),
                        {QStringLiteral("-c")});
    // Reached through a link, the default file is still named by its canonical path.
    const QString link = m_dir.filePath(QStringLiteral("applink"));
    QVERIFY(QFile::link(appDir.path(), link));
    Startup::Settings set = Startup::configure(s1, link);
    QCOMPARE(set.dataRoot, QStringLiteral("/from/default"));
    QCOMPARE(set.configFile,
             QFileInfo(appDir.filePath(QStringLiteral("config.cfg"))).canonicalFilePath());
    QVERIFY(!set.configFile.startsWith(link));
    QVERIFY(!set.english);
    QVERIFY(!set.debug);

    ConfigStore s2;
    s2.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-c"),
                         m_dir.filePath(QStringLiteral("c.cfg")), QStringLiteral("-config"),
                         m_dir.filePath(QStringLiteral("config2.cfg")), QStringLiteral("-dbg")},
                        false, QStringLiteral("config.cfg"), {QStringLiteral("-c")});
    set = Startup::configure(s2, appDir.path());
    QCOMPARE(set.dataRoot, QStringLiteral("/from/config"));
    QVERIFY(set.configFile.endsWith(QLatin1String("config2.cfg")));
    QVERIFY(set.debug);

    ConfigStore s3;
    s3.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-c"),
                         m_dir.filePath(QStringLiteral("c.cfg")), QStringLiteral("-d"),
                         QStringLiteral("/from/option")},
                        false, QStringLiteral("config.cfg"), {QStringLiteral("-c")});
    set = Startup::configure(s3, appDir.path());
    QCOMPARE(set.dataRoot, QStringLiteral("/from/option"));

    // No file anywhere: the current directory, and start-up goes on.
    ConfigStore s4;
    s4.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-c"),
                         m_dir.filePath(QStringLiteral("missing.cfg"))},
                        false, QStringLiteral("config.cfg"), {QStringLiteral("-c")});
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Can't open config file : "));
    set = Startup::configure(s4, appDir.path());
    QCOMPARE(set.dataRoot, QDir::currentPath());
}

void TestBody::translationChangesTexts()
{
    {
        ConfigStore store;
        store.parseCommandLine({QStringLiteral("zelmap")}, false, QString(), {});
        QTranslator translator;
        const Startup::Settings s = Startup::prepare(store, translator, m_dir.path());
        QVERIFY(!s.english);
        QVERIFY(!translator.isEmpty());
        Body body;
        QCOMPARE(child<QPushButton>(&body, "Load")->text(), QStringLiteral("読込"));
        QCOMPARE(body.windowTitle(), QStringLiteral("Zelmap"));
        QCoreApplication::removeTranslator(&translator);

        // Every text the translation lists has its Japanese form.
        QFile ts(QFINDTESTDATA("../../translations/Zelmap_ja_JP.ts"));
        QVERIFY(ts.open(QIODevice::ReadOnly));
        const QByteArray xml = ts.readAll();
        QVERIFY(xml.count("<message") > 50);
        QCOMPARE(xml.count("type=\"unfinished\""), 0);
    }
    ConfigStore store;
    store.parseCommandLine({QStringLiteral("zelmap"), QStringLiteral("-e")}, false, QString(), {});
    QTranslator translator;
    const Startup::Settings s = Startup::prepare(store, translator, m_dir.path());
    QVERIFY(s.english);
    Body body;
    QCOMPARE(child<QPushButton>(&body, "Load")->text(), QStringLiteral("Load"));
    QCOMPARE(child<QRadioButton>(&body, "SaveSingle")->text(), QStringLiteral("Single(S1)"));
}

QTEST_MAIN(TestBody)
#include "tst_body.moc"
