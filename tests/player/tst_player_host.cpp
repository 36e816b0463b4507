#include <QMessageBox>
#include <QtTest>

#include "player/player_fixture.h"
#include "player/window/player_window.h"
#include "support/test_main.h"

// A machine on which no video can be drawn: with a display its OpenGL is too old for libmpv,
// without one there is none at all.
class TestPlayerHost final : public QObject
{
    Q_OBJECT

private slots:
    void tellsWhyThereIsNoPlayer_data()
    {
        QTest::addColumn<QByteArray>("locale");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no usable OpenGL") << QByteArray("C") << reasonWithoutOpenGl();
        for (const char *foreign : {"zh_CN.UTF-8", "de_DE.UTF-8"}) {
            QTest::addRow("libmpv refuses %s", foreign)
                << QByteArray(foreign) << "could not create mpv context";
        }
    }

    void tellsWhyThereIsNoPlayer()
    {
        QFETCH(QByteArray, locale);
        QFETCH(QString, reason);
        if (std::setlocale(LC_NUMERIC, locale.constData()) == nullptr) {
            QSKIP("this locale is not installed");
        }
        PlayerFixture player;
        player.addFile("film.mkv", "x");
        for (int attempt = 0; attempt < 2; ++attempt) {
            player.open("film.mkv");
            QVERIFY(!player.window());
            const QWidgetList windows = QApplication::topLevelWidgets();
            const auto isBox = [](const QWidget *window) {
                return window->inherits("QMessageBox");
            };
            const auto box = std::find_if(windows.cbegin(), windows.cend(), isBox);
            QVERIFY(box != windows.cend());
            QCOMPARE(std::count_if(windows.cbegin(), windows.cend(), isBox), 1);
            const auto *shown = qobject_cast<QMessageBox *>(*box);
            QVERIFY(!shown->isModal());
            QCOMPARE(shown->text(), "无法打开播放器");
            QCOMPARE(shown->informativeText(), reason);
        }
    }
    void cleanup() { std::setlocale(LC_NUMERIC, "C"); }

private:
    static QString reasonWithoutOpenGl()
    {
        return QGuiApplication::platformName() == "offscreen"
                   ? "could not create an OpenGL context"
                   : "failed to initialize mpv GL context";
    }
};

int main(int argc, char *argv[])
{
    qputenv("MESA_GL_VERSION_OVERRIDE", "1.1");
    return runTest<TestPlayerHost, QApplication>(argc, argv);
}

#include "tst_player_host.moc"
