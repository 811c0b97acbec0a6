#pragma once

#include <QList>
#include <QPointF>
#include <QWidget>

#include <memory>

class TDDataWL;
class Ui_PeakTable;

// The points of a peak list with the record's value at each: number (from 0, as in the
// ids of the cuts around them), x, y, value; copied to the clipboard tab-separated or
// written as CSV. The window keeps its own copy of the list.
class PeakTable : public QWidget
{
    Q_OBJECT

public:
    // The rows shown before the table stops growing; the text and CSV keep every point.
    static constexpr int kMaxRows = 10000;

    // Shows the last kind-1 shape of record.
    explicit PeakTable(const TDDataWL &record, QWidget *parent = nullptr);
    ~PeakTable() override;

    // Whether record arrives with a list fresh from a peak finder (not a copied one).
    static bool hasFreshPeaks(const TDDataWL &record);

    // Lines of number, x, y, value joined by separator, with a heading line.
    QString text(QChar separator) const;

public Q_SLOTS:
    void copyToClipboard();
    // Written whole or not at all; false when it could not be written.
    bool saveCsv(const QString &fileName);

Q_SIGNALS:
    void message(QString text);

private:
    void chooseCsvFile();

    std::unique_ptr<Ui_PeakTable> m_ui;
    QList<QPointF> m_points;
    QList<double> m_values;
};
