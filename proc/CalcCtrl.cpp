#include "proc/CalcCtrl.h"

#include "core/TDDataWL.h"
#include "data/DataCtrl.h"
#include "data/DataCtrls.h"

#include "ui_CalcCtrl.h"

#include <QLabel>

CalcCtrl::CalcCtrl(DataCtrls *dataCtrls, QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_CalcCtrl>()), m_dataCtrls(dataCtrls)
{
    m_ui->setupUi(this);
    connect(m_ui->Gen, &QPushButton::clicked, this, &CalcCtrl::calc);
}

CalcCtrl::~CalcCtrl() = default;

int CalcCtrl::entryNumber(int index) const
{
    // The label is what the user reads the number from.
    const auto *label = m_dataCtrls->at(index)->findChild<QLabel *>(QStringLiteral("No"));
    return label ? label->text().toInt(nullptr, 10) : 0;
}

CalcFormula CalcCtrl::parse(const QString &text) const
{
    return CalcFormula::parse(text, [this](int number) {
        if (!m_dataCtrls) return -1;
        for (int i = 0; i < m_dataCtrls->count(); ++i)
            if (entryNumber(i) == number) return i;
        return -1;
    });
}

QList<CalcSource> CalcCtrl::sources() const
{
    QList<CalcSource> list;
    if (!m_dataCtrls) return list;
    for (int i = 0; i < m_dataCtrls->count(); ++i) {
        const TDDataWL *r = m_dataCtrls->record(i);
        CalcSource s;
        s.record = r;
        // The entry's region is its limiting rectangle.
        if (r && r->isRegionSet()) {
            const QRect box = r->region();
            s.limited = true;
            s.left = box.left();
            s.top = box.top();
            s.right = box.right();
            s.bottom = box.bottom();
        }
        list.append(s);
    }
    return list;
}

void CalcCtrl::calc()
{
    const CalcFormula num = parse(m_ui->Numerators->text());
    const CalcFormula den = parse(m_ui->Denominators->text());
    const ImageCalc::Options options{m_ui->Log->isChecked(), m_ui->Neg->isChecked()};
    std::unique_ptr<TDDataWL> result =
        ImageCalc::compute(sources(), num.terms(), den.terms(), options);
    if (!result) return;
    result->setDataId(
        ImageCalc::dataId(m_ui->Numerators->text(), m_ui->Denominators->text(), options));
    Q_EMIT newDataGenerated(result.release());
}

QString CalcCtrl::rewritten(const QList<bool> &sels, const QString &current) const
{
    QList<int> numbers;
    const int n = m_dataCtrls ? m_dataCtrls->count() : 0;
    for (int i = 0; i < sels.size() && i < n; ++i)
        if (sels[i]) numbers.append(entryNumber(i));
    return CalcFormula::rewritten(numbers, parse(current).terms());
}

void CalcCtrl::selsChanged(int, int, QList<bool> selsA, QList<bool> selsB)
{
    m_selsA = selsA;
    m_selsB = selsB;
    const QString num = rewritten(m_selsA, m_ui->Numerators->text());
    const QString den = rewritten(m_selsB, m_ui->Denominators->text());
    m_ui->Numerators->setText(num);
    m_ui->Denominators->setText(den);
}

void CalcCtrl::show(bool f)
{
    setVisible(f);
}
