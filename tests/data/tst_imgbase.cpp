#include "data/ImgBase.h"

#include <QAbstractButton>
#include <QLabel>
#include <QSignalSpy>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>

class TstImgBase : public QObject
{
    Q_OBJECT

private slots:
    void closingTabsMakesWindowsAndBack();
};

namespace {

void clickClose(QTabWidget *tabs, int idx)
{
    QTabBar *bar = tabs->tabBar();
    auto *button = qobject_cast<QAbstractButton *>(bar->tabButton(idx, QTabBar::RightSide));
    if (!button) button = qobject_cast<QAbstractButton *>(bar->tabButton(idx, QTabBar::LeftSide));
    QVERIFY(button && button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
}

QWidget *reported(const QSignalSpy &spy)
{
    return spy.last().at(0).value<QWidget *>();
}

} // namespace

void TstImgBase::closingTabsMakesWindowsAndBack()
{
    ImgBase base;
    QTabWidget *tabs = base.tabWidget();
    // The form's placeholder pages are gone.
    QCOMPARE(tabs->count(), 0);
    QVERIFY(!base.findChild<QWidget *>(QStringLiteral("tab")));
    QSignalSpy current(&base, &ImgBase::currentChanged);
    auto *a = new QLabel(QStringLiteral("a"));
    auto *b = new QLabel(QStringLiteral("b"));
    base.addDisplay(a, QStringLiteral("first"));
    base.addDisplay(b, QStringLiteral("second"));
    QCOMPARE(current.count(), 2);
    QCOMPARE(reported(current), b);
    base.show();
    QVERIFY(QTest::qWaitForWindowExposed(&base));
    QCOMPARE(tabs->tabText(0), QStringLiteral("first"));

    // The closed display lives on as a window; the remaining tab became current and was reported.
    clickClose(tabs, 1);
    QCOMPARE(tabs->count(), 1);
    QVERIFY(b->isWindow() && b->isVisible());
    QCOMPARE(current.count(), 3);
    QCOMPARE(reported(current), a);

    // No tabs left: index -1 emits nothing.
    clickClose(tabs, 0);
    QCOMPARE(tabs->count(), 0);
    QVERIFY(a->isWindow() && a->isVisible());
    QCOMPARE(current.count(), 3);

    // A window added again becomes a tab, and the current one.
    base.addDisplay(b, QStringLiteral("B"));
    base.addDisplay(a, QStringLiteral("A again"));
    QVERIFY(!a->isWindow() && a->isVisible());
    QCOMPARE(tabs->count(), 2);
    QCOMPARE(tabs->currentWidget(), a);
    QCOMPARE(tabs->tabText(1), QStringLiteral("A again"));
    QCOMPARE(current.count(), 5);

    base.setCurrentWidget(b);
    QCOMPARE(tabs->currentIndex(), 0);
    QCOMPARE(reported(current), b);

    // Switching tabs with a real click on the tab bar reports the new display.
    QTabBar *bar = tabs->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
    QCOMPARE(tabs->currentWidget(), a);
    QCOMPARE(reported(current), a);
}

QTEST_MAIN(TstImgBase)
#include "tst_imgbase.moc"
