#include "proc/CalcFormula.h"

#include <cmath>

namespace {

enum State {
    Start = 0,
    AfterSign = 1,
    Integer = 2,
    AfterPoint = 3,
    Fraction = 4,
    AfterStar = 5,
    AfterI = 6,
    IndexOpen = 7,
    IndexDigits = 8,
    AfterTerm = 9,
    Error = -1,
};

constexpr double kSigns[2] = {-1.0, +1.0};

bool isI(QChar c)
{
    return c == QLatin1Char('I') || c == QLatin1Char('i');
}

// Digits of any script, as ASCII, so that the C-locale conversions read them.
QChar asciiDigit(QChar c)
{
    return QLatin1Char(char('0' + c.digitValue()));
}

} // namespace

CalcFormula CalcFormula::parse(const QString &text, const Lookup &sourceOf)
{
    CalcFormula f;
    QString s = text.simplified();
    s.remove(QLatin1Char(' '));

    State state = Start;
    double sign = 1.0;
    QString integer, fraction, index;

    auto completeTerm = [&] {
        bool ok = false;
        const int number = index.toInt(&ok, 10);
        const int source = ok ? sourceOf(number) : -1;
        if (source >= 0) {
            const QString num = integer + QLatin1Char('.') + fraction;
            double c = sign;
            if (num != QLatin1String(".")) c = sign * num.toDouble();
            f.m_terms.append(CalcTerm{c, number, source});
        }
        sign = 1.0;
        integer.clear();
        fraction.clear();
        index.clear();
    };

    for (const QChar c : std::as_const(s)) {
        const bool digit = c.isDigit();
        const bool plusMinus = c == QLatin1Char('+') || c == QLatin1Char('-');
        switch (state) {
        case Start:
        case AfterSign:
            if (state == Start && plusMinus) {
                sign = kSigns[c == QLatin1Char('+') ? 1 : 0];
                state = AfterSign;
            } else if (digit) {
                integer.append(asciiDigit(c));
                state = Integer;
            } else if (c == QLatin1Char('.')) {
                state = AfterPoint;
            } else if (isI(c)) {
                state = AfterI;
            } else {
                state = Error;
            }
            break;
        case Integer:
            if (digit)
                integer.append(asciiDigit(c));
            else if (c == QLatin1Char('.'))
                state = AfterPoint;
            else if (c == QLatin1Char('*'))
                state = AfterStar;
            else if (isI(c))
                state = AfterI;
            else
                state = Error;
            break;
        case AfterPoint:
        case Fraction:
            if (digit) {
                fraction.append(asciiDigit(c));
                state = Fraction;
            } else if (c == QLatin1Char('*')) {
                state = AfterStar;
            } else if (isI(c)) {
                state = AfterI;
            } else {
                state = Error;
            }
            break;
        case AfterStar:
            state = isI(c) ? AfterI : Error;
            break;
        case AfterI:
            state = c == QLatin1Char('[') ? IndexOpen : Error;
            break;
        case IndexOpen:
        case IndexDigits:
            if (digit) {
                index.append(asciiDigit(c));
                state = IndexDigits;
            } else if (state == IndexDigits && c == QLatin1Char(']')) {
                completeTerm();
                state = AfterTerm;
            } else {
                state = Error;
            }
            break;
        case AfterTerm:
            if (plusMinus) {
                sign = kSigns[c == QLatin1Char('+') ? 1 : 0];
                state = AfterSign;
            } else {
                state = Error;
            }
            break;
        case Error:
            break;
        }
        if (state == Error) break;
    }
    f.m_valid = state == AfterTerm;
    return f;
}

QString CalcFormula::rewritten(const QList<int> &numbers, const QList<CalcTerm> &current)
{
    QString out;
    bool first = true;
    for (const int n : numbers) {
        const CalcTerm *kept = nullptr;
        for (const CalcTerm &t : current) {
            if (t.number == n) {
                kept = &t;
                break;
            }
        }
        if (kept) {
            const double c = kept->coefficient;
            const QString sign = c <= 0.0 ? QStringLiteral("-")
                                 : first  ? QString()
                                          : QStringLiteral("+");
            const double magnitude = std::fabs(c);
            const QString factor = magnitude == 1.0
                                       ? QString()
                                       : QStringLiteral("%1*").arg(QString::number(magnitude, 'g'));
            out += QStringLiteral("%1%2I[%3]").arg(sign, factor, QString::number(n));
        } else {
            out += (first ? QStringLiteral("I[%1]") : QStringLiteral("+I[%1]")).arg(n);
        }
        first = false;
    }
    return out;
}
