#include "xafs/StackEnergy.h"

#include <QHash>
#include <QRegularExpression>

#include <cmath>

std::optional<double> StackEnergy::fromLabel(const QString &label)
{
    // Digits not glued to a preceding digit or point, an optional fraction, optional blanks,
    // then "eV" or "keV" that is not the start of a longer word.
    static const QRegularExpression re(
        QStringLiteral("(?<![0-9.])([0-9]+(?:\\.[0-9]*)?)\\s*(k?)eV(?![A-Za-z])"));
    QRegularExpressionMatchIterator it = re.globalMatch(label);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        bool ok = false;
        double e = m.captured(1).toDouble(&ok);
        if (!ok || !std::isfinite(e)) continue;
        if (!m.captured(2).isEmpty()) e *= 1000.0;
        if (e > 0.0 && std::isfinite(e)) return e;
    }
    return std::nullopt;
}

std::optional<double> StackEnergy::parse(const QString &text)
{
    bool ok = false;
    const double e = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(e)) return std::nullopt;
    return e;
}

QList<StackEnergy::Status> StackEnergy::check(const QList<std::optional<double>> &energies)
{
    QHash<double, int> seen;
    for (const auto &e : energies)
        if (e && *e > 0.0) ++seen[*e];
    QList<Status> out;
    out.reserve(energies.size());
    for (const auto &e : energies) {
        if (!e || !std::isfinite(*e))
            out << Status::NotANumber;
        else if (*e <= 0.0)
            out << Status::NotPositive;
        else if (seen.value(*e) > 1)
            out << Status::Duplicate;
        else
            out << Status::Usable;
    }
    return out;
}
