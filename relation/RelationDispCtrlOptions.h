#pragma once

#include <QFrame>

#include <memory>

class QPushButton;
class Ui_RelationDispCtrlOptions;

// The numbers of the relation histogram: kernel half width, boundary value and colour range,
// and a button that asks for a rebuild. Every getter reads its field afresh; a text that
// does not read as a number gives 0.
class RelationDispCtrlOptions : public QFrame
{
    Q_OBJECT

public:
    explicit RelationDispCtrlOptions(QWidget *parent = nullptr);
    ~RelationDispCtrlOptions() override;

    qint32 kernelHalfWidth() const;
    double boundaryValue() const;
    double colorMaxRange() const;

Q_SIGNALS:
    // "ReDraw" was pressed.
    void reDraw();
    // Editing of one of the fields has finished.
    void edited();

private:
    std::unique_ptr<Ui_RelationDispCtrlOptions> m_ui;
};
