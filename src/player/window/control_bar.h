#pragma once

#include <memory>

#include <QHash>
#include <QList>
#include <QWidget>

#include "player/session/buffering.h"
#include "player/session/chapters.h"
#include "player/session/menu_entry.h"

class QMenu;
class QToolButton;

namespace Ui {
class ControlBar;
}

// The player's controls: the time line above one row of buttons. Passive: it is fed what to show
// and says what the user wishes; it knows neither player nor files. A click on a control leaves the
// focus where it is, so that the keys go on reaching the video; the tab key takes it to them.
//
// The play button is named "playPause" and is left to the window's slot on_playPause_clicked.
class ControlBar final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ControlBar)

public:
    explicit ControlBar(QWidget *parent = nullptr);
    ~ControlBar() override;

    // Seconds.
    void setDuration(int duration);
    void setTime(int position, int duration);
    void setSeekable(bool seekable);
    void setRead(const QList<Stretch> &read);
    void setChapters(const QList<Chapter> &chapters);

    // What a press on the play button does.
    enum class Press { Pauses, Plays, Retries };
    void setPress(Press press);
    void setVolume(int volume);
    void setMuted(bool muted);
    void setPinned(bool pinned);
    void setListShown(bool shown);
    void setFullScreen(bool fullScreen);

    // Each takes the place of the button's old menu, unless the entries are the same: a menu that
    // is open stays open then. Without entries the button has none and is disabled.
    void setQualityMenu(const QList<MenuEntry> &entries);
    void setAudioMenu(const QList<MenuEntry> &entries);
    void setSubtitleMenu(const QList<MenuEntry> &entries);
    void setSkipMenu(const QList<MenuEntry> &entries);

    // Adds the buttons of a group to a menu as they are now; choosing an entry presses the button.
    enum class Group { Playing, Choices, Window };
    void addTo(QMenu &menu, Group group) const;

signals:
    void previousRequested();
    void nextRequested();
    void seekRequested(int seconds);
    void volumeRequested(int volume);
    void muteToggled();
    // Over the seek bar, by this angle.
    void wheelTurned(int delta);
    void pinToggled();
    void listToggled();
    void fullScreenToggled();
    // With the data of the chosen entry.
    void qualityChosen(const QVariant &data);
    void audioChosen(const QVariant &data);
    void subtitleChosen(const QVariant &data);
    void skipChosen(const QVariant &data);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    using Chosen = void (ControlBar::*)(const QVariant &);

    void setMenu(QToolButton *button, const QList<MenuEntry> &entries, Chosen chosen);
    void nameControls();
    void forwardClicks();
    void showVolume();

    const std::unique_ptr<Ui::ControlBar> m_ui;
    int m_volume = 0;
    bool m_isMuted = false;
    QHash<QToolButton *, QList<MenuEntry>> m_shown; // as the menus are since the last choice
};
