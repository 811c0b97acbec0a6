#include "proc/PeakTable.h"

#include "core/Shape.h"
#include "core/TDDataWL.h"
#include "proc/PeakSearch.h"
#include "proc/RecordCopy.h"

#include "ui_PeakTable.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QSaveFile>

#include <cmath>
#include <limits>

PeakTable::PeakTable(const TDDataWL &record, QWidget *parent)
    : QWidget(parent, Qt::Window), m_ui(std::make_unique<Ui_PeakTable>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    if (const Shape *list = RecordCopy::lastPeakList(record)) {
        m_points = *list->points();
        setWindowTitle(tr("Peaks of %1").arg(record.dataId()));
        m_ui->DataId->setText(QStringLiteral("%1  %2").arg(record.dataId(), list->name()));
    }
    for (const QPointF &p : m_points) {
        const double x = std::trunc(p.x()), y = std::trunc(p.y());
        const bool inside = x >= 0 && y >= 0 && x < record.width() && y < record.height();
        m_values << (inside ? record.value(int(x), int(y))
                            : std::numeric_limits<double>::quiet_NaN());
    }
    const int rows = int(std::min<qsizetype>(m_points.size(), kMaxRows));
    m_ui->Table->setRowCount(rows);
    for (int r = 0; r < rows; ++r) {
        const QStringList cells = {QString::number(r), QString::number(m_points[r].x()),
                                   QString::number(m_points[r].y()),
                                   QString::number(m_values[r], 'g', 6)};
        for (int c = 0; c < 4; ++c)
            m_ui->Table->setItem(r, c, new QTableWidgetItem(cells[c]));
    }
    m_ui->Table->verticalHeader()->hide();
    connect(m_ui->CopyB, &QPushButton::clicked, this, &PeakTable::copyToClipboard);
    connect(m_ui->SaveCsvB, &QPushButton::clicked, this, &PeakTable::chooseCsvFile);
}

PeakTable::~PeakTable() = default;

bool PeakTable::hasFreshPeaks(const TDDataWL &record)
{
    const Shape *list = RecordCopy::lastPeakList(record);
    return list && list->flag() == PeakSearch::kFreshListFlag;
}

QString PeakTable::text(QChar separator) const
{
    QString out;
    const QString sep(separator);
    out += QStringList{QStringLiteral("n"), QStringLiteral("x"), QStringLiteral("y"),
                       QStringLiteral("value")}
               .join(sep) +
           QLatin1Char('\n');
    for (qsizetype n = 0; n < m_points.size(); ++n)
        out += QStringList{QString::number(n), QString::number(m_points[n].x()),
                           QString::number(m_points[n].y()), QString::number(m_values[n], 'g', 17)}
                   .join(sep) +
               QLatin1Char('\n');
    return out;
}

void PeakTable::copyToClipboard()
{
    QApplication::clipboard()->setText(text(QLatin1Char('\t')));
    Q_EMIT message(tr("Copied %n peak(s)", nullptr, int(m_points.size())));
}

bool PeakTable::saveCsv(const QString &fileName)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        file.write(text(QLatin1Char(',')).toUtf8());
        if (file.commit()) {
            Q_EMIT message(tr("Saved %1").arg(fileName));
            return true;
        }
    }
    Q_EMIT message(tr("Cannot write %1").arg(fileName));
    return false;
}

void PeakTable::chooseCsvFile()
{
    const QString name =
        QFileDialog::getSaveFileName(this, tr("Save CSV"), QString(), tr("CSV File (*.csv)"));
    if (!name.isEmpty()) saveCsv(name);
}
