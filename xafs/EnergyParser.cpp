#include "xafs/EnergyParser.h"

#include <QRegularExpression>

#include <cmath>

double EnergyParser::fromName(const QString &name)
{
    // "7keV" has no number directly before "eV" and so gives none.
    static const QRegularExpression pattern(QStringLiteral(R"((-?\d+(?:\.\d+)?)\s*eV)"));
    double energy = std::nan("");
    QRegularExpressionMatchIterator it = pattern.globalMatch(name);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        bool ok = false;
        const double v = m.captured(1).toDouble(&ok);
        if (ok) energy = v;
    }
    return energy;
}
