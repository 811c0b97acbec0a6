#include "tests/support/CliFixtures.h"

#include "core/TDDataWL.h"
#include "io/ImgFile.h"

#include <QDir>
#include <QTest>

#include <cmath>

namespace {

// A demo image as a record; null unless it is a 16-bit grey TIFF.
std::unique_ptr<TDDataWL> tiff(const QString &dir, const char *name)
{
    QString error;
    ImageLoader::Result how;
    auto r = Cli::loadRecord(dir + '/' + name + ".tif", &error, &how);
    return how.format == "TIFF" && how.pixelType == ImgFile::TiffU16 ? std::move(r) : nullptr;
}

double absorbance(const TDDataWL &i, const TDDataWL &i0, int x, int y)
{
    return -std::log(i.value(x, y) / i0.value(x, y));
}

} // namespace

class TstCliDemo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
        // A directory that does not exist yet, two levels deep.
        m_dir = m_tmp.filePath("new/demo");
        const CliRun r = runCli({"demo", m_dir});
        QCOMPARE(r.status, 0);
        m_printed = r.out;
    }

    void writesTheListedFiles()
    {
        const QStringList printed = m_printed.split(u'\n', Qt::SkipEmptyParts);
        const QStringList onDisk = QDir(m_dir).entryList(QDir::Files, QDir::Name);
        QCOMPARE(printed.size(), onDisk.size());
        qint64 total = 0;
        for (const QString &path : printed) {
            QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
            QVERIFY(onDisk.contains(QFileInfo(path).fileName()));
            total += QFileInfo(path).size();
        }
        QCOMPARE((QList<qsizetype>{onDisk.filter(".tif").size(), onDisk.filter(".zmp").size(),
                                   onDisk.filter(".txt").size()}),
                 (QList<qsizetype>{10, 1, 1}));
        QVERIFY(total < 2 * 1024 * 1024);
    }

    void imagesShowTheEdge()
    {
        const auto i0Below = tiff(m_dir, "I0_7100eV"), iBelow = tiff(m_dir, "I_7100eV"),
                   i0Mid = tiff(m_dir, "I0_7117eV"), iMid = tiff(m_dir, "I_7117eV"),
                   i0Above = tiff(m_dir, "I0_7140eV"), iAbove = tiff(m_dir, "I_7140eV");
        QVERIFY(i0Below && iBelow && i0Mid && iMid && i0Above && iAbove);
        QCOMPARE(QSize(i0Above->width(), i0Above->height()), QSize(256, 256));

        // Centres of the metal and the oxide particle, and a corner outside the pellet.
        const int mx = 88, my = 100, ox = 168, oy = 156;
        QVERIFY(iAbove->value(mx, my) < i0Above->value(mx, my) / 2);
        QVERIFY(iAbove->value(ox, oy) < i0Above->value(ox, oy) / 2);
        QVERIFY(std::abs(absorbance(*iAbove, *i0Above, 2, 2)) < 0.1);

        // Both compounds absorb much more above the edge than below it...
        QVERIFY(absorbance(*iAbove, *i0Above, mx, my) >
                absorbance(*iBelow, *i0Below, mx, my) + 0.7);
        QVERIFY(absorbance(*iAbove, *i0Above, ox, oy) >
                absorbance(*iBelow, *i0Below, ox, oy) + 0.5);
        // ...but between the two edges only the metal has jumped.
        QVERIFY(absorbance(*iMid, *i0Mid, mx, my) > absorbance(*iBelow, *i0Below, mx, my) + 0.7);
        QVERIFY(absorbance(*iMid, *i0Mid, ox, oy) < absorbance(*iBelow, *i0Below, ox, oy) + 0.3);
    }

    void textMatrixAndMapLoad()
    {
        TDDataWL map(0, 0);
        QVERIFY(map.load(m_dir + "/edge_jump.zmp"));
        QCOMPARE(QSize(map.width(), map.height()), QSize(128, 128));
        // Binned 2x2: the metal centre (88, 100) is at (44, 50); the edge jump is clear there
        // and near zero outside the pellet.
        QVERIFY(map.isValid(44, 50) && map.value(44, 50) > 0.7 && std::abs(map.value(1, 1)) < 0.1);

        QFile text(m_dir + "/absorbance_7140eV.txt");
        QVERIFY(text.open(QIODevice::ReadOnly | QIODevice::Text));
        QCOMPARE(text.readLine().left(9), QByteArray("## 240301"));
        QString error;
        const std::unique_ptr<TDDataWL> matrix = Cli::loadRecord(text.fileName(), &error);
        QVERIFY2(matrix, qPrintable(error));
        QCOMPARE(QSize(matrix->width(), matrix->height()), QSize(64, 64));
        // Binned 4x4: the metal centre is at (22, 25).
        QVERIFY(matrix->value(22, 25) > 1.0 && std::abs(matrix->value(0, 0)) < 0.1);
    }

    void sameFilesEveryRun()
    {
        const QString again = m_tmp.filePath("again");
        QCOMPARE(runCli({"demo", again}).status, 0);
        for (const QString &name : QDir(m_dir).entryList(QDir::Files)) {
            QFile a(m_dir + u'/' + name), b(again + u'/' + name);
            QVERIFY2(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly), qPrintable(name));
            QVERIFY2(a.readAll() == b.readAll(), qPrintable(name));
        }
    }

private:
    QTemporaryDir m_tmp;
    QString m_dir;
    QString m_printed;
};

QTEST_MAIN(TstCliDemo)
#include "tst_cli_demo.moc"
