#include "../support/RecordFixtures.h"

#include "app/ConfigStore.h"
#include "app/ItemSplitter.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The item taken from the line and what is left of it.
QStringList take(const QString &line)
{
    QString rest;
    const QString item = ItemSplitter::take(line, &rest);
    return {item, rest};
}

QStringList values(ConfigStore &c, const QStringList &keys)
{
    QStringList v;
    for (const QString &k : keys)
        v << c.value(k);
    return v;
}

} // namespace

class TestConfigStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.isValid()); }
    void itemSplitter();
    void linesQuotesAndComments();
    void includeOrderAndCycles();
    void commandLineValues();
    void setValueAppends();

private:
    QString write(const QString &name, const QByteArray &text)
    {
        RecordFixtures::writeAll(m_dir.filePath(name), text);
        return m_dir.filePath(name);
    }
    QTemporaryDir m_dir;
};

void TestConfigStore::itemSplitter()
{
    QCOMPARE(take(u"  key  value"_s) + take(u"  value"_s) + take(QString()) +
                 take(u"\"a b\"c d"_s) + take(u"\t \t"_s).mid(0, 1),
             (QStringList{u"key"_s, u"  value"_s, u"value"_s, {}, {}, {}, u"a b"_s, u"c d"_s, {}}));

    QTest::ignoreMessage(QtDebugMsg, "In a line [ \"open end] item is started from quote but "
                                     "not ended by quote");
    QCOMPARE(take(u" \"open end"_s), (QStringList{u"open end"_s, QString()}));
    QTest::ignoreMessage(QtDebugMsg, "In a line [ tail\"] item is started from not quote but "
                                     "ended by quote");
    QCOMPARE(take(u" tail\""_s).first(), u"tail\""_s);
}

void TestConfigStore::linesQuotesAndComments()
{
    const QString p = write(u"a.cfg"_s, "# whole line comment\nWidth \"a b c\" # dropped\n   \n"
                                        "key 'it#s'\nmixed 'x\" # dropped too\n"
                                        "three v e ignored\nwidth later\n\"unclosed key\n");
    ConfigStore c;
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("item is started from quote but not"));
    QVERIFY(c.readFile(p));
    QCOMPARE(values(c, {u"WIDTH"_s, u"key"_s, u"mixed"_s, u"three"_s}),
             (QStringList{u"later"_s, u"'it#s'"_s, u"'x\""_s, u"v"_s}));
    QVERIFY(c.extra(u"three"_s) == "e"_L1 && c.contains(u"UNCLOSED KEY"_s));
    QVERIFY(c.lines().size() == 6 && c.currentFile() == p);

    // The value of a quoted item drops its quotes; a missing file changes nothing.
    QVERIFY(c.readFile(write(u"b.cfg"_s, "Title \"a b c\"\n")));
    QCOMPARE(c.value(u"title"_s), u"a b c"_s);
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Can't open config file : .*nope"));
    QVERIFY(!c.readFile(m_dir.filePath(u"nope.cfg"_s)));
    QCOMPARE(c.value(u"title"_s), u"a b c"_s);
}

void TestConfigStore::includeOrderAndCycles()
{
    write(u"other.cfg"_s, "A fromOther\nB fromOther\n");
    ConfigStore c;
    QVERIFY(c.readFile(write(u"main.cfg"_s, "A first\nInClUdE other.cfg\nB after\n")));
    QCOMPARE(values(c, {u"A"_s, u"B"_s}), (QStringList{u"fromOther"_s, u"after"_s}));
    // The included file stays the one that settings are appended to.
    QVERIFY(c.currentFile().endsWith("other.cfg"_L1));

    // Cycles end: each file is read once per chain.
    write(u"x.cfg"_s, "X 1\ninclude y.cfg\nX2 done\n");
    write(u"y.cfg"_s, "Y 1\ninclude x.cfg\ninclude y.cfg\nY2 done\n");
    ConfigStore d;
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("includes itself"));
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression("includes itself"));
    QVERIFY(d.readFile(m_dir.filePath(u"x.cfg"_s)));
    QCOMPARE(values(d, {u"X2"_s, u"Y2"_s}), (QStringList{u"done"_s, u"done"_s}));

    // A device is no configuration file: reading it would never end.
    ConfigStore e;
    QTest::ignoreMessage(QtDebugMsg, "Can't open config file : /dev/zero");
    QVERIFY(e.readFile(write(u"dev.cfg"_s, "include /dev/zero\nAfter yes\n")));
    QCOMPARE(e.value(u"after"_s), u"yes"_s);
}

void TestConfigStore::commandLineValues()
{
    ConfigStore c;
    const QStringList args = {
        u"/usr/bin/zelmap"_s, u"-x"_s,       u"-5"_s, u"-y"_s,      u"-.5"_s,  u"-e"_s, u"-bs"_s,
        u"640x480"_s,         u"file.img"_s, u"-z"_s, u"-\u0663"_s, u"-last"_s};
    c.parseCommandLine(args, false, u"config.cfg"_s, {u"-c"_s});
    QCOMPARE(c.arguments(), args);
    // A minus before any Unicode digit is a value, not an option.
    QCOMPARE(values(c, {u"-x"_s, u"-y"_s, u"-e"_s, u"-BS"_s, u"-z"_s, u"-last"_s}),
             (QStringList{u"-5"_s, u"-.5"_s, QString(), u"640x480"_s, u"-\u0663"_s, QString()}));
    QVERIFY(c.contains(u"-e"_s) && !c.contains(u"file.img"_s) && c.fileName() == "config.cfg"_L1);
    QCOMPARE(c.value(u"-e"_s, u"def"_s) + c.value(u"-last"_s, u"def"_s), QString());

    // The file options override the default in turn, and the file is read at once.
    const QString p1 = write(u"one.cfg"_s, "K one\n");
    const QString p2 = write(u"two.cfg"_s, "K two\n");
    ConfigStore d;
    d.parseCommandLine({u"prog"_s, u"-c"_s, p1, u"-config"_s, p2}, true, u"config.cfg"_s,
                       {u"-c"_s, u"-config"_s});
    QCOMPARE(QStringList({d.fileName(), d.value(u"K"_s)}), QStringList({p2, u"two"_s}));

    // The command line wins over the file; the first key found wins, then the default.
    ConfigStore s;
    s.parseCommandLine({u"prog"_s, u"-bs"_s, u"1024x768"_s}, false, QString(), {});
    QVERIFY(s.readFile(write(u"sizes.cfg"_s, "BodySize 800x600\nDataRoot /data\n")));
    QCOMPARE(
        QStringList({s.value({u"BodySize"_s, u"-bs"_s}, u"400x400"_s),
                     s.value({u"ImgBaseSize"_s, u"-ibs"_s}, u"400x400"_s),
                     s.value({u"DataRoot"_s, u"-d"_s}, u"."_s), s.value(u"nothere"_s, u"x"_s)}),
        QStringList({u"1024x768"_s, u"400x400"_s, u"/data"_s, u"x"_s}));
    QVERIFY(s.isUsed(u"bodysize"_s) && !s.isUsed(u"nothere"_s));
}

void TestConfigStore::setValueAppends()
{
    const QString p = write(u"app.cfg"_s, "Size 1x1\n");
    ConfigStore c;
    c.setValue(u"Early"_s, u"v"_s); // no file yet: memory only
    QVERIFY(c.readFile(p));
    c.setValue(u"Size"_s, u"\"2 x 2\""_s, u"ex"_s, u"by test"_s);
    c.setValue(u"Size"_s, u"3x3"_s, QString(), QString());
    QCOMPARE(values(c, {u"SIZE"_s, u"early"_s}), (QStringList{u"3x3"_s, u"v"_s}));
    QCOMPARE(RecordFixtures::readAll(p),
             "Size 1x1\nSize\t\"2 x 2\" ex\t # by test\nSize\t3x3 \t # \n"_ba);

    // Read back, the last line wins and quotes and comments are undone.
    ConfigStore d;
    QVERIFY(d.readFile(p));
    QCOMPARE(d.value(u"size"_s), u"3x3"_s);
}

QTEST_GUILESS_MAIN(TestConfigStore)
#include "tst_configstore.moc"
