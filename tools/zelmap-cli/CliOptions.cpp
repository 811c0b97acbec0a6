#include "CliOptions.h"

CliOptions::CliOptions(const QString &command) : m_command(command)
{
    addSwitch(QStringLiteral("--time"));
}

void CliOptions::addSwitch(const QString &name)
{
    m_switches.insert(name);
}

void CliOptions::addOption(const QString &name, int valueCount)
{
    m_valueCounts.insert(name, valueCount);
}

void CliOptions::addRepeatableOption(const QString &name)
{
    m_valueCounts.insert(name, 1);
    m_repeatable.insert(name);
}

bool CliOptions::parse(const QStringList &args, QTextStream &err)
{
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        if (m_switches.contains(a)) {
            m_given.insert(a, QStringList());
        } else if (m_valueCounts.contains(a)) {
            const int n = m_valueCounts.value(a);
            if (i + n >= args.size()) {
                err << "zelmap-cli " << m_command << ": " << a << " needs " << n
                    << (n == 1 ? " value\n" : " values\n");
                return false;
            }
            if (m_repeatable.contains(a))
                m_given[a] += args.mid(i + 1, n);
            else
                m_given.insert(a, args.mid(i + 1, n));
            i += n;
        } else if (a.startsWith(QLatin1String("--")) ||
                   (a.startsWith(QLatin1Char('-')) && a.size() > 1 && !a.at(1).isDigit())) {
            err << "zelmap-cli " << m_command << ": unknown option " << a << '\n';
            return false;
        } else {
            m_files << a;
        }
    }
    return true;
}

QString CliOptions::value(const QString &name, const QString &fallback) const
{
    const QStringList v = m_given.value(name);
    return v.isEmpty() ? fallback : v.first();
}

bool CliOptions::ints(const QString &name, QList<int> *out, QTextStream &err) const
{
    if (!has(name)) return true;
    QList<int> read;
    for (const QString &text : m_given.value(name)) {
        bool ok = false;
        const int v = text.toInt(&ok, 10);
        if (!ok) {
            err << "zelmap-cli " << m_command << ": " << name << " takes whole numbers, not '"
                << text << "'\n";
            return false;
        }
        read << v;
    }
    *out = read;
    return true;
}

bool CliOptions::doubles(const QString &name, QList<double> *out, QTextStream &err) const
{
    if (!has(name)) return true;
    QList<double> read;
    for (const QString &text : m_given.value(name)) {
        bool ok = false;
        const double v = text.toDouble(&ok);
        if (!ok) {
            err << "zelmap-cli " << m_command << ": " << name << " takes numbers, not '" << text
                << "'\n";
            return false;
        }
        read << v;
    }
    *out = read;
    return true;
}

bool CliOptions::integer(const QString &name, int *out, QTextStream &err) const
{
    QList<int> v;
    if (!ints(name, &v, err)) return false;
    if (!v.isEmpty()) *out = v.first();
    return true;
}

bool CliOptions::real(const QString &name, double *out, QTextStream &err) const
{
    QList<double> v;
    if (!doubles(name, &v, err)) return false;
    if (!v.isEmpty()) *out = v.first();
    return true;
}

int CliOptions::usageError(QTextStream &err, const QString &message) const
{
    err << "zelmap-cli " << m_command << ": " << message << '\n';
    return 2;
}

void CliOptions::report(QTextStream &err) const
{
    if (has(QStringLiteral("--time")))
        err << "compute ms: " << QString::number(double(m_elapsedNs) / 1e6, 'f', 3) << '\n';
}
