#include "xafs/LcfACtrl.h"

#include "ui_LcfACtrl.h"

LcfACtrl::LcfACtrl(QWidget *parent) : QFrame(parent), m_ui(std::make_unique<Ui_LcfACtrl>())
{
    m_ui->setupUi(this);
    connect(m_ui->lineEdit, &QLineEdit::editingFinished, this, &LcfACtrl::energyEdited);
}

LcfACtrl::~LcfACtrl() = default;

std::optional<double> LcfACtrl::energy() const
{
    return StackEnergy::parse(m_ui->lineEdit->text());
}

void LcfACtrl::setEnergy(double e)
{
    m_ui->lineEdit->setText(QString::number(e, 'g', 10));
}

QString LcfACtrl::text() const
{
    return m_ui->lineEdit->text();
}

QLineEdit *LcfACtrl::lineEdit() const
{
    return m_ui->lineEdit;
}

void LcfACtrl::showStatus(StackEnergy::Status status)
{
    m_status = status;
    QString style, tip;
    switch (status) {
    case StackEnergy::Status::Usable:
        // Set outright: the entry's own background would otherwise show through.
        style = QStringLiteral("background-color: rgb(255, 255, 255);");
        tip = tr("Photon energy of this image in eV");
        break;
    case StackEnergy::Status::NotANumber:
        style = QStringLiteral("background-color: rgb(255, 190, 190);");
        tip = tr("Not a number: this image is left out of a fit");
        break;
    case StackEnergy::Status::NotPositive:
        style = QStringLiteral("background-color: rgb(255, 190, 190);");
        tip = tr("An energy must be above 0 eV: this image is left out of a fit");
        break;
    case StackEnergy::Status::Duplicate:
        style = QStringLiteral("background-color: rgb(255, 220, 150);");
        tip = tr("Another image has the same energy: both are left out of a fit");
        break;
    }
    m_ui->lineEdit->setStyleSheet(style);
    m_ui->lineEdit->setToolTip(tip);
}
