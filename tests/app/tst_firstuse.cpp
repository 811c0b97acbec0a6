// What a new user meets first: the colour bar's ramp, keys, square pixels, where windows
// open, typed formulas and empty results.
#include "app/Body.h"
#include "app/ConfigStore.h"
#include "app/_FileDialog.h"
#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"
#include "data/ImgBase.h"
#include "display/ChCoord.h"
#include "display/ColorBar.h"
#include "display/DispA.h"
#include "display/ImgDisp.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

template <typename T> T *child(QObject *w, const char *name)
{
    T *found = w->findChild<T *>(QString::fromLatin1(name));
    if (!found) qFatal("no widget %s", name);
    return found;
}

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

} // namespace

class TestFirstUse : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup() { ConfigStore::instance().clear(); }
    void barIsASmoothRampAfterResize_data();
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
    QStringList m_files;
};

void TestFirstUse::initTestCase()
{
    qRegisterMetaType<TDDataWL *>();
    QVERIFY(m_dir.isValid());
    for (int k = 0; k < 3; ++k) {
        TDDataWL rec(6, 4);
        rec.setDataId(QStringLiteral("rec%1").arg(k));
        for (qsizetype i = 0; i < rec.pixelCount(); ++i)
            rec.setValue(i, 1.0 + k + double(i), true);
        m_files << m_dir.filePath(QStringLiteral("rec%1.zmp").arg(k));
        QVERIFY(rec.save(m_files.last()));
    }
}

std::unique_ptr<ImgDisp> TestFirstUse::shownDisplay(QSize size, QSize image)
{
    auto disp = std::make_unique<ImgDisp>();
    disp->setImageSize(image.width(), image.height());
    disp->resize(size);
    disp->show();
    disp->activateWindow();
    if (!QTest::qWaitForWindowActive(disp.get())) qWarning("display not active");
    return disp;
}

void TestFirstUse::barIsASmoothRampAfterResize_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("taller") << QSize(400, 560);
    QTest::newRow("shorter") << QSize(400, 330);
}

void TestFirstUse::barIsASmoothRampAfterResize()
{
    QFETCH(QSize, size);
    auto disp = shownDisplay(QSize(300, 240), QSize(10, 10));
    disp->resize(size);
    ColorBar *bar = disp->colorBar();
    QTRY_VERIFY(bar->height() > size.height() / 2);
    const int h = bar->height();
    const QImage shot = bar->grab().toImage();
    // Between the labels, every screen row shows the ramp at its own height: no bands.
    for (int y = 110; y < h - 110; ++y)
        QCOMPARE(shot.pixelColor(bar->width() / 2, y), bar->colorOfH(h - 1 - y));
}

void TestFirstUse::imageKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<double>("factor"); // 0: the whole image again
    QTest::newRow("+") << int(Qt::Key_Plus) << 0.9;
    QTest::newRow("-") << int(Qt::Key_Minus) << 1.1;
    QTest::newRow("0") << int(Qt::Key_0) << 0.0;
    QTest::newRow("Home") << int(Qt::Key_Home) << 0.0;
}

void TestFirstUse::imageKeys()
{
    QFETCH(int, key);
    QFETCH(double, factor);
    auto disp = shownDisplay(QSize(400, 300), QSize(120, 90));
    DispA *canvas = disp->canvas();
    // A click gives the image the keys; being no drag, it draws no region.
    QTest::mouseClick(canvas, Qt::LeftButton, {}, QPoint(30, 30));
    QVERIFY(canvas->hasFocus());
    QCOMPARE(disp->regionState(), 0);
    QTest::mousePress(canvas, Qt::LeftButton, {}, QPoint(30, 30));
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, QPoint(80, 70));
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
    QCOMPARE(cleared.count(), 1);
    QCOMPARE(disp->regionLabel(), QString());
}

void TestFirstUse::squarePixels_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<bool>("on");
    QTest::addColumn<QSize>("image");
    QTest::newRow("unset") << QByteArray() << false << QSize(200, 50);
    QTest::newRow("0") << QByteArray("0") << false << QSize(200, 50);
    QTest::newRow("wide") << QByteArray("1") << true << QSize(200, 50);
    QTest::newRow("tall") << QByteArray("on") << true << QSize(40, 160);
}

void TestFirstUse::squarePixels()
{
    QFETCH(QByteArray, config);
    QFETCH(bool, on);
    QFETCH(QSize, image);
    ConfigStore::instance().clear();
    if (!config.isNull())
        ConfigStore::instance().setValue(QStringLiteral("SquarePixels"),
                                         QString::fromLatin1(config));
    auto disp = shownDisplay(QSize(420, 380), image);
    auto *box = child<QCheckBox>(disp.get(), "SquarePixels");
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

void TestFirstUse::mainWindowShortcuts()
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

void TestFirstUse::windowsOpenBesideTheirParent_data()
{
    // The screen is 1600 by 1000 (see main).
    QTest::addColumn<QSize>("body");
    QTest::addColumn<QSize>("base");
    QTest::addColumn<bool>("right");
    QTest::newRow("room on the right") << QSize(600, 300) << QSize(600, 400) << true;
    QTest::newRow("too narrow") << QSize(1000, 300) << QSize(700, 400) << false;
}

void TestFirstUse::windowsOpenBesideTheirParent()
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
    QTest::mouseClick(child<QPushButton>(entry, "Stat"), Qt::LeftButton);
    const QList<QLabel *> labels = entry->findChildren<QLabel *>();
    const auto stat =
        std::find_if(labels.begin(), labels.end(), [](QLabel *l) { return l->isWindow(); });
    QVERIFY(stat != labels.end() && (*stat)->isVisible());
    QVERIFY(!(*stat)->frameGeometry().intersects(m));
}

void TestFirstUse::typedFormulaSurvivesNewEntryAndEmptyResultIsReported()
{
    Body body;
    body.show();
    body.loadFilesSelected(m_files.mid(0, 2));
    QTRY_COMPARE(body.dataCtrls()->count(), 2);
    QTest::mouseClick(child<QPushButton>(&body, "Calc"), Qt::LeftButton);
    auto *num = child<QLineEdit>(&body, "Numerators");
    auto *den = child<QLineEdit>(&body, "Denominators");
    QTest::keyClicks(num, QStringLiteral("I[0]"));
    QTest::keyClicks(den, QStringLiteral("2*I[1]"));

    // A new entry leaves the typed formulas alone ...
    body.loadFilesSelected({m_files.at(2)});
    QTRY_COMPARE(body.dataCtrls()->count(), 3);
    QCOMPARE(num->text(), QStringLiteral("I[0]"));
    QCOMPARE(den->text(), QStringLiteral("2*I[1]"));
    // ... and is known to the panel as soon as it is ticked or named.
    QTest::mouseClick(child<QCheckBox>(body.dataCtrls()->at(2), "MultiSelB"), Qt::LeftButton);
    QCOMPARE(den->text(), QStringLiteral("I[2]"));

    // Every pixel invalid (the logarithm of negative values): said, and still added.
    num->clear();
    QTest::keyClicks(num, QStringLiteral("-I[2]"));
    QTest::mouseClick(child<QPushButton>(&body, "Gen"), Qt::LeftButton);
    QCOMPARE(body.dataCtrls()->count(), 4);
    QCOMPARE(body.dataCtrls()->record(3)->validCount(), 0);
    QCOMPARE(body.statusBar()->currentMessage(),
             QStringLiteral(
                 "Cl[log(-I[2]/I[2])] has no valid pixel (check the regions and the formula)"));
}

int main(int argc, char **argv)
{
    // A virtual screen with room for two windows side by side, as on a desk.
    QTemporaryDir dir;
    const QString json = dir.filePath(QStringLiteral("screen.json"));
    QFile f(json);
    if (!f.open(QIODevice::WriteOnly)) return 1;
    f.write(R"({"screens": [{"name": "desk", "x": 0, "y": 0, "width": 1600, "height": 1000,
                             "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    f.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + json.toLocal8Bit());
    QApplication app(argc, argv);
    TestFirstUse test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_firstuse.moc"
