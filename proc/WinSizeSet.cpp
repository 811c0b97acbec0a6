#include "proc/WinSizeSet.h"

#include "ui_WinSizeSet.h"

WinSizeSet::WinSizeSet(QWidget *parent) : QFrame(parent), m_ui(std::make_unique<Ui_WinSizeSet>())
{
    m_ui->setupUi(this);
}

WinSizeSet::~WinSizeSet() = default;

// toInt yields 0 when the text does not parse, which is the rule for every field.
int WinSizeSet::halfWidthX() const
{
    return m_ui->AreaHW->text().toInt(nullptr, 10);
}

int WinSizeSet::halfWidthY() const
{
    return m_ui->AreaHH->text().toInt(nullptr, 10);
}
