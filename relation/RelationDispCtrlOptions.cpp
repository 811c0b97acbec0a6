#include "relation/RelationDispCtrlOptions.h"

#include "ui_RelationDispCtrlOptions.h"

RelationDispCtrlOptions::RelationDispCtrlOptions(QWidget *parent)
    : QFrame(parent), m_ui(std::make_unique<Ui_RelationDispCtrlOptions>())
{
    m_ui->setupUi(this);
    connect(m_ui->reDrawHistg_, &QPushButton::clicked, this, &RelationDispCtrlOptions::reDraw);
    for (QLineEdit *e : {m_ui->kernelHW_, m_ui->bVal_, m_ui->colorMaxRange_})
        connect(e, &QLineEdit::editingFinished, this, &RelationDispCtrlOptions::edited);
}

RelationDispCtrlOptions::~RelationDispCtrlOptions() = default;

qint32 RelationDispCtrlOptions::kernelHalfWidth() const
{
    bool ok = false;
    const qint32 v = m_ui->kernelHW_->text().toInt(&ok, 10);
    return ok ? v : 0;
}

double RelationDispCtrlOptions::boundaryValue() const
{
    bool ok = false;
    const double v = m_ui->bVal_->text().toDouble(&ok);
    return ok ? v : 0.0;
}

double RelationDispCtrlOptions::colorMaxRange() const
{
    bool ok = false;
    const double v = m_ui->colorMaxRange_->text().toDouble(&ok);
    return ok ? v : 0.0;
}
