#include <clocale>

#include <QApplication>
#include <QMessageBox>
#include <QtTest>

#include "player/player_fixture.h"
#include "player/player_window.h"

// A machine on which no video can be drawn: with a display its OpenGL is too old for libmpv,
// without one there is none at all.
class TestPlayerHost final : public QObject
{
    Q_OBJECT

private slots:
    void tellsWhyThereIsNoPlayer_data();
    void tellsWhyThereIsNoPlayer();
};

namespace {

QMessageBox *messageBox()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *box = qobject_cast<QMessageBox *>(widget))
            return box;
    }
    return nullptr;
}

QString reasonWithoutOpenGl()
{
    return QGuiApplication::platformName() == QLatin1String("offscreen")
               ? QStringLiteral("could not create an OpenGL context")
               : QStringLiteral("failed to initialize mpv GL context");
}

} // namespace

void TestPlayerHost::tellsWhyThereIsNoPlayer_data()
{
    QTest::addColumn<bool>("foreignLocale");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no usable OpenGL") << false << reasonWithoutOpenGl();
    QTest::newRow("libmpv refuses the locale")
        << true << QStringLiteral("could not create mpv context");
}

void TestPlayerHost::tellsWhyThereIsNoPlayer()
{
    QFETCH(bool, foreignLocale);
    QFETCH(QString, reason);
    if (foreignLocale && !std::setlocale(LC_NUMERIC, "zh_CN.UTF-8") &&
        !std::setlocale(LC_NUMERIC, "de_DE.UTF-8"))
        QSKIP("no other locale is installed");
    PlayerFixture player;
    player.addFile(QStringLiteral("film.mkv"), QByteArrayLiteral("x"));
    for (int attempt = 0; attempt < 2; ++attempt) {
        player.open(QStringLiteral("film.mkv"));
        QVERIFY(!player.window());
        const std::unique_ptr<QMessageBox> box(messageBox());
        QVERIFY(box);
        QVERIFY(!box->isModal());
        QCOMPARE(box->text(), QStringLiteral("无法打开播放器"));
        QCOMPARE(box->informativeText(), reason);
    }
    player.host().closeAll();
    std::setlocale(LC_NUMERIC, "C");
}

int main(int argc, char *argv[])
{
    qputenv("MESA_GL_VERSION_OVERRIDE", "1.1");
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestPlayerHost test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_player_host.moc"
