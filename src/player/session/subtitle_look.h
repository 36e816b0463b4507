#pragma once

#include <QList>

#include "player/session/menu_entry.h"

class MpvWidget;
struct SubtitleCommand;

// How large subtitles are, and where they stand: for all videos, remembered in the settings.
class SubtitleLook final
{
    Q_DISABLE_COPY_MOVE(SubtitleLook)

public:
    // As the settings say. `mpv` must outlive this.
    explicit SubtitleLook(MpvWidget &mpv);

    [[nodiscard]] QList<MenuEntry> menu() const;
    // False for a command that is about something else.
    bool choose(const SubtitleCommand &command);

private:
    void setSize(int percent);
    void setPlace(int percent);

    MpvWidget &m_mpv;
    int m_size = 0;
    int m_place = 0;
};
