#include "../io/ImageTestFiles.h"

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

using namespace RecordFixtures;
using namespace Qt::StringLiterals;

namespace {

template <typename T> T *child(QWidget *w, const char *name)
{
    return w->findChild<T *>(QString::fromLatin1(name));
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
    QVERIFY(body.statusBar()->currentMessage().contains("junk.img"_L1) ||
            body.statusBar()->currentMessage().contains("third"_L1));
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
    QList<QVariant> last = sels.takeLast();
    QCOMPARE(last.at(0).toInt(), 1);
    QCOMPARE(last.at(1).toInt(), -1);
    QCOMPARE(last.at(2).value<QList<bool>>(), QList<bool>({true, false, true}));
    QCOMPARE(last.at(3).value<QList<bool>>(), QList<bool>({false, false, false}));

    // Single(S1) saves the S1 record under the chosen name.
    body.saveFile(m_dir.filePath(u"single.zmp"_s));
    TDDataWL back(0, 0);
    QVERIFY(back.load(m_dir.filePath(u"single.zmp"_s)));
    QCOMPARE(back.dataId(), u"second"_s);
    QCOMPARE(back.value(0), 77.0);

    // Selected(A) saves each A record beside the chosen name, named by its data id.
    QTest::mouseClick(child<QRadioButton>(&body, "SaveSelected"), Qt::LeftButton);
    QDir out(m_dir.filePath(u"out"_s));
    QVERIFY(out.mkpath(u"."_s));
    body.saveFile(out.filePath(u"ignored.zmp"_s));
    QCOMPARE(out.entryList(QDir::Files), (QStringList{u"firstdivrecord.zmp"_s, u"third.zmp"_s}));
    QVERIFY(back.load(out.filePath(u"firstdivrecord.zmp"_s)));
    QCOMPARE(back.width(), 4);
    QVERIFY(back.load(out.filePath(u"third.zmp"_s)));
    QCOMPARE(back.width(), 6);

    // Deleting the first entry renews the indices: S1 moves from 1 to 0.
    QPointer<DataCtrl> gone(list->at(0));
    QTest::mouseClick(child<QPushButton>(list->at(0), "Del"), Qt::LeftButton);
    QCOMPARE(list->count(), 2);
    last = sels.takeLast();
    QCOMPARE(last.at(0).toInt(), 0);
    QCOMPARE(last.at(2).value<QList<bool>>(), QList<bool>({false, true}));
    QCOMPARE(child<QLabel>(list->at(0), "No")->text() + child<QLabel>(list->at(1), "No")->text(),
             u"01"_s);
    QCOMPARE(body.imgBase()->tabWidget()->count(), 2);
    QTRY_VERIFY(gone.isNull());

    // A refused file adds nothing, and says so.
    body.loadAFile(m_junk);
    QCOMPARE(list->count(), 2);
    QVERIFY(body.statusBar()->currentMessage().contains("junk.img"_L1));
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
    QCOMPARE(open->fileMode(), QFileDialog::ExistingFiles);
    QCOMPARE(body.saveDialog()->acceptMode(), QFileDialog::AcceptSave);

    // Load: the default filter shows a camera image, which is then picked by its name.
    QTest::mouseClick(child<QPushButton>(&body, "Load"), Qt::LeftButton);
    QVERIFY(open->isVisible());
    open->setDirectory(m_dir.path());
    auto *view = open->findChild<QListView *>(u"listView"_s);
    const auto shown = [view] {
        QStringList names;
        for (int r = 0; r < view->model()->rowCount(view->rootIndex()); ++r)
            names << view->model()->index(r, 0, view->rootIndex()).data().toString();
        return names;
    };
    QTRY_VERIFY(shown().contains(u"third.tif"_s));
    QVERIFY(shown().contains(u"first.zmp"_s));
    QTest::keyClicks(child<QLineEdit>(open, "fileNameEdit"), u"first.zmp"_s);
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
    QVERIFY(b->isFocused() && !a->isFocused());

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
    QCOMPARE(body.size(), QSize(500, 400));
    QCOMPARE(body.imgBase()->size(), QSize(300, 200));
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
    QVERIFY(set.configFile.endsWith("config2.cfg"_L1));
    QVERIFY(set.debug);
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
        QCOMPARE(child<QPushButton>(&body, "Load")->text(), english ? u"Load"_s : u"読込"_s);
        QCOMPARE(body.windowTitle(), u"Zelmap"_s);
        if (english) QCOMPARE(child<QRadioButton>(&body, "SaveSingle")->text(), u"Single(S1)"_s);
        QCoreApplication::removeTranslator(&translator);
    }
    // Every text the translation lists has its Japanese form.
    const QByteArray xml = readAll(QFINDTESTDATA("../../translations/Zelmap_ja_JP.ts"));
    QVERIFY(xml.count("<message") > 50);
    QCOMPARE(xml.count("type=\"unfinished\""), 0);
}

QTEST_MAIN(TestBody)
#include "tst_body.moc"
