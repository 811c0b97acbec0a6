#pragma once

#include <QFrame>

#include <memory>

class Ui_WinSizeSet;

// Two line edits for the half widths of a filter window. Text that does not read as a
// base-10 integer gives 0; no range is enforced, the filter decides what the value means.
class WinSizeSet : public QFrame
{
    Q_OBJECT

public:
    explicit WinSizeSet(QWidget *parent = nullptr);
    ~WinSizeSet() override;

    int halfWidthX() const;
    int halfWidthY() const;

private:
    std::unique_ptr<Ui_WinSizeSet> m_ui;
};
