#include "app/ConfigStore.h"
#include "app/ItemSplitter.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestConfigStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.isValid()); }
    void itemSplitter();
    void linesQuotesAndComments();
    void includeOrderAndCycles();
    void commandLineValues();
    void lookupsAndPrecedence();
    void setValueAppends();

private:
    QString write(const QString &name, const QByteArray &text)
    {
        const QString p = m_dir.filePath(name);
        QFile f(p);
        if (f.open(QIODevice::WriteOnly)) f.write(text);
        return p;
    }
    QTemporaryDir m_dir;
};

void TestConfigStore::itemSplitter()
{
    QString rest;
    QCOMPARE(ItemSplitter::take(QStringLiteral("  key  value"), &rest), QStringLiteral("key"));
    QCOMPARE(rest, QStringLiteral("  value"));
    QCOMPARE(ItemSplitter::take(rest, &rest), QStringLiteral("value"));
    QCOMPARE(rest, QString());
    QCOMPARE(ItemSplitter::take(rest, &rest), QString());

    QCOMPARE(ItemSplitter::take(QStringLiteral("\"a b\"c d"), &rest), QStringLiteral("a b"));
    QCOMPARE(rest, QStringLiteral("c d"));
    QCOMPARE(ItemSplitter::take(QStringLiteral("\t \t"), &rest), QString());

    QTest::ignoreMessage(QtDebugMsg, "In a line [ \"open end] item is started from quote but "
                                     "not ended by quote");
    QCOMPARE(ItemSplitter::take(QStringLiteral(" \"open end"), &rest), QStringLiteral("open end"));
    QCOMPARE(rest, QString());

    QTest::ignoreMessage(QtDebugMsg, "In a line [ tail\"] item is started from not quote but "
                                     "ended by quote");
    QCOMPARE(ItemSplitter::take(QStringLiteral(" tail\""), &rest), QStringLiteral("tail\""));
}

void TestConfigStore::linesQuotesAndComments()
{
    const QString p = write(QStringLiteral("a.cfg"), "# whole line comment\n"
                                                     "Width \"a b c\" # dropped\n"
                                                     "   \n"
                                                     "key 'it#s'\n"
                                                     "mixed 'x\" # dropped too\n"
                                                     "three v e ignored\n"
                                                     "width later\n"
                                                     "\"unclosed key\n");
    ConfigStore c;
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("item is started from quote but not"));
    QVERIFY(c.readFile(p));
    QCOMPARE(c.value(QStringLiteral("WIDTH")), QStringLiteral("later"));
    QCOMPARE(c.value(QStringLiteral("key")), QStringLiteral("'it#s'"));
    QCOMPARE(c.value(QStringLiteral("mixed")), QStringLiteral("'x\""));
    QCOMPARE(c.value(QStringLiteral("three")), QStringLiteral("v"));
    QCOMPARE(c.extra(QStringLiteral("three")), QStringLiteral("e"));
    QVERIFY(c.contains(QStringLiteral("UNCLOSED KEY")));
    QCOMPARE(c.lines().size(), 6);
    QCOMPARE(c.currentFile(), p);

    // The value of a quoted item drops its quotes.
    write(QStringLiteral("b.cfg"), "Title \"a b c\"\n");
    QVERIFY(c.readFile(m_dir.filePath(QStringLiteral("b.cfg"))));
    QCOMPARE(c.value(QStringLiteral("title")), QStringLiteral("a b c"));

    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Can't open config file : .*nope"));
    QVERIFY(!c.readFile(m_dir.filePath(QStringLiteral("nope.cfg"))));
    QCOMPARE(c.value(QStringLiteral("title")), QStringLiteral("a b c"));
}

void TestConfigStore::includeOrderAndCycles()
{
    write(QStringLiteral("other.cfg"), "A fromOther\nB fromOther\n");
    const QString main = write(QStringLiteral("main.cfg"), "A first\nInClUdE other.cfg\nB after\n");
    ConfigStore c;
    QVERIFY(c.readFile(main));
    QCOMPARE(c.value(QStringLiteral("A")), QStringLiteral("fromOther"));
    QCOMPARE(c.value(QStringLiteral("B")), QStringLiteral("after"));
    // The included file stays the one that settings are appended to.
    QVERIFY(c.currentFile().endsWith(QLatin1String("other.cfg")));

    // Cycles end: each file is read once per chain.
    write(QStringLiteral("x.cfg"), "X 1\ninclude y.cfg\nX2 done\n");
    write(QStringLiteral("y.cfg"), "Y 1\ninclude x.cfg\ninclude y.cfg\nY2 done\n");
    ConfigStore d;
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("includes itself"));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("includes itself"));
    QVERIFY(d.readFile(m_dir.filePath(QStringLiteral("x.cfg"))));
    QCOMPARE(d.value(QStringLiteral("X2")), QStringLiteral("done"));
    QCOMPARE(d.value(QStringLiteral("Y2")), QStringLiteral("done"));

    // A device is no configuration file: reading it would never end.
    write(QStringLiteral("dev.cfg"), "include /dev/zero\nAfter yes\n");
    ConfigStore e;
    QTest::ignoreMessage(QtDebugMsg, "Can't open config file : /dev/zero");
    QVERIFY(e.readFile(m_dir.filePath(QStringLiteral("dev.cfg"))));
    QCOMPARE(e.value(QStringLiteral("after")), QStringLiteral("yes"));
}

void TestConfigStore::commandLineValues()
{
    ConfigStore c;
    const QStringList args = {QStringLiteral("/usr/bin/zelmap"),
                              QStringLiteral("-x"),
                              QStringLiteral("-5"),
                              QStringLiteral("-y"),
                              QStringLiteral("-.5"),
                              QStringLiteral("-e"),
                              QStringLiteral("-bs"),
                              QStringLiteral("640x480"),
                              QStringLiteral("file.img"),
                              QStringLiteral("-z"),
                              QStringLiteral("-\u0663"),
                              QStringLiteral("-last")};
    c.parseCommandLine(args, false, QStringLiteral("config.cfg"), {QStringLiteral("-c")});
    QCOMPARE(c.arguments(), args);
    QCOMPARE(c.value(QStringLiteral("-x")), QStringLiteral("-5"));
    QCOMPARE(c.value(QStringLiteral("-y")), QStringLiteral("-.5"));
    QVERIFY(c.contains(QStringLiteral("-e")));
    QCOMPARE(c.value(QStringLiteral("-e"), QStringLiteral("def")), QString());
    QCOMPARE(c.value(QStringLiteral("-BS")), QStringLiteral("640x480"));
    QCOMPARE(c.value(QStringLiteral("-z")), QStringLiteral("-\u0663")); // any Unicode digit
    QCOMPARE(c.value(QStringLiteral("-last"), QStringLiteral("def")), QString());
    QVERIFY(!c.contains(QStringLiteral("file.img")));
    QCOMPARE(c.fileName(), QStringLiteral("config.cfg"));

    // The file options override the default in turn, and the file is read at once.
    const QString p1 = write(QStringLiteral("one.cfg"), "K one\n");
    const QString p2 = write(QStringLiteral("two.cfg"), "K two\n");
    ConfigStore d;
    d.parseCommandLine(
        {QStringLiteral("prog"), QStringLiteral("-c"), p1, QStringLiteral("-config"), p2}, true,
        QStringLiteral("config.cfg"), {QStringLiteral("-c"), QStringLiteral("-config")});
    QCOMPARE(d.fileName(), p2);
    QCOMPARE(d.value(QStringLiteral("K")), QStringLiteral("two"));
}

void TestConfigStore::lookupsAndPrecedence()
{
    const QString p = write(QStringLiteral("sizes.cfg"), "BodySize 800x600\nDataRoot /data\n");
    ConfigStore c;
    c.parseCommandLine({QStringLiteral("prog"), QStringLiteral("-bs"), QStringLiteral("1024x768")},
                       false, QString(), {});
    QVERIFY(c.readFile(p));
    const QStringList keys = {QStringLiteral("BodySize"), QStringLiteral("-bs")};
    QCOMPARE(c.value(keys, QStringLiteral("400x400")), QStringLiteral("1024x768"));
    QCOMPARE(
        c.value({QStringLiteral("ImgBaseSize"), QStringLiteral("-ibs")}, QStringLiteral("400x400")),
        QStringLiteral("400x400"));
    QCOMPARE(c.value({QStringLiteral("DataRoot"), QStringLiteral("-d")}, QStringLiteral(".")),
             QStringLiteral("/data"));
    QVERIFY(c.isUsed(QStringLiteral("bodysize")));
    QVERIFY(!c.isUsed(QStringLiteral("nothere")));
    QCOMPARE(c.value(QStringLiteral("nothere"), QStringLiteral("dflt")), QStringLiteral("dflt"));
}

void TestConfigStore::setValueAppends()
{
    const QString p = write(QStringLiteral("app.cfg"), "Size 1x1\n");
    ConfigStore c;
    c.setValue(QStringLiteral("Early"), QStringLiteral("v")); // no file yet: memory only
    QVERIFY(c.readFile(p));
    c.setValue(QStringLiteral("Size"), QStringLiteral("\"2 x 2\""), QStringLiteral("ex"),
               QStringLiteral("by test"));
    c.setValue(QStringLiteral("Size"), QStringLiteral("3x3"), QString(), QString());
    QCOMPARE(c.value(QStringLiteral("SIZE")), QStringLiteral("3x3"));
    QCOMPARE(c.value(QStringLiteral("early")), QStringLiteral("v"));

    QFile f(p);
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll(),
             QByteArray("Size 1x1\nSize\t\"2 x 2\" ex\t # by test\nSize\t3x3 \t # \n"));

    // Read back, the last line wins and quotes and comments are undone.
    ConfigStore d;
    QVERIFY(d.readFile(p));
    QCOMPARE(d.value(QStringLiteral("size")), QStringLiteral("3x3"));
}

QTEST_GUILESS_MAIN(TestConfigStore)
#include "tst_configstore.moc"
