#include "Cli.h"

#include "core/TDDataWL.h"
#include "proc/AdaptiveThresholdF.h"
#include "proc/MovingAvrF.h"

#include <QRegularExpression>
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

class TestCliFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void roundTrip_data();
    void roundTrip();
    void refusals_data();
    void refusals();

private:
    QTemporaryDir m_dir;
    QString m_file;
    std::unique_ptr<TDDataWL> m_source;
};

void TestCliFilter::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_source = std::make_unique<TDDataWL>(9, 7);
    for (qsizetype i = 0; i < m_source->pixelCount(); ++i)
        m_source->setValue(i, double((i * 37) % 11), i % 5 != 0);
    m_source->setDataId(QStringLiteral("src"));
    m_file = m_dir.filePath(QStringLiteral("src.zmp"));
    QVERIFY(m_source->save(m_file));
}

void TestCliFilter::roundTrip_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("hx");
    QTest::addColumn<int>("hy");
    QTest::addColumn<QRect>("rect"); // null for the moving average
    QTest::newRow("ma defaults") << QStringList{"ma"} << 12 << 12 << QRect();
    QTest::newRow("ma hw") << QStringList{"ma", "--hw", "2", "-1"} << 2 << -1 << QRect();
    QTest::newRow("at defaults") << QStringList{"at"} << 12 << 12 << QRect(0, 0, 9, 7);
    QTest::newRow("at rect") << QStringList{"at", "--hw", "1", "2", "--rect", "-2", "1", "6", "30"}
                             << 1 << 2 << QRect(QPoint(-2, 1), QPoint(6, 30));
}

void TestCliFilter::roundTrip()
{
    QFETCH(QStringList, args);
    QFETCH(int, hx);
    QFETCH(int, hy);
    QFETCH(QRect, rect);
    const QString output = m_dir.filePath(QStringLiteral("out.zmp"));
    const Result r = runCli(QStringList{"filter"} << args << "--time" << m_file << "-o" << output);
    QCOMPARE(r.status, 0);
    QVERIFY2(QRegularExpression(QStringLiteral("^compute ms: [0-9.]+$"),
                                QRegularExpression::MultilineOption)
                 .match(r.err)
                 .hasMatch(),
             qPrintable(r.err));
    TDDataWL saved(0, 0);
    QVERIFY(saved.load(output));
    const std::unique_ptr<TDDataWL> expected =
        rect.isNull() ? MovingAvrF(hx, hy).compute(*m_source)
                      : AdaptiveThresholdF(hx, hy).compute(*m_source, rect);
    QCOMPARE(saved.dataId(), expected->dataId());
    for (qsizetype i = 0; i < expected->pixelCount(); ++i) {
        QCOMPARE(saved.isValid(i), expected->isValid(i));
        QCOMPARE(saved.value(i), expected->value(i));
    }
}

void TestCliFilter::refusals_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("word for a width")
        << QStringList{"ma", "--hw", "abc", "1", "F", "-o", "O"} << 2 << "whole numbers";
    QTest::newRow("short rect") << QStringList{"at", "--rect", "1", "2", "3"} << 2 << "needs 4";
    QTest::newRow("no output") << QStringList{"ma", "F"} << 2 << "-o";
    QTest::newRow("two files") << QStringList{"at", "F", "G", "-o", "O"} << 2 << "one FILE";
    QTest::newRow("unknown filter") << QStringList{"xx"} << 2 << "unknown filter";
    QTest::newRow("missing file") << QStringList{"ma", "/nonexistent/f.zmp", "-o", "O"} << 1
                                  << "no such file";
}

void TestCliFilter::refusals()
{
    QFETCH(QStringList, args);
    QFETCH(int, status);
    QFETCH(QString, message);
    const Result r = runCli(QStringList{"filter"} << args);
    QCOMPARE(r.status, status);
    QVERIFY2(r.err.contains(message), qPrintable(r.err));

    const Result help = runCli({"filter", "--help"});
    QCOMPARE(help.status, 0);
    QVERIFY(help.out.contains("filter ma [--hw X Y]") && help.out.contains("filter at"));
}

QTEST_GUILESS_MAIN(TestCliFilter)
#include "tst_cli_filter.moc"
