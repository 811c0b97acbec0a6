#include "../support/RecordFixtures.h"

#include "core/TDDataHeader.h"
#include "core/TDDataWL.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

using namespace RecordFixtures;
using namespace Qt::StringLiterals;

namespace {

// A header text with the given lines after the first one, padded to headerSize.
QByteArray handMadeHeader(const QByteArray &lines, int headerSize)
{
    const QByteArray first = "2dData-V0.0 HeaderSize: " + QByteArray::number(headerSize);
    return (first.leftJustified(64, ' ') + '\n' + lines).leftJustified(headerSize, '\0', true);
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
    r.setDataId(u"x"_s);
    r.setValue(0, 1.0, true);
    r.setValue(1, 2.0, false);
    QVERIFY(r.save(path("small.zmp")));
    const QByteArray bytes = readAll(path("small.zmp"));
    const QByteArray text = bytes.left(bytes.indexOf('\0'));
    QList<QByteArray> lines = text.split('\n');
    QCOMPARE(QList<qsizetype>({bytes.size(), text.size(), lines.at(0).size()}),
             QList<qsizetype>({530, 324, 64}));
    QCOMPARE(lines.takeFirst().trimmed(), "2dData-V0.0 HeaderSize: 512"_ba);
    QCOMPARE(lines, (QList<QByteArray>{
                        "WIDTH: 2", "HEIGHT: 1", "DATA_ID: x",
                        "DATA_STRUCTURE: Header of Size ( HeaderSize: ), Row Double Data Block "
                        "of pixels ( WIDTH: * HEIGHT ), Row Bool Valid Flag Block of pixels "
                        "( WIDTH: * HEIGHT ) ",
                        "SIZE_OF_DOUBLE: 8", "SIZE_OF_BOOL: 1", "MIN_VAL: 1", "MAX_VAL: 2",
                        "END_OF_HEADER:", ""}));
    QCOMPARE(bytes.mid(324, 512 - 324).count('\0'), 512 - 324);

    double v[2];
    std::memcpy(v, bytes.constData() + 512, 16);
    QCOMPARE((QList<double>{v[0], v[1]}), (QList<double>{1, 2}));
    QCOMPARE(bytes.mid(528), "\1\0"_ba);
}

void TestTDDataFile::headerSizeRounding()
{
    // Data ids that make the header 511, 512 and 767 characters long; the header ends
    // strictly before the data.
    TDDataWL r(1, 1);
    r.setValue(0, 4.0, true);
    const int base = int(TDDataHeader::build(r).size());
    for (const auto &[target, expected] : {std::pair{511, 512}, {512, 768}, {767, 768}}) {
        r.setDataId(QString(target - base, u'a'));
        const QByteArray header = TDDataHeader::build(r);
        QCOMPARE(header.size(), target);
        QVERIFY(header.startsWith("2dData-V0.0 HeaderSize: " + QByteArray::number(expected)));
        QVERIFY(r.save(path("round.zmp")));
        QCOMPARE(readAll(path("round.zmp")).size(), expected + 9);
        TDDataWL back(0, 0);
        QVERIFY(back.load(path("round.zmp")) && back.value(0) == 4.0);
        QCOMPARE(back.dataId(), r.dataId());
    }
    // A line feed in a data id would end the header line early.
    r.setDataId(u"two\nlines\r"_s);
    QVERIFY(r.save(path("lf.zmp")));
    TDDataWL back(0, 0);
    QVERIFY(back.load(path("lf.zmp")) && back.value(0) == 4.0);
    QCOMPARE(back.dataId(), u"two lines "_s);
}

void TestTDDataFile::roundTrip()
{
    const auto r = makeRecord(
        37, 11, u"I0 / sample \"3\" 1234567"_s,
        [](qsizetype i) { return i % 5 == 0 ? 0.0 : 1234567.0 + i * 0.125; },
        [](qsizetype i) { return i % 3 != 0; });
    QVERIFY(r->save(path("rt.zmp")));

    TDDataWL back(3, 3);
    back.setValue(0, 99.0, true);
    QVERIFY(back.load(path("rt.zmp")));
    QCOMPARE(QSize(back.width(), back.height()), QSize(37, 11));
    QCOMPARE(back.dataId(), r->dataId());
    for (qsizetype i = 0; i < r->pixelCount(); ++i)
        QVERIFY(back.value(i) == r->value(i) && back.isValid(i) == r->isValid(i));
    // Only the rounded display range survives, in all four statistics.
    QCOMPARE(stats(back), (QList<double>{1.23457e+06, 1.23462e+06, 1.23457e+06, 1.23462e+06}));
}

void TestTDDataFile::headerKeysOverride()
{
    const QByteArray lines = "WIDTH: 1\nHEIGHT: 1\nDATA_ID: with  two spaces \n"
                             "MIN_VAL: -2\nMIN_VAL_W0: -9\nMAX_VAL: 5\nMAX_VAL_WO0: 4\n"
                             "BOGUS line here\nMAX_VAL: 6\nEND_OF_HEADER:\n";
    QVERIFY(writeAll(path("keys.zmp"), handMadeHeader(lines, 256) + QByteArray(8, '\0') + '\1'));

    const TDDataHeader h = TDDataHeader::read(path("keys.zmp"));
    QVERIFY(h.accepted);
    QCOMPARE(h.headerSize, 256);
    QCOMPARE(h.dataId, u"with  two spaces "_s);
    // The later MAX_VAL sets both maxima again.
    QCOMPARE((QList<double>{h.minWithZeros, h.maxWithZeros, h.minWithoutZeros, h.maxWithoutZeros}),
             (QList<double>{-9, 6, -2, 6}));

    TDDataWL r(0, 0);
    QVERIFY(r.load(path("keys.zmp")));
    QCOMPARE(stats(r), (QList<double>{-9, 6, -2, 6}));
    QVERIFY(r.isValid(0));

    // Lines ended by CR LF read like plain ones; the other key pair is read too.
    const TDDataHeader crlf =
        TDDataHeader::parse("2dData-V0.0 HeaderSize: 256",
                            "x\r\nWIDTH: 3\r\nDATA_ID: id \r\nMIN_VAL: 2\r\nMAX_VAL_W0: 8\r\n"
                            "MIN_VAL_WO0: 1\r\n");
    QCOMPARE(crlf.dataId, u"id "_s);
    QCOMPARE((QList<double>{double(crlf.width), crlf.minWithZeros, crlf.maxWithZeros,
                            crlf.minWithoutZeros, crlf.maxWithoutZeros}),
             (QList<double>{3, 2, 8, 1, -1e300}));

    // Non-numeric sizes read as 0: an empty record, still accepted.
    QVERIFY(writeAll(path("nan.zmp"), handMadeHeader("WIDTH: many\nHEIGHT: 99999999999\n", 256)));
    TDDataWL e(2, 2);
    QVERIFY(e.load(path("nan.zmp")));
    QCOMPARE(e.pixelCount(), 0);
}

void TestTDDataFile::refusesForeignAndHostileHeaders()
{
    TDDataWL keep(2, 1);
    keep.setDataId(u"keep"_s);
    keep.setValue(1, 8.0, true);
    const auto refused = [&](const char *name, const QByteArray &bytes) {
        if (!bytes.isNull()) QVERIFY(writeAll(path(name), bytes));
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("is not a TDData0 file\\.$"));
        QVERIFY2(!keep.load(path(name)), bytes.constData());
        QVERIFY(keep.width() == 2 && keep.dataId() == "keep"_L1 && keep.value(1) == 8.0 &&
                keep.isValid(1));
    };
    refused("foreign.zmp", QByteArray("II*\0 not a 2dData file at all", 30));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("can't open"));
    refused("missing.zmp", QByteArray());
    refused("negative.zmp", handMadeHeader("WIDTH: -4\nHEIGHT: 2\n", 256) + QByteArray(64, '\0'));
    refused("negative2.zmp", handMadeHeader("WIDTH: 2\nHEIGHT: -4\n", 256) + QByteArray(64, 0));
    // More pixels than a 32-bit index; far more data than the file holds.
    refused("index.zmp", handMadeHeader("WIDTH: 65536\nHEIGHT: 65536\n", 256));
    refused("big.zmp", handMadeHeader("WIDTH: 100000\nHEIGHT: 1000\n", 256) + QByteArray(64, 0));

    // A header size beyond the file is read no further than the file.
    QByteArray huge = handMadeHeader("WIDTH: 1\nHEIGHT: 1\n", 256);
    QVERIFY(writeAll(path("hugeheader.zmp"), huge.replace(24, 3, "2000000000")));
    const TDDataHeader h = TDDataHeader::read(path("hugeheader.zmp"));
    QCOMPARE(h.headerSize, 2000000000);
    QVERIFY(!h.accepted);
}

void TestTDDataFile::shortFileLeavesRestInvalid()
{
    const QByteArray bytes =
        readAll(savedRecord(path("full.zmp"), 4, 4, {}, [](qsizetype i) { return i + 1.0; }));
    // Keep the header and five values.
    QVERIFY(writeAll(path("short.zmp"), bytes.left(512 + 5 * 8 + 3)));
    TDDataWL back(0, 0);
    QVERIFY(back.load(path("short.zmp")));
    QCOMPARE((QList<double>{back.value(4), back.value(5), double(back.pixelCount()),
                            double(back.validCount())}),
             (QList<double>{5, 0, 16, 0}));

    // Values complete, flags cut: the flags that were read are kept.
    QVERIFY(writeAll(path("flags.zmp"), bytes.left(512 + 16 * 8 + 6)));
    QVERIFY(back.load(path("flags.zmp")));
    QVERIFY(back.isValid(5) && !back.isValid(6));
}

void TestTDDataFile::saveReplacesWholeFileOrNothing()
{
    // A longer old file must not leave a tail behind.
    QVERIFY(writeAll(path("over.zmp"), QByteArray(5000, 'z')));
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
