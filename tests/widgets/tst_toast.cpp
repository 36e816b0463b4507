#include "ui/widgets/toast.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QWindow>

namespace {

QList<QPointer<QWidget>> visibleToasts()
{
    QList<QPointer<QWidget>> toasts;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *widget : windows) {
        if (widget->objectName() == QLatin1String("Toast") && widget->isVisible()) {
            toasts.append(widget);
        }
    }
    return toasts;
}

QLabel *labelOf(const QWidget *toast)
{
    return toast->findChild<QLabel *>(QStringLiteral("label"));
}

} // namespace

class TestToast final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();
    void standsInTheLowerMiddleOfTheScreen();
    void staysWhereItIsWithAParent();
    void takesNeitherFocusNorInputNorFrame();
    void keepsItsLabelForUsualTexts_data();
    void keepsItsLabelForUsualTexts();
    void fadesInWaitsAndFadesOut();
    void twoToastsFadeOnTheirOwn();
};

void TestToast::cleanup()
{
    for (QWidget *toast : visibleToasts()) {
        delete toast;
    }
}

void TestToast::standsInTheLowerMiddleOfTheScreen()
{
    Toast::showTip(QStringLiteral("已复制"));
    const QWidget *toast = visibleToasts().value(0);
    QVERIFY(toast != nullptr);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    QCOMPARE(toast->pos(), QPoint((screen.width() - toast->width()) / 2, screen.height() * 7 / 10));
}

void TestToast::staysWhereItIsWithAParent()
{
    QWidget parent;
    Toast::showTip(QStringLiteral("已复制"), &parent);
    const QWidget *toast = visibleToasts().value(0);
    QVERIFY(toast != nullptr);
    QCOMPARE(toast->parentWidget(), &parent);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    QVERIFY(toast->y() != screen.height() * 7 / 10);
}

void TestToast::takesNeitherFocusNorInputNorFrame()
{
    Toast::showTip(QStringLiteral("已复制"));
    const QWidget *toast = visibleToasts().value(0);
    QVERIFY(toast != nullptr);
    QCOMPARE(toast->windowType(), Qt::Tool);
    QVERIFY(toast->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(toast->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(toast->testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(!toast->testAttribute(Qt::WA_QuitOnClose));
    QVERIFY(toast->testAttribute(Qt::WA_ShowWithoutActivating));
    QVERIFY(toast->windowHandle()->flags().testFlag(Qt::WindowTransparentForInput));
    // Only the label is left of the window where nothing can be translucent.
    QCOMPARE(toast->mask().boundingRect(), labelOf(toast)->geometry());
}

void TestToast::keepsItsLabelForUsualTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("grows");
    QTest::newRow("a short message") << QStringLiteral("删除成功") << false;
    QTest::newRow("a message of usual length") << QStringLiteral("获取用户云盘信息失败") << false;
    QTest::newRow("a message with a long name")
        << QStringLiteral("重命名失败：") + QString(60, u'青') << true;
}

void TestToast::keepsItsLabelForUsualTexts()
{
    QFETCH(QString, text);
    QFETCH(bool, grows);
    Toast::showTip(text);
    const QWidget *toast = visibleToasts().value(0);
    QVERIFY(toast != nullptr);
    const QLabel *label = labelOf(toast);
    QCOMPARE(label->text(), text);
    QCOMPARE(label->font().pointSize(), 11);
    QCOMPARE(label->alignment(), Qt::Alignment(Qt::AlignHCenter | Qt::AlignVCenter));
    QCOMPARE(label->pos(), QPoint(20, 20));
    QCOMPARE(label->size() != QSize(291, 31), grows);
    QCOMPARE(toast->size(), label->size() + QSize(40, 40));
    const QRect needed =
        label->fontMetrics().boundingRect(QRect(0, 0, label->width(), 0), Qt::TextWordWrap, text);
    QVERIFY(label->height() >= needed.height() && label->width() >= needed.width());
}

void TestToast::fadesInWaitsAndFadesOut()
{
    QElapsedTimer clock;
    clock.start();
    Toast::showTip(QStringLiteral("已复制"));
    const QPointer<QWidget> toast = visibleToasts().value(0);
    QVERIFY(toast != nullptr);
    QVERIFY(toast->windowOpacity() < 0.5);
    QTRY_COMPARE_WITH_TIMEOUT(toast->windowOpacity(), 1.0, 1000);
    QVERIFY(clock.elapsed() >= 180);
    QTRY_VERIFY_WITH_TIMEOUT(toast->windowOpacity() < 1.0, 2000);
    const qint64 opaqueUntil = clock.elapsed();
    QVERIFY2(opaqueUntil >= 1150 && opaqueUntil < 1700, qPrintable(QString::number(opaqueUntil)));
    QTRY_VERIFY_WITH_TIMEOUT(toast.isNull(), 4000);
    const qint64 lifetime = clock.elapsed();
    QVERIFY2(lifetime >= 3150 && lifetime < 3900, qPrintable(QString::number(lifetime)));
}

void TestToast::twoToastsFadeOnTheirOwn()
{
    Toast::showTip(QStringLiteral("一"));
    QTest::qWait(600);
    Toast::showTip(QStringLiteral("二"));
    const QList<QPointer<QWidget>> toasts = visibleToasts();
    QCOMPARE(toasts.size(), 2);
    const bool firstIsOlder = labelOf(toasts[0])->text() == QStringLiteral("一");
    const QPointer<QWidget> older = firstIsOlder ? toasts[0] : toasts[1];
    const QPointer<QWidget> newer = firstIsOlder ? toasts[1] : toasts[0];
    QTRY_VERIFY_WITH_TIMEOUT(older.isNull(), 5000);
    QVERIFY(!newer.isNull());
    QTRY_VERIFY_WITH_TIMEOUT(newer.isNull(), 5000);
}

QTEST_MAIN(TestToast)
#include "tst_toast.moc"
