#include <QAbstractButton>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include "support/test_main.h"
#include "ui/widgets/base_dialog.h"
#include "ui/widgets/base_window.h"
#include "ui/widgets/custom_pop_up_menu.h"
#include "ui/widgets/title_bar.h"

Q_DECLARE_METATYPE(Qt::CursorShape)

namespace {

QAbstractButton *button(const QWidget &window, const char *name)
{
    return window.findChild<QAbstractButton *>(name);
}

TitleBar *titleBar(const QWidget &window)
{
    return window.findChild<TitleBar *>();
}

void showAt(QWidget &window, const QRect &place)
{
    window.setGeometry(place);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
}

void drag(QWidget *target, const QPoint &from, const QPoint &by)
{
    const QPoint start = target->mapToGlobal(from);
    const auto send = [target](QEvent::Type type, const QPoint &global, Qt::MouseButtons buttons) {
        QMouseEvent event(type, target->mapFromGlobal(global), global, Qt::LeftButton, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(target, &event);
    };
    send(QEvent::MouseButtonPress, start, Qt::LeftButton);
    send(QEvent::MouseMove, start + by / 2, Qt::LeftButton);
    send(QEvent::MouseMove, start + by, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, start + by, Qt::NoButton);
    send(QEvent::MouseMove, start + 2 * by, Qt::NoButton);
}

// The colour in the middle of what the widget paints.
QColor colourOf(QWidget *widget)
{
    return widget->grab().toImage().pixelColor(widget->rect().center());
}

} // namespace

class TestWindowFrame final : public QObject
{
    Q_OBJECT

private slots:
    void aDialogHasTheButtonsOfItsFlags()
    {
        for (const bool maximizable : {false, true}) {
            BaseDialog dialog(maximizable ? BaseDialog::Maximizing::Allowed
                                          : BaseDialog::Maximizing::Refused);
            dialog.show();
            QVERIFY(!dialog.closedByUser() && !dialog.quitOnCancel());
            QVERIFY(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
            QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
            QVERIFY(button(dialog, "minimizeButton")->isVisible());
            QVERIFY(button(dialog, "closeButton")->isVisible());
            QCOMPARE(button(dialog, "maximizeButton")->isVisible(), maximizable);
        }
    }

    void theTitleBarFollowsItsWindow()
    {
        BaseDialog dialog;
        dialog.setWindowTitle("重命名");
        QCOMPARE(dialog.findChild<QLabel *>("labelTitle")->text(), QString("重命名"));
        QPixmap picture(64, 64);
        picture.fill(Qt::red);
        dialog.setWindowIcon(QIcon(picture));
        auto *icon = dialog.findChild<QLabel *>("labelIcon");
        QCOMPARE(icon->pixmap(Qt::ReturnByValue).size(), icon->size());
        QCOMPARE(colourOf(icon), QColor(Qt::red));
    }

    void theButtonsActAndTellTheState()
    {
        qApp->setStyleSheet("#maximizeButton { background: red; border: none; }"
                            "#maximizeButton[maximizeProperty=\"restore\"] { background: blue; }"
                            "BaseWindow { background: yellow; }");
        BaseWindow window;
        showAt(window, {0, 0, 400, 300});
        const QImage image = window.grab().toImage();
        QCOMPARE(image.pixelColor(200, 200).name(), QColor(Qt::yellow).name());
        QCOMPARE(image.pixelColor(0, 200).name(), window.palette().color(QPalette::Mid).name());
        for (const char *name : {"minimizeButton", "maximizeButton", "closeButton"}) {
            QVERIFY2(button(window, name)->isVisible(), name);
        }
        QAbstractButton *maximize = button(window, "maximizeButton");
        const auto told = [maximize] {
            return maximize->property("maximizeProperty").toString() + maximize->toolTip() +
                   maximize->accessibleName() + colourOf(maximize).name();
        };
        const QString maximizes = "maximizeMaximizeMaximize#ff0000";
        const QString restores = "restoreRestoreRestore#0000ff";
        QCOMPARE(told(), maximizes);
        maximize->click();
        QTRY_COMPARE(told(), restores);
        maximize->click();
        QTRY_COMPARE(told(), maximizes);
        QTest::mouseDClick(titleBar(window), Qt::LeftButton, Qt::NoModifier, QPoint(100, 10));
        QTRY_COMPARE(told(), restores);
        button(window, "minimizeButton")->click();
        QTRY_VERIFY(window.isMinimized());
        button(window, "closeButton")->click();
        QVERIFY(!window.isVisible());
        qApp->setStyleSheet(QString());
    }

    void theContentsLieBelowTheTitleBar()
    {
        BaseDialog dialog(BaseDialog::Maximizing::Allowed);
        auto *layout = new QVBoxLayout(&dialog);
        layout->setContentsMargins(0, 0, 0, 0);
        auto *contents = new QWidget;
        layout->addWidget(contents);
        showAt(dialog, {0, 0, 400, 300});
        const QRect bar = titleBar(dialog)->geometry();
        QCOMPARE(contents->geometry().top(), bar.bottom() + 1);
        dialog.setTitleBarVisible(false);
        QTRY_VERIFY(contents->geometry().top() < bar.bottom());
        dialog.setTitleBarVisible(true);
        dialog.showFullScreen();
        QTRY_COMPARE(contents->geometry(), dialog.rect());
        QVERIFY(!titleBar(dialog)->isVisible());
        dialog.showNormal();
        QTRY_COMPARE(contents->geometry().top(), titleBar(dialog)->geometry().bottom() + 1);
    }

    void aDragMovesTheWindow_data()
    {
        QTest::addColumn<QPoint>("by");
        QTest::addColumn<QPoint>("moved");
        QTest::newRow("down and to the right") << QPoint(40, 30) << QPoint(40, 30);
        QTest::newRow("up and to the left") << QPoint(-50, -20) << QPoint(-50, -20);
        QTest::newRow("a twitch is a click") << QPoint(2, 1) << QPoint(0, 0);
    }
    void aDragMovesTheWindow()
    {
        QFETCH(QPoint, by);
        QFETCH(QPoint, moved);
        BaseWindow window;
        showAt(window, {100, 100, 400, 300});
        const QPoint before = window.pos();
        drag(&window, QPoint(200, 200), by);
        QTRY_COMPARE(window.pos() - before, moved);
        // Through the title bar, which leaves its presses to the window.
        drag(titleBar(window), QPoint(150, 10), by);
        QTRY_COMPARE(window.pos() - before, 2 * moved);
        window.showMaximized();
        QTRY_VERIFY(window.isMaximized());
        const QPoint maximized = window.pos();
        drag(&window, QPoint(200, 200), by);
        QCOMPARE(window.pos(), maximized);
    }

    void theEdgesShowHowTheyAreDragged_data()
    {
        QTest::addColumn<QPoint>("pointer"); // in a window of 400 by 300
        QTest::addColumn<Qt::CursorShape>("shape");
        const auto row = [](const char *name, int x, int y, Qt::CursorShape shape) {
            QTest::newRow(name) << QPoint(x, y) << shape;
        };
        row("the left edge", 3, 150, Qt::SizeHorCursor);
        row("beside the left edge", 4, 150, Qt::ArrowCursor);
        row("the right edge", 396, 150, Qt::SizeHorCursor);
        row("the top edge", 12, 0, Qt::SizeVerCursor);
        row("the bottom edge", 387, 296, Qt::SizeVerCursor);
        row("below the top edge", 200, 4, Qt::ArrowCursor);
        row("the corner at the top left", 11, 3, Qt::SizeFDiagCursor);
        row("the corner at the bottom right", 388, 299, Qt::SizeFDiagCursor);
        row("the corner at the top right", 399, 11, Qt::SizeBDiagCursor);
        row("the corner at the bottom left", 0, 288, Qt::SizeBDiagCursor);
    }
    void theEdgesShowHowTheyAreDragged()
    {
        QFETCH(QPoint, pointer);
        QFETCH(Qt::CursorShape, shape);
        BaseWindow window;
        showAt(window, {100, 100, 400, 300});
        const auto shapeAt = [&window](const QPoint &position) {
            QHoverEvent hover(QEvent::HoverMove, position, QPoint(50, 50));
            QApplication::sendEvent(&window, &hover);
            return window.cursor().shape();
        };
        QCOMPARE(shapeAt(pointer), shape);
        QCOMPARE(shapeAt({50, 50}), Qt::ArrowCursor);
        window.setFixedSize(window.size());
        QCOMPARE(shapeAt(pointer), Qt::ArrowCursor);
    }

    void aDialogUsedAsAPageHasNoFrame()
    {
        BaseWindow window;
        auto *layout = new QVBoxLayout(&window);
        auto *page = new BaseDialog;
        layout->addWidget(page);
        showAt(window, {100, 100, 400, 300});
        page->show();
        QVERIFY(!titleBar(*page)->isVisible());
        QCOMPARE(page->contentsMargins(), QMargins());
        const QPoint place = page->pos();
        const QPoint before = window.pos();
        drag(page, QPoint(50, 50), QPoint(40, 30));
        QCOMPARE(page->pos(), place);
        QCOMPARE(window.pos(), before);
    }

    void theMenuOpensAboveItsButton()
    {
        QWidget window;
        QToolButton anchor(&window);
        anchor.setGeometry(180, 20, 40, 30);
        showAt(window, {100, 300, 400, 100});
        CustomPopUpMenu menu(&anchor);
        anchor.setMenu(&menu);
        menu.addAction("1080P");
        menu.popup({});
        const QRect place(anchor.mapToGlobal(QPoint(0, 0)), anchor.size());
        QTRY_VERIFY(menu.isVisible());
        QVERIFY(menu.geometry().bottom() < place.top());
        QVERIFY(qAbs(menu.geometry().center().x() - place.center().x()) <= 1);
        menu.close();
        window.move(0, 0);
        menu.popup({});
        QTRY_VERIFY(menu.geometry().top() > anchor.mapToGlobal(QPoint(0, 29)).y());
    }
};

MORAVU_TEST(TestWindowFrame)
#include "tst_window_frame.moc"
