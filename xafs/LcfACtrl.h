#pragma once

#include "xafs/StackEnergy.h"

#include <QFrame>

#include <memory>
#include <optional>

class QLineEdit;
class Ui_LcfACtrl;

// The photon energy of one image of an LCF stack, in eV.
class LcfACtrl : public QFrame
{
    Q_OBJECT

public:
    explicit LcfACtrl(QWidget *parent = nullptr);
    ~LcfACtrl() override;

    // The typed energy, or nothing when the text is not a number.
    std::optional<double> energy() const;
    void setEnergy(double e);
    QString text() const;
    QLineEdit *lineEdit() const;

    // Colours the field and says in its tool tip why a fit leaves the image out.
    void showStatus(StackEnergy::Status status);
    StackEnergy::Status status() const { return m_status; }

Q_SIGNALS:
    void energyEdited();

private:
    std::unique_ptr<Ui_LcfACtrl> m_ui;
    StackEnergy::Status m_status = StackEnergy::Status::Usable;
};
