#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QPropertyAnimation>
#include <QScreen>
#include <QWindow>

#include "support/test_main.h"
#include "support/toasts.h"
#include "ui/widgets/single_toast.h"

namespace {

QWidget *shownToast(const QString &text)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        const auto *toast = qobject_cast<const Toast *>(window);
        if (toast != nullptr && toast->isVisible() && toast->text() == text) {
            return window;
        }
    }
    return nullptr;
}

QWidget *tip(const QString &text, QWidget *parent = nullptr)
{
    Toast::showTip(text, parent);
    return shownToast(text);
}

} // namespace

class TestToast final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { closeToasts(); }

    void standsInTheLowerMiddleOfTheScreen()
    {
        const QWidget *toast = tip("已复制");
        QCOMPARE(toast->objectName(), QString("Toast"));
        const QSize screen = QGuiApplication::primaryScreen()->size();
        QCOMPARE(toast->pos(),
                 QPoint((screen.width() - toast->width()) / 2, screen.height() * 7 / 10));
        QWidget parent;
        const QWidget *child = tip("有窗口的", &parent);
        QCOMPARE(child->parentWidget(), &parent);
        QVERIFY(child->y() != screen.height() * 7 / 10);
    }

    void takesNeitherFocusNorInputNorFrame()
    {
        const QWidget *toast = tip("已复制");
        QCOMPARE(toast->windowType(), Qt::Tool);
        QVERIFY(toast->windowFlags().testFlag(Qt::FramelessWindowHint));
        QVERIFY(toast->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(toast->testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(!toast->testAttribute(Qt::WA_QuitOnClose));
        QVERIFY(toast->testAttribute(Qt::WA_ShowWithoutActivating));
        QVERIFY(toast->windowHandle()->flags().testFlag(Qt::WindowTransparentForInput));
        // Only the label is left of the window where nothing can be translucent.
        QCOMPARE(toast->mask().boundingRect(), toast->findChild<QLabel *>()->geometry());
    }

    void keepsItsLabelForUsualTexts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("grows");
        QTest::newRow("a message of usual length") << "获取用户云盘信息失败" << false;
        QTest::newRow("a message with a long name") << "重命名失败：" + QString(60, u'青') << true;
    }
    void keepsItsLabelForUsualTexts()
    {
        QFETCH(QString, text);
        QFETCH(bool, grows);
        const QWidget *toast = tip(text);
        const auto *label = toast->findChild<QLabel *>("label");
        QCOMPARE(toast->accessibleName(), text);
        QCOMPARE(label->font().pointSize(), 11);
        QCOMPARE(label->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
        QCOMPARE(label->pos(), QPoint(20, 20));
        QCOMPARE(label->size() != QSize(291, 31), grows);
        QCOMPARE(toast->size(), label->size() + QSize(40, 40));
        const QRect needed = label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 0),
                                                               Qt::TextWordWrap, text);
        QVERIFY(label->height() >= needed.height() && label->width() >= needed.width());
    }

    void fadesInWaitsAndFadesOut()
    {
        QElapsedTimer clock;
        clock.start();
        const QPointer<QWidget> toast = tip("已复制");
        QVERIFY(toast->windowOpacity() < 0.5);
        const auto fade = [&toast] {
            const auto *animation = toast->findChild<QPropertyAnimation *>();
            return animation ? QPair(animation->duration(), animation->endValue().toInt())
                             : QPair(0, 0);
        };
        QCOMPARE(fade(), QPair(200, 1));
        QTRY_COMPARE(toast->windowOpacity(), 1.0);
        QVERIFY(clock.elapsed() >= 180);
        // Another one goes its own way.
        const QPointer<QWidget> other = tip("另一条");
        QTRY_COMPARE(fade(), QPair(2000, 0));
        QVERIFY(clock.elapsed() >= 1150);
        QTRY_VERIFY(toast.isNull());
        QVERIFY(clock.elapsed() >= 3150);
        QVERIFY(!other.isNull());
        QTRY_VERIFY(other.isNull());
    }

    void aFailedBatchStacksNoMessages()
    {
        const QString same = QString("删除文件失败");
        showSingleToast(same);
        showSingleToast(same);
        showSingleToast("移动失败");
        QCOMPARE(toasts(), QStringList({same, QString("移动失败")}));
    }
};

MORAVU_TEST(TestToast)
#include "tst_toast.moc"
