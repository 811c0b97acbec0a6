#include "Cli.h"

#include "core/TDDataWL.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Result
{
    int status;
    QString out;
    QString err;
};

Result runCli(const QStringList &args)
{
    QString out, err;
    QTextStream o(&out), e(&err);
    const int status = Cli::run(args, o, e);
    o.flush();
    e.flush();
    return {status, out, err};
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void infoTextAndJson();
    void dumpListsEveryPixel();
    void errorsAndHelp();
    void binaryExitStatus();

private:
    QTemporaryDir m_dir;
    QString m_file;
};

void TestCli::initTestCase()
{
    QVERIFY(m_dir.isValid());
    TDDataWL r(3, 2);
    r.setDataId(QStringLiteral("sample A"));
    r.setValue(0, 0, 0.1, true);
    r.setValue(2, 1, -2.5, true);
    r.setValue(1, 1, 0.0, true);
    m_file = m_dir.filePath(QStringLiteral("a.zmp"));
    QVERIFY(r.save(m_file));
}

void TestCli::infoTextAndJson()
{
    Result r = runCli({QStringLiteral("info"), m_file});
    QCOMPARE(r.status, 0);
    QVERIFY(r.out.contains(QLatin1String("data id: sample A\n")));
    QVERIFY(r.out.contains(QLatin1String("width: 3\nheight: 2\n")));
    QVERIFY(r.out.contains(QLatin1String("valid pixels: 3\n")));
    // The header keeps the display range with six digits; it is printed in full.
    QVERIFY(r.out.contains(QLatin1String("display range: -2.5 0.10000000000000001\n")));

    r = runCli({QStringLiteral("info"), QStringLiteral("--json"), m_file, m_file});
    QCOMPARE(r.status, 0);
    const QJsonArray a = QJsonDocument::fromJson(r.out.toUtf8()).array();
    QCOMPARE(a.size(), 2);
    const QJsonObject o = a.at(0).toObject();
    QCOMPARE(o.value(QLatin1String("dataId")).toString(), QStringLiteral("sample A"));
    QCOMPARE(o.value(QLatin1String("width")).toInt(), 3);
    QCOMPARE(o.value(QLatin1String("displayLow")).toDouble(), -2.5);
    QCOMPARE(o.value(QLatin1String("validPixels")).toInt(), 3);

    // One bad file among good ones: the good ones are still reported, the status says so.
    r = runCli({QStringLiteral("info"), m_file, m_dir.filePath(QStringLiteral("none.zmp"))});
    QCOMPARE(r.status, 1);
    QVERIFY(r.out.contains(QLatin1String("sample A")));
    QVERIFY(r.err.contains(QLatin1String("none.zmp: no such file")));
}

void TestCli::dumpListsEveryPixel()
{
    const Result r = runCli({QStringLiteral("dump"), m_file});
    QCOMPARE(r.status, 0);
    const QStringList lines = r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 6);
    QCOMPARE(lines.at(0), QStringLiteral("0 0 0.10000000000000001 1"));
    QCOMPARE(lines.at(1), QStringLiteral("1 0 0 0"));
    QCOMPARE(lines.at(5), QStringLiteral("2 1 -2.5 1"));
}

void TestCli::errorsAndHelp()
{
    Result r = runCli({});
    QCOMPARE(r.status, 2);
    QVERIFY(r.err.contains(QLatin1String("Usage")));
    r = runCli({QStringLiteral("--help")});
    QCOMPARE(r.status, 0);
    for (const CliCommand &c : Cli::commands())
        QVERIFY(r.out.contains(QLatin1String(c.usage)));
    r = runCli({QStringLiteral("frobnicate")});
    QCOMPARE(r.status, 2);
    QVERIFY(r.err.contains(QLatin1String("unknown command")));
    r = runCli({QStringLiteral("info")});
    QCOMPARE(r.status, 2);
    r = runCli({QStringLiteral("info"), QStringLiteral("--bogus"), m_file});
    QCOMPARE(r.status, 2);
    r = runCli({QStringLiteral("dump"), m_file, m_file});
    QCOMPARE(r.status, 2);

    const QString junk = m_dir.filePath(QStringLiteral("junk.bin"));
    QFile f(junk);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("\x01\x02garbage");
    f.close();
    r = runCli({QStringLiteral("dump"), junk});
    QCOMPARE(r.status, 1);
    QVERIFY(r.err.contains(QLatin1String("junk.bin")));
    QVERIFY(r.out.isEmpty());
}

void TestCli::binaryExitStatus()
{
    QProcess p;
    p.start(QStringLiteral(ZELMAP_CLI_BINARY), {QStringLiteral("info"), m_file});
    QVERIFY(p.waitForFinished(30000));
    QCOMPARE(p.exitCode(), 0);
    QVERIFY(p.readAllStandardOutput().contains("width: 3"));

    p.start(QStringLiteral(ZELMAP_CLI_BINARY),
            {QStringLiteral("info"), QStringLiteral("/nonexistent")});
    QVERIFY(p.waitForFinished(30000));
    QCOMPARE(p.exitCode(), 1);
    QVERIFY(p.readAllStandardError().contains("/nonexistent"));
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
