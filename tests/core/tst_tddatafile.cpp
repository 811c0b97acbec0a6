#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

namespace {

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    QCOMPARE(f.write(bytes), bytes.size());
}

// A header text with the given lines after the first one, padded to headerSize.
QByteArray handMadeHeader(const QByteArray &lines, int headerSize)
{
    QByteArray first = "2dData-V0.0 HeaderSize: " + QByteArray::number(headerSize);
    first = first.leftJustified(64, ' ') + '\n';
    QByteArray h = first + lines;
    return h.leftJustified(headerSize, '\0', true);
}

} // namespace

class TestTDDataFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.isValid()); }
    void layoutOfSmallFile();
    void headerSizeRounding();
    void roundTrip();
    void rangeWrittenAsDisplayRange();
    void headerKeysOverride();
    void refusesForeignAndHostileHeaders();
    void shortFileLeavesRestInvalid();
    void saveReplacesWholeFileOrNothing();

private:
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QTemporaryDir m_dir;
};

void TestTDDataFile::layoutOfSmallFile()
{
    TDDataWL r(2, 1);
    r.setDataId(QStringLiteral("x"));
    r.setValue(0, 1.0, true);
    r.setValue(1, 2.0, false);
    QVERIFY(r.save(path("small.zmp")));
    const QByteArray bytes = readAll(path("small.zmp"));
    QCOMPARE(bytes.size(), 530);

    const QByteArray text = bytes.left(bytes.indexOf('\0'));
    QCOMPARE(text.size(), 324);
    const QList<QByteArray> lines = text.split('\n');
    QCOMPARE(lines.at(0).size(), 64);
    QCOMPARE(lines.at(0).trimmed(), QByteArray("2dData-V0.0 HeaderSize: 512"));
    QCOMPARE(lines.at(1), QByteArray("WIDTH: 2"));
    QCOMPARE(lines.at(2), QByteArray("HEIGHT: 1"));
    QCOMPARE(lines.at(3), QByteArray("DATA_ID: x"));
    QCOMPARE(lines.at(4).size() + 1, 158); // with its line feed
    QVERIFY(lines.at(4).endsWith("HEIGHT ) "));
    QCOMPARE(lines.at(5), QByteArray("SIZE_OF_DOUBLE: 8"));
    QCOMPARE(lines.at(6), QByteArray("SIZE_OF_BOOL: 1"));
    QCOMPARE(lines.at(7), QByteArray("MIN_VAL: 1"));
    QCOMPARE(lines.at(8), QByteArray("MAX_VAL: 2"));
    QCOMPARE(lines.at(9), QByteArray("END_OF_HEADER:"));
    QCOMPARE(lines.at(10), QByteArray());
    QVERIFY(bytes.mid(324, 512 - 324).count('\0') == 512 - 324);

    double v[2];
    std::memcpy(v, bytes.constData() + 512, 16);
    QCOMPARE(v[0], 1.0);
    QCOMPARE(v[1], 2.0);
    QCOMPARE(bytes.at(528), char(1));
    QCOMPARE(bytes.at(529), char(0));
}

void TestTDDataFile::headerSizeRounding()
{
    QCOMPARE(TDDataHeader::headerSizeFor(0), 256);
    QCOMPARE(TDDataHeader::headerSizeFor(255), 256);
    QCOMPARE(TDDataHeader::headerSizeFor(256), 512);
    QCOMPARE(TDDataHeader::headerSizeFor(511), 512);

    // Data ids that make the header 255, 256 and 600 characters long.
    TDDataWL r(1, 1);
    r.setValue(0, 4.0, true);
    for (const int target : {255, 256, 600}) {
        r.setDataId(QString());
        const int base = int(TDDataHeader::build(r).size());
        if (target < base) continue;
        r.setDataId(QString(target - base, QLatin1Char('a')));
        const QByteArray header = TDDataHeader::build(r);
        QCOMPARE(header.size(), target);
        const qint64 expected = target / 256 * 256 + 256;
        QVERIFY(header.startsWith("2dData-V0.0 HeaderSize: " + QByteArray::number(expected)));
        QVERIFY(r.save(path("round.zmp")));
        QCOMPARE(readAll(path("round.zmp")).size(), expected + 9);
        TDDataWL back(0, 0);
        QVERIFY(back.load(path("round.zmp")));
        QCOMPARE(back.value(0), 4.0);
        QCOMPARE(back.dataId(), r.dataId());
    }
    // A line feed in a data id would end the header line early.
    r.setDataId(QStringLiteral("two\nlines"));
    QVERIFY(r.save(path("lf.zmp")));
    TDDataWL back(0, 0);
    QVERIFY(back.load(path("lf.zmp")));
    QCOMPARE(back.dataId(), QStringLiteral("two lines"));
    QCOMPARE(back.value(0), 4.0);
}

void TestTDDataFile::roundTrip()
{
    TDDataWL r(37, 11);
    r.setDataId(QStringLiteral("I0 / sample \"3\" 1234567"));
    for (qsizetype i = 0; i < r.pixelCount(); ++i)
        r.setValue(i, i % 5 == 0 ? 0.0 : 1234567.0 + i * 0.125, i % 3 != 0);
    QVERIFY(r.save(path("rt.zmp")));

    TDDataWL back(3, 3);
    back.setValue(0, 99.0, true);
    QVERIFY(back.load(path("rt.zmp")));
    QCOMPARE(back.width(), 37);
    QCOMPARE(back.height(), 11);
    QCOMPARE(back.dataId(), r.dataId());
    for (qsizetype i = 0; i < r.pixelCount(); ++i) {
        QCOMPARE(back.value(i), r.value(i));
        QCOMPARE(back.isValid(i), r.isValid(i));
    }
    // Only the rounded display range survives, in all four statistics.
    QCOMPARE(back.minWithoutZeros(), 1.23457e+06);
    QCOMPARE(back.minWithZeros(), 1.23457e+06);
    QCOMPARE(back.maxWithZeros(), 1.23462e+06);
    QCOMPARE(back.maxWithoutZeros(), 1.23462e+06);
}

void TestTDDataFile::rangeWrittenAsDisplayRange()
{
    TDDataWL zeros(2, 2);
    QVERIFY(TDDataHeader::build(zeros).contains("\nMIN_VAL: 1e+300\nMAX_VAL: -1e+300\n"));

    TDDataWL flat(2, 2);
    flat.setValue(0, 3.0, true);
    QVERIFY(TDDataHeader::build(flat).contains("\nMIN_VAL: 0\nMAX_VAL: 3\n"));

    TDDataWL neg(2, 1);
    neg.setValue(0, -0.5, true);
    neg.setValue(1, 250000.0, true);
    QVERIFY(TDDataHeader::build(neg).contains("\nMIN_VAL: -0.5\nMAX_VAL: 250000\n"));
}

void TestTDDataFile::headerKeysOverride()
{
    const QByteArray lines = "WIDTH: 1\nHEIGHT: 1\nDATA_ID: with  two spaces \n"
                             "MIN_VAL: -2\nMIN_VAL_W0: -9\nMAX_VAL: 5\nMAX_VAL_WO0: 4\n"
                             "BOGUS line here\nMAX_VAL: 6\nEND_OF_HEADER:\n";
    QByteArray file = handMadeHeader(lines, 256);
    file.append(QByteArray(8, '\0'));
    file.append('\1');
    writeAll(path("keys.zmp"), file);

    const TDDataHeader h = TDDataHeader::read(path("keys.zmp"));
    QVERIFY(h.accepted);
    QCOMPARE(h.headerSize, 256);
    QCOMPARE(h.dataId, QStringLiteral("with  two spaces "));
    QCOMPARE(h.minWithZeros, -9.0);
    QCOMPARE(h.minWithoutZeros, -2.0);
    QCOMPARE(h.maxWithZeros, 6.0); // the later MAX_VAL sets both again
    QCOMPARE(h.maxWithoutZeros, 6.0);

    TDDataWL r(0, 0);
    QVERIFY(r.load(path("keys.zmp")));
    QCOMPARE(r.minWithZeros(), -9.0);
    QVERIFY(r.isValid(0));

    // Lines ended by CR LF read like plain ones.
    const TDDataHeader crlf = TDDataHeader::parse(
        "2dData-V0.0 HeaderSize: 256", "x\r\nWIDTH: 3\r\nDATA_ID: id \r\nMIN_VAL: 2\r\n");
    QCOMPARE(crlf.width, 3);
    QCOMPARE(crlf.dataId, QStringLiteral("id "));
    QCOMPARE(crlf.minWithZeros, 2.0);

    // Non-numeric sizes read as 0: an empty record, still accepted.
    writeAll(path("nan.zmp"), handMadeHeader("WIDTH: many\nHEIGHT: 99999999999\n", 256));
    TDDataWL e(2, 2);
    QVERIFY(e.load(path("nan.zmp")));
    QCOMPARE(e.pixelCount(), 0);
}

void TestTDDataFile::refusesForeignAndHostileHeaders()
{
    TDDataWL keep(2, 1);
    keep.setDataId(QStringLiteral("keep"));
    keep.setValue(1, 8.0, true);
    auto intact = [&] {
        return keep.width() == 2 && keep.dataId() == QLatin1String("keep") &&
               keep.value(1) == 8.0 && keep.isValid(1);
    };

    writeAll(path("foreign.zmp"), QByteArray("II*\0 not a 2dData file at all", 30));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("is not a TDData0 file\\.$"));
    QVERIFY(!keep.load(path("foreign.zmp")));
    QVERIFY(intact());

    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("can't open"));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("is not a TDData0 file\\.$"));
    QVERIFY(!keep.load(path("missing.zmp")));
    QVERIFY(intact());

    const QList<QByteArray> hostile = {
        "WIDTH: -4\nHEIGHT: 2\n",        // negative size
        "WIDTH: 65536\nHEIGHT: 65536\n", // more pixels than a 32-bit index
        "WIDTH: 100000\nHEIGHT: 1000\n", // far more data than the file holds
    };
    for (const QByteArray &lines : hostile) {
        writeAll(path("hostile.zmp"), handMadeHeader(lines, 256) + QByteArray(64, '\0'));
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("is not a TDData0 file\\.$"));
        QVERIFY2(!keep.load(path("hostile.zmp")), lines.constData());
        QVERIFY(intact());
    }

    // A header size beyond the file is read no further than the file.
    QByteArray huge = handMadeHeader("WIDTH: 1\nHEIGHT: 1\n", 256);
    huge.replace(24, 3, "2000000000");
    writeAll(path("hugeheader.zmp"), huge);
    const TDDataHeader h = TDDataHeader::read(path("hugeheader.zmp"));
    QCOMPARE(h.headerSize, 2000000000);
    QVERIFY(!h.accepted);
}

void TestTDDataFile::shortFileLeavesRestInvalid()
{
    TDDataWL r(4, 4);
    for (qsizetype i = 0; i < r.pixelCount(); ++i)
        r.setValue(i, double(i + 1), true);
    QVERIFY(r.save(path("full.zmp")));
    QByteArray bytes = readAll(path("full.zmp"));
    // Keep the header and five values.
    writeAll(path("short.zmp"), bytes.left(512 + 5 * 8 + 3));

    TDDataWL back(0, 0);
    QVERIFY(back.load(path("short.zmp")));
    QCOMPARE(back.pixelCount(), 16);
    QCOMPARE(back.value(4), 5.0);
    QCOMPARE(back.value(5), 0.0);
    for (qsizetype i = 0; i < 16; ++i)
        QVERIFY(!back.isValid(i));

    // Values complete, flags cut: the flags that were read are kept.
    writeAll(path("flags.zmp"), bytes.left(512 + 16 * 8 + 6));
    QVERIFY(back.load(path("flags.zmp")));
    QVERIFY(back.isValid(5));
    QVERIFY(!back.isValid(6));
}

void TestTDDataFile::saveReplacesWholeFileOrNothing()
{
    // A longer old file must not leave a tail behind.
    writeAll(path("over.zmp"), QByteArray(5000, 'z'));
    TDDataWL r(2, 1);
    r.setValue(0, 1.0, true);
    QVERIFY(r.save(path("over.zmp")));
    QCOMPARE(readAll(path("over.zmp")).size(), 512 + 18);

    // Unwritable place: refused, nothing created, the message says so.
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("can't open"));
    QVERIFY(!r.save(path("no/such/dir/x.zmp")));
    QVERIFY(!QFile::exists(path("no/such/dir/x.zmp")));
}

QTEST_GUILESS_MAIN(TestTDDataFile)
#include "tst_tddatafile.moc"
