#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include "ui/widgets/base_dialog.h"
#include "ui/widgets/base_window.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/title_bar.h"

namespace {

QAbstractButton *button(const QWidget *window, const QString &name)
{
    return window->findChild<QAbstractButton *>(name);
}

TitleBar *titleBar(const QWidget *window)
{
    return window->findChild<TitleBar *>();
}

void drag(QWidget *target, const QPoint &from, const QPoint &to)
{
    const QPoint start = target->mapToGlobal(from);
    const QPoint end = target->mapToGlobal(to);
    const auto send = [target](QEvent::Type type, const QPoint &global, Qt::MouseButtons buttons) {
        QMouseEvent event(type, target->mapFromGlobal(global), global, Qt::LeftButton, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(target, &event);
    };
    send(QEvent::MouseButtonPress, start, Qt::LeftButton);
    send(QEvent::MouseMove, (start + end) / 2, Qt::LeftButton);
    send(QEvent::MouseMove, end, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, end, Qt::NoButton);
}

} // namespace

class TestWindowFrame final : public QObject
{
    Q_OBJECT

private slots:
    void aDialogHasTheButtonsOfItsFlags_data();
    void aDialogHasTheButtonsOfItsFlags();
    void aDialogStartsWithItsFlagsCleared();
    void theTitleBarFollowsItsWindow();
    void theMaximizeButtonTellsTheState();
    void theButtonsAct();
    void theContentsLieBelowTheTitleBar();
    void aDragMovesTheWindow_data();
    void aDragMovesTheWindow();
    void aMaximizedWindowIsNotDragged();
    void aDialogUsedAsAPageHasNoFrame();
    void theMenuOpensAboveItsButton();
};

void TestWindowFrame::aDialogHasTheButtonsOfItsFlags_data()
{
    QTest::addColumn<bool>("maximizable");
    QTest::newRow("plain") << false;
    QTest::newRow("maximizable") << true;
}

void TestWindowFrame::aDialogHasTheButtonsOfItsFlags()
{
    QFETCH(bool, maximizable);
    BaseDialog dialog(maximizable ? BaseDialog::Maximizing::Allowed
                                  : BaseDialog::Maximizing::Refused);
    dialog.show();
    QCOMPARE(dialog.parentWidget(), nullptr);
    const Qt::WindowFlags flags = dialog.windowFlags();
    QVERIFY(flags.testFlag(Qt::FramelessWindowHint));
    QVERIFY(flags.testFlag(Qt::WindowMinimizeButtonHint));
    QVERIFY(!flags.testFlag(Qt::WindowContextHelpButtonHint));
    QCOMPARE(flags.testFlag(Qt::WindowMaximizeButtonHint), maximizable);
    QVERIFY(button(&dialog, QStringLiteral("minimizeButton"))->isVisible());
    QVERIFY(button(&dialog, QStringLiteral("closeButton"))->isVisible());
    QCOMPARE(button(&dialog, QStringLiteral("maximizeButton"))->isVisible(), maximizable);
}

void TestWindowFrame::aDialogStartsWithItsFlagsCleared()
{
    BaseDialog dialog;
    QVERIFY(!dialog.closedByUser());
    QVERIFY(!dialog.quitOnCancel());
    dialog.setQuitOnCancel(true);
    QVERIFY(dialog.quitOnCancel());
}

void TestWindowFrame::theTitleBarFollowsItsWindow()
{
    BaseDialog dialog;
    dialog.setWindowTitle(QStringLiteral("重命名"));
    const auto *title = dialog.findChild<QLabel *>(QStringLiteral("labelTitle"));
    QCOMPARE(title->text(), QStringLiteral("重命名"));
    QPixmap picture(64, 64);
    picture.fill(Qt::red);
    dialog.setWindowIcon(QIcon(picture));
    const auto *icon = dialog.findChild<QLabel *>(QStringLiteral("labelIcon"));
    QCOMPARE(icon->pixmap(Qt::ReturnByValue).size(), icon->size());
}

void TestWindowFrame::theMaximizeButtonTellsTheState()
{
    BaseWindow window;
    window.resize(400, 300);
    window.show();
    QWidget *maximize = button(&window, QStringLiteral("maximizeButton"));
    QCOMPARE(maximize->property("maximizeProperty").toString(), QStringLiteral("maximize"));
    QCOMPARE(maximize->toolTip(), QStringLiteral("Maximize"));
    window.showMaximized();
    QTRY_COMPARE(maximize->property("maximizeProperty").toString(), QStringLiteral("restore"));
    QCOMPARE(maximize->toolTip(), QStringLiteral("Restore"));
    window.showNormal();
    QTRY_COMPARE(maximize->property("maximizeProperty").toString(), QStringLiteral("maximize"));
}

void TestWindowFrame::theButtonsAct()
{
    BaseWindow window;
    window.resize(400, 300);
    window.show();
    QAbstractButton *maximize = button(&window, QStringLiteral("maximizeButton"));
    maximize->click();
    QTRY_VERIFY(window.isMaximized());
    maximize->click();
    QTRY_VERIFY(!window.isMaximized());
    QTest::mouseDClick(titleBar(&window), Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
    QTRY_VERIFY(window.isMaximized());
    button(&window, QStringLiteral("minimizeButton"))->click();
    QTRY_VERIFY(window.isMinimized());
    button(&window, QStringLiteral("closeButton"))->click();
    QVERIFY(!window.isVisible());
}

void TestWindowFrame::theContentsLieBelowTheTitleBar()
{
    BaseDialog dialog(BaseDialog::Maximizing::Allowed);
    auto *layout = new QVBoxLayout(&dialog);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *contents = new QWidget;
    layout->addWidget(contents);
    dialog.resize(400, 300);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QRect bar = titleBar(&dialog)->geometry();
    QCOMPARE(contents->geometry().top(), bar.bottom() + 1);
    dialog.setTitleBarVisible(false);
    QTRY_VERIFY(contents->geometry().top() < bar.bottom());
    dialog.setTitleBarVisible(true);
    dialog.showFullScreen();
    QTRY_COMPARE(contents->geometry(), dialog.rect());
    QVERIFY(!titleBar(&dialog)->isVisible());
    dialog.showNormal();
    QTRY_COMPARE(contents->geometry().top(), titleBar(&dialog)->geometry().bottom() + 1);
}

void TestWindowFrame::aDragMovesTheWindow_data()
{
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("by");
    QTest::addColumn<QPoint>("moved");
    QTest::newRow("by the free area") << QPoint(200, 200) << QPoint(40, 30) << QPoint(40, 30);
    QTest::newRow("up and to the left") << QPoint(200, 200) << QPoint(-50, -20) << QPoint(-50, -20);
    QTest::newRow("a twitch is a click") << QPoint(200, 200) << QPoint(2, 1) << QPoint(0, 0);
}

void TestWindowFrame::aDragMovesTheWindow()
{
    QFETCH(QPoint, from);
    QFETCH(QPoint, by);
    QFETCH(QPoint, moved);
    BaseWindow window;
    window.setGeometry(100, 100, 400, 300);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QPoint before = window.pos();
    drag(&window, from, from + by);
    QTRY_COMPARE(window.pos() - before, moved);
    // Through the title bar, which leaves its presses to the window.
    const QPoint start = window.pos();
    drag(titleBar(&window), QPoint(150, 10), QPoint(150, 10) + by);
    QTRY_COMPARE(window.pos() - start, moved);
}

void TestWindowFrame::aMaximizedWindowIsNotDragged()
{
    BaseWindow window;
    window.resize(400, 300);
    window.showMaximized();
    QTRY_VERIFY(window.isMaximized());
    const QPoint before = window.pos();
    drag(&window, QPoint(200, 200), QPoint(300, 260));
    QCOMPARE(window.pos(), before);
}

void TestWindowFrame::aDialogUsedAsAPageHasNoFrame()
{
    BaseWindow window;
    window.setGeometry(100, 100, 400, 300);
    auto *layout = new QVBoxLayout(&window);
    auto *page = new BaseDialog;
    layout->addWidget(page);
    window.show();
    page->show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(!titleBar(page)->isVisible());
    QCOMPARE(page->contentsMargins(), QMargins());
    const QPoint place = page->pos();
    const QPoint before = window.pos();
    drag(page, QPoint(50, 50), QPoint(90, 80));
    QCOMPARE(page->pos(), place);
    QCOMPARE(window.pos(), before);
}

void TestWindowFrame::theMenuOpensAboveItsButton()
{
    QWidget window;
    window.setGeometry(100, 300, 400, 100);
    QWidget anchor(&window);
    anchor.setGeometry(180, 20, 40, 30);
    window.show();
    CustomPopUpMenu menu;
    menu.addAction(QStringLiteral("1080P"));
    menu.addAction(QStringLiteral("720P"));
    menu.popUpAt(&anchor);
    const QRect button(anchor.mapToGlobal(QPoint(0, 0)), anchor.size());
    QTRY_VERIFY(menu.isVisible());
    QVERIFY(menu.geometry().bottom() < button.top());
    QVERIFY(qAbs(menu.geometry().center().x() - button.center().x()) <= 1);
    menu.close();
    window.move(0, 0);
    menu.popUpAt(&anchor);
    QTRY_VERIFY(menu.geometry().top() > anchor.mapToGlobal(QPoint(0, 29)).y());
}

QTEST_MAIN(TestWindowFrame)
#include "tst_window_frame.moc"
