#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QToolButton>
#include <QtTest>

#include "player/mpv/mpv_widget.h"
#include "player/player_test.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"
#include "support/test_main.h"

namespace {

const QString First = "show/1.mkv";
const QString Second = "show/2.mkv";

} // namespace

// What a player offers beyond playing, with the real libmpv and the local drive.
class TestPlayerExtras final : public PlayerTest
{
    Q_OBJECT

private slots:
    void speedStaysAndSoundDelayGoesWithTheVideo()
    {
        play(true);
        MpvWidget *mpv = m_player->mpv();
        QTest::keyClick(mpv, Qt::Key_BracketRight);
        QTest::keyClick(mpv, Qt::Key_BracketRight);
        QCOMPARE(caption(), "速度 1.5 倍");
        QCOMPARE(entry("1.5 倍").isChecked, true);
        QTest::keyClick(mpv, Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
        QTest::keyClick(mpv, Qt::Key_Equal, Qt::ControlModifier);
        QCOMPARE(caption(), "声音延后 0.2 秒");
        QCOMPARE(audioDelay(), 200);
        QTRY_VERIFY(!m_player->part("videoCaption")->isVisible());

        QVERIFY(m_player->step("next", "2.mkv"));
        QTRY_COMPARE(audioDelay(), 0);
        QCOMPARE(property("speed").toDouble(), 1.5);
        QCOMPARE(property("audio-pitch-correction").toBool(), true);
        QTest::keyClick(mpv, Qt::Key_Backspace);
        QCOMPARE(property("speed").toDouble(), 1.0);
        QVERIFY(choose("0.25 倍"));
        QTest::keyClick(mpv, Qt::Key_BracketLeft);
        QCOMPARE(property("speed").toDouble(), 0.25);
    }

    void remembersItsSound()
    {
        play();
        QTest::keyClick(m_player->mpv(), Qt::Key_Down);
        for (const bool isHeld : {false, true}) {
            QTest::simulateEvent(m_player->mpv(), true, Qt::Key_M, {}, QString(), isHeld);
        }
        QTRY_COMPARE(m_player->part("volumeSlider")->toolTip(), "音量 90，静音 (↑、↓)");
        m_player->close();
        m_player->open(First);
        QCOMPARE(m_player->mpv()->volume(), 90);
        QVERIFY(m_player->mpv()->isMute());
        QTRY_COMPARE(m_player->part("volumeSlider")->toolTip(), "音量 90，静音 (↑、↓)");
        // Who changes the volume wants to hear it.
        QTest::keyClick(m_player->mpv(), Qt::Key_Up);
        QVERIFY(!m_player->mpv()->isMute());
        QTRY_COMPARE(m_player->part("volumeSlider")->toolTip(), "音量 100 (↑、↓)");
    }

    void savesScreenshots()
    {
        play(true);
        m_player->mpv()->seekAbsolute(40);
        QTRY_COMPARE(m_player->secondLabelled(), 40);
        QTRY_COMPARE(m_player->secondShown(), 40);
        QTest::keyClick(m_player->mpv(), Qt::Key_S);
        QVERIFY(choose("截图\tS"));
        const QDir folder(qEnvironmentVariable("HOME") + "/Pictures");
        const QStringList names{"1 00-00-40 (2).png", "1 00-00-40.png"};
        QTRY_COMPARE(toasts(),
                     (QStringList{"截图已保存：" + names.at(0), "截图已保存：" + names.at(1)}));
        QCOMPARE(folder.entryList(QDir::Files, QDir::Name), names);
        for (const QString &name : names) {
            const QImage picture(folder.filePath(name));
            QCOMPARE(picture.size(), QSize(320, 180));
            QCOMPARE(clips::secondShown(picture), 40);
        }
    }

    void saysWhyThereIsNoScreenshot()
    {
        const QString folder = qEnvironmentVariable("HOME") + "/Pictures";
        QFile file(folder);
        QVERIFY(file.open(QIODevice::WriteOnly));
        play(true);
        QTest::keyClick(m_player->mpv(), Qt::Key_S);
        QCOMPARE(toasts(), QStringList("截图未保存，无法写入文件夹：" + folder));
        closeToasts();
        m_player->server().addFault(FaultOn("getVideoPreviewPlayInfo").holds());
        m_player->press("next");
        QTest::keyClick(m_player->mpv(), Qt::Key_S);
        QCOMPARE(toasts(), QStringList("没有可以截图的画面"));
        QVERIFY(!entry("截图\tS").isEnabled);
    }

    void showsChaptersAndWhatHasBeenRead()
    {
        clips::Clip clip{60};
        clip.inputs = QStringList{"-i", chapters(), "-map_metadata", "1"};
        m_player->addClip(First, clip);
        m_player->setPlayInfo("{}");
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->pause();
        QWidget *bar = m_player->part("seekBar");
        const auto colourAt = [bar](int second, int above) {
            const QPoint place(bar->width() * second / 60, bar->height() / 2 - above);
            return bar->grab().toImage().pixelColor(place);
        };
        QTRY_COMPARE(colourAt(45, 0), bar->property("readColour").value<QColor>());
        QCOMPARE(colourAt(30, 3), bar->property("markColour").value<QColor>());
        QTest::mouseMove(bar, QPoint(bar->width() / 3, bar->height() / 2));
        const auto *tip = bar->findChild<QLabel *>();
        QTRY_VERIFY(tip->isVisible());
        QVERIFY(tip->text().endsWith("上半"));
        QVERIFY(tip->frameGeometry().bottom() < bar->mapToGlobal(QPoint()).y());

        QVERIFY(choose("下一章\tPageDown"));
        QCOMPARE(caption(), "下半 <b>");
        QTRY_COMPARE(m_player->mpv()->position(), 30);
        QVERIFY(!entry("下一章\tPageDown").isEnabled);
        QTest::keyClick(m_player->mpv(), Qt::Key_PageUp);
        QTRY_COMPARE(m_player->mpv()->position(), 0);
    }

    void showsThatItWaits()
    {
        clips::Clip clip{60};
        clip.outputs = QString("-vf noise=alls=40:allf=t -b:v 1M -bufsize 1M").split(' ');
        m_player->addClip(First, clip);
        m_player->setPlayInfo("{}");
        m_player->server().addFault(FaultOn("/download/").always().trickles(50000));
        m_player->open(First);
        const QWidget *notice = m_player->part("videoNotice");
        const QRegularExpression percent("^正在缓冲 \\d+%$");
        QTRY_VERIFY_WITH_TIMEOUT(notice->accessibleName().contains(percent), 60000);
        QVERIFY(notice->isVisible());
        const int second = m_player->mpv()->position();
        QTRY_VERIFY_WITH_TIMEOUT(!notice->isVisible(), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(m_player->mpv()->position() > second, 30000);
    }

    void pausesInsteadOfMovingOn_data()
    {
        QTest::addColumn<int>("tail");
        QTest::addColumn<bool>("byCard");
        QTest::newRow("at the end") << 0 << false;
        QTest::newRow("at the outro") << 20 << false;
        QTest::newRow("at the outro, by the card") << 20 << true;
    }

    void pausesInsteadOfMovingOn()
    {
        QFETCH(int, tail);
        QFETCH(bool, byCard);
        play(false, tail);
        const int end = 60 - tail;
        const QWidget *card = m_player->part("nextCard");
        if (!byCard) {
            QVERIFY(choose("播完本集后暂停"));
        }
        m_player->mpv()->seekAbsolute(end - 6);
        if (byCard) {
            QTRY_VERIFY(card->isVisible());
            QVERIFY(card->accessibleName().endsWith("2.mkv"));
            m_player->press("stayHere");
        }
        QTRY_VERIFY_WITH_TIMEOUT(m_player->mpv()->isPaused(), 15000);
        QVERIFY(!card->isVisible());
        const int place = m_player->mpv()->position();
        QVERIFY2(place >= end - 1 && place <= end + 3, qPrintable(QString::number(place)));
        QTRY_COMPARE(m_player->storedHistory(First).playPosition.value(), place);
        QCOMPARE(m_player->window()->windowTitle(), "1.mkv");
        QCOMPARE(entry("播完本集后暂停").isChecked, false);
        // The wish is fulfilled.
        QTest::keyClick(m_player->mpv(), Qt::Key_Space);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->window()->windowTitle(), "2.mkv", 15000);
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(loads(), 2);
    }

    void namesTheNextVideoInTime()
    {
        play(true, 20);
        QWidget *card = m_player->part("nextCard");
        const auto goTo = [this](int second) {
            m_player->mpv()->seekAbsolute(second);
            return QTest::qWaitFor([=] { return m_player->secondLabelled() == second; }, 10000);
        };
        QVERIFY(goTo(29) && !card->isVisible());
        QVERIFY(goTo(32));
        QTRY_VERIFY(card->isVisible());
        auto *button = m_player->part("stayHere");
        m_player->mpv()->setFocus();
        QTest::keyClick(m_player->mpv(), Qt::Key_Tab);
        QVERIFY(button->hasFocus());
        QVERIFY(goTo(10) && !card->isVisible());
        QVERIFY(m_player->mpv()->hasFocus());
        QVERIFY(goTo(32) && card->isVisible());
        m_player->press("closeCard");
        QVERIFY(!card->isVisible());
        QVERIFY(goTo(10) && goTo(33) && !card->isVisible());
        m_player->mpv()->play();
        QTRY_COMPARE_WITH_TIMEOUT(m_player->window()->windowTitle(), "2.mkv", 15000);
    }

    void aSingleVideoHasNoCard()
    {
        m_player->addClip(First, {60});
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        m_player->mpv()->seekAbsolute(55);
        QVERIFY(m_player->waitFor(56));
        QVERIFY(!m_player->part("nextCard")->isVisible());
    }

    void showsAllKeys()
    {
        play();
        QTest::keyClick(m_player->mpv(), Qt::Key_F1);
        QVERIFY(choose("快捷键\tF1"));
        int pages = 0;
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->objectName() == "keysDialog" && window->isVisible()) {
                ++pages;
                window->close();
            }
        }
        QCOMPARE(pages, 1);
    }

private:
    struct Entry
    {
        bool isThere = false;
        bool isEnabled = false;
        bool isChecked = false;
    };

    // Two videos of a minute, whose outro is so long; the first one plays.
    void play(bool pause = false, int tail = 0)
    {
        for (const QString &path : {First, Second}) {
            m_player->addClip(path, {60});
        }
        skipTail(First, tail);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        if (pause) {
            m_player->mpv()->pause();
        }
    }

    // A file of chapters, as ffmpeg reads it.
    QString chapters()
    {
        QFile file(m_folder.filePath("chapters"));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=30\ntitle=上半\n"
                       "[CHAPTER]\nTIMEBASE=1/1\nSTART=30\nEND=60\ntitle=下半 <b>\n");
        }
        return file.fileName();
    }

    QVariant property(const char *name) const { return m_player->mpv()->getProperty(name); }
    QString caption() const
    {
        const auto *label = qobject_cast<QLabel *>(m_player->part("videoCaption"));
        return label->isVisible() ? label->text() : QString();
    }
    int audioDelay() const { return qRound(property("audio-delay").toDouble() * 1000); }

    // An entry of the menu over the video, or of a part of it; triggered where that is wanted.
    Entry entry(const QString &text, bool trigger = false)
    {
        QContextMenuEvent key(QContextMenuEvent::Keyboard, QPoint());
        QApplication::sendEvent(m_player->mpv(), &key);
        const std::unique_ptr<QMenu> menu(m_player->window()->findChild<QMenu *>("videoMenu"));
        QList<QMenu *> parts = menu->findChildren<QMenu *>();
        parts.append(menu.get());
        for (const QMenu *part : qAsConst(parts)) {
            for (QAction *action : part->actions()) {
                if (action->text() == text) {
                    const Entry found{true, action->isEnabled(), action->isChecked()};
                    if (trigger) {
                        action->trigger();
                    }
                    return found;
                }
            }
        }
        return {};
    }
    bool choose(const QString &text) { return entry(text, true).isEnabled; }

    QTemporaryDir m_folder;
};

MORAVU_TEST(TestPlayerExtras)
#include "tst_player_extras.moc"
