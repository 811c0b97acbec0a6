#include "proc/CalcFormula.h"

#include <QTest>

namespace {

// Entries numbered 0..9 sit at the same positions.
int upToNine(int n)
{
    return n >= 0 && n <= 9 ? n : -1;
}

using Pair = QPair<double, int>;

QList<Pair> pairs(const CalcFormula &f)
{
    QList<Pair> out;
    for (const CalcTerm &t : f.terms())
        out.append({t.coefficient, t.number});
    return out;
}

} // namespace

class TestCalcFormula : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesCoefficientsAndSigns_data();
    void parsesCoefficientsAndSigns();
    void keepsTermsBeforeAnError();
    void dropsUnknownEntries();
    void rewritesFromSelection();
};

void TestCalcFormula::parsesCoefficientsAndSigns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<Pair>>("terms");
    QTest::newRow("plain") << "I[3]" << QList<Pair>{{1.0, 3}};
    QTest::newRow("plus") << "+I[3]" << QList<Pair>{{1.0, 3}};
    QTest::newRow("minus") << "-I[3]" << QList<Pair>{{-1.0, 3}};
    QTest::newRow("juxtaposed") << "2I[3]" << QList<Pair>{{2.0, 3}};
    QTest::newRow("star") << "2*I[3]" << QList<Pair>{{2.0, 3}};
    QTest::newRow("fraction, small i") << ".5i[3]" << QList<Pair>{{0.5, 3}};
    QTest::newRow("point without digits") << "-.I[4]" << QList<Pair>{{-1.0, 4}};
    QTest::newRow("trailing point") << "3.*I[1]" << QList<Pair>{{3.0, 1}};
    QTest::newRow("blanks anywhere")
        << "  2 I [ 1 ]\t- 0.5 * I[ 2] " << QList<Pair>{{2.0, 1}, {-0.5, 2}};
    QTest::newRow("sign reset") << "-I[1]+I[2]+3I[3]" << QList<Pair>{{-1.0, 1}, {1.0, 2}, {3.0, 3}};
    // Full-width and Arabic-Indic digits are decimal digits too.
    QTest::newRow("unicode digits")
        << QString::fromUtf8("\uFF12I[\u0661]") << QList<Pair>{{2.0, 1}};
    QTest::newRow("zero coefficient") << "0I[2]" << QList<Pair>{{0.0, 2}};
}

void TestCalcFormula::parsesCoefficientsAndSigns()
{
    QFETCH(QString, text);
    QFETCH(QList<Pair>, terms);
    const CalcFormula f = CalcFormula::parse(text, upToNine);
    QCOMPARE(pairs(f), terms);
    QVERIFY(f.isValid());
    for (const CalcTerm &t : f.terms())
        QCOMPARE(t.source, t.number);
}

void TestCalcFormula::keepsTermsBeforeAnError()
{
    struct Case
    {
        const char *text;
        QList<Pair> terms;
    };
    const Case cases[] = {
        {"I[1]I[2]", {{1.0, 1}}}, {"I[1]+", {{1.0, 1}}}, {"I[1]--I[2]", {{1.0, 1}}},
        {"I[1]*2", {{1.0, 1}}},   {"++I[1]", {}},        {"I[]", {}},
        {"2**I[1]", {}},          {"I[-1]", {}},         {"1.2.3I[1]", {}},
    };
    for (const Case &c : cases) {
        const CalcFormula f = CalcFormula::parse(QString::fromLatin1(c.text), upToNine);
        QVERIFY2(!f.isValid(), c.text);
        QCOMPARE(pairs(f), c.terms);
    }
    const CalcFormula empty = CalcFormula::parse(QStringLiteral("   "), upToNine);
    QVERIFY(empty.isEmpty());
}

void TestCalcFormula::dropsUnknownEntries()
{
    // A dropped term still resets the sign, and parsing carries on.
    const CalcFormula f =
        CalcFormula::parse(QStringLiteral("-I[12]+2I[5]-I[99999999999]-I[4]"), upToNine);
    QVERIFY(f.isValid());
    QCOMPARE(pairs(f), (QList<Pair>{{2.0, 5}, {-1.0, 4}}));

    // Entries found through the caller's numbering, not by position.
    const CalcFormula shifted =
        CalcFormula::parse(QStringLiteral("I[7]"), [](int n) { return n == 7 ? 0 : -1; });
    QCOMPARE(shifted.terms().size(), 1);
    QCOMPARE(shifted.terms().first().source, 0);
    QCOMPARE(shifted.terms().first().number, 7);
}

void TestCalcFormula::rewritesFromSelection()
{
    const auto terms = [](const char *text) {
        return CalcFormula::parse(QString::fromLatin1(text), upToNine).terms();
    };
    QCOMPARE(CalcFormula::rewritten({1, 3}, terms("-2I[3]")), QStringLiteral("I[1]-2*I[3]"));
    QCOMPARE(CalcFormula::rewritten({}, terms("I[1]")), QString());
    QCOMPARE(CalcFormula::rewritten({2}, terms("0I[2]")), QStringLiteral("-0*I[2]"));
    QCOMPARE(CalcFormula::rewritten({2, 5}, terms("-I[5]+0.25I[2]+7I[6]")),
             QStringLiteral("0.25*I[2]-I[5]"));
    QCOMPARE(CalcFormula::rewritten({4, 2}, terms("1.5I[2]")), QStringLiteral("I[4]+1.5*I[2]"));
    // The first of two terms for one entry gives the coefficient.
    QCOMPARE(CalcFormula::rewritten({1}, terms("3I[1]+4I[1]")), QStringLiteral("3*I[1]"));
    QCOMPARE(CalcFormula::rewritten({1}, terms("1234567.8I[1]")),
             QStringLiteral("1.23457e+06*I[1]"));
}

QTEST_MAIN(TestCalcFormula)
#include "tst_calcformula.moc"
