#include "data/ImgBase.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>

class TstImgBase : public QObject
{
    Q_OBJECT

private slots:
    void startsEmptyWithForm();
    void closingTabsMakesWindows();
    void backToTabAndCurrent();
};

namespace {

void clickClose(QTabWidget *tabs, int idx)
{
    QTabBar *bar = tabs->tabBar();
    auto *button = qobject_cast<QAbstractButton *>(bar->tabButton(idx, QTabBar::RightSide));
    if (!button) button = qobject_cast<QAbstractButton *>(bar->tabButton(idx, QTabBar::LeftSide));
    QVERIFY(button);
    QVERIFY(button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

void TstImgBase::startsEmptyWithForm()
{
    ImgBase base;
    QCOMPARE(base.windowTitle(), QStringLiteral("Zelmap Image Base"));
    QCOMPARE(base.size(), QSize(988, 1010));
    QTabWidget *tabs = base.findChild<QTabWidget *>(QStringLiteral("ImgBaseTab"));
    QVERIFY(tabs);
    QCOMPARE(tabs, base.tabWidget());
    QCOMPARE(tabs->count(), 0);
    QVERIFY(tabs->tabsClosable());
    QVERIFY(tabs->isMovable());
    QVERIFY(!base.findChild<QWidget *>(QStringLiteral("tab")));
    QVERIFY(!base.findChild<QWidget *>(QStringLiteral("tab_2")));
    // Slots are reached by name and index: closeTab, currentChanged0, setCurrentWidget.
    const QMetaObject *mo = base.metaObject();
    const int close = mo->indexOfSlot("closeTab(int)");
    const int changed = mo->indexOfSlot("currentChanged0(int)");
    const int current = mo->indexOfSlot("setCurrentWidget(QWidget*)");
    QVERIFY(close >= mo->methodOffset());
    QVERIFY(close < changed && changed < current);
}

void TstImgBase::closingTabsMakesWindows()
{
    ImgBase base;
    QSignalSpy current(&base, &ImgBase::currentChanged);
    auto *a = new QLabel(QStringLiteral("a"));
    auto *b = new QLabel(QStringLiteral("b"));
    base.addDisplay(a, QStringLiteral("first"));
    base.addDisplay(b, QStringLiteral("second"));
    QCOMPARE(current.count(), 2);
    QCOMPARE(current.last().at(0).value<QWidget *>(), b);
    base.show();
    QVERIFY(QTest::qWaitForWindowExposed(&base));
    QTabWidget *tabs = base.tabWidget();
    QCOMPARE(tabs->tabText(0), QStringLiteral("first"));

    current.clear();
    clickClose(tabs, 1);
    QCOMPARE(tabs->count(), 1);
    QPointer<QLabel> alive(b);
    QVERIFY(alive);
    QVERIFY(b->isWindow());
    QVERIFY(b->isVisible());
    // The remaining tab became current and was reported.
    QCOMPARE(current.count(), 1);
    QCOMPARE(current.last().at(0).value<QWidget *>(), a);

    current.clear();
    clickClose(tabs, 0);
    QCOMPARE(tabs->count(), 0);
    QVERIFY(a->isWindow());
    QVERIFY(a->isVisible());
    // No tabs left: index -1 emits nothing.
    QCOMPARE(current.count(), 0);
}

void TstImgBase::backToTabAndCurrent()
{
    ImgBase base;
    auto *a = new QLabel(QStringLiteral("a"));
    auto *b = new QLabel(QStringLiteral("b"));
    base.addDisplay(a, QStringLiteral("A"));
    base.addDisplay(b, QStringLiteral("B"));
    base.show();
    QVERIFY(QTest::qWaitForWindowExposed(&base));
    clickClose(base.tabWidget(), 0);
    QVERIFY(a->isWindow());

    QSignalSpy current(&base, &ImgBase::currentChanged);
    base.addDisplay(a, QStringLiteral("A again"));
    QVERIFY(!a->isWindow());
    QCOMPARE(base.tabWidget()->count(), 2);
    QCOMPARE(base.tabWidget()->currentWidget(), a);
    QCOMPARE(base.tabWidget()->tabText(1), QStringLiteral("A again"));
    QCOMPARE(current.count(), 1);
    QVERIFY(a->isVisible());

    base.setCurrentWidget(b);
    QCOMPARE(base.tabWidget()->currentIndex(), 0);
    QCOMPARE(current.last().at(0).value<QWidget *>(), b);

    // Switching tabs with a real click on the tab bar reports the new display.
    QTabBar *bar = base.tabWidget()->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
    QCOMPARE(base.tabWidget()->currentWidget(), a);
    QCOMPARE(current.last().at(0).value<QWidget *>(), a);
}

QTEST_MAIN(TstImgBase)
#include "tst_imgbase.moc"
