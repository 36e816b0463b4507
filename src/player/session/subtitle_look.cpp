#include "player/session/subtitle_look.h"

#include "app/environment/app_settings.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/subtitle_command.h"

namespace {

struct Level
{
    const char *text;
    int percent;
};

constexpr Level Sizes[] = {{"很小", 60}, {"小", 80},    {"标准", 100},
                           {"大", 130},  {"很大", 160}, {"最大", 200}};
constexpr Level Places[] = {{"底部", 100}, {"略高", 95}, {"较高", 85}, {"中部", 55}, {"顶部", 15}};

template <std::size_t Count>
MenuEntry submenu(const QString &text, const Level (&levels)[Count], SubtitleCommand::Kind kind,
                  int chosen)
{
    MenuEntry menu{text, {}};
    for (const Level &level : levels) {
        menu.children.append({QString::fromUtf8(level.text),
                              SubtitleCommand{kind, level.percent}.toData(),
                              level.percent == chosen});
    }
    return menu;
}

} // namespace

SubtitleLook::SubtitleLook(MpvWidget &mpv) : m_mpv(mpv)
{
    const AppSettings settings;
    setSize(settings.subtitleSize());
    setPlace(settings.subtitlePlace());
}

QList<MenuEntry> SubtitleLook::menu() const
{
    return {submenu(QStringLiteral("字幕大小"), Sizes, SubtitleCommand::Kind::Size, m_size),
            submenu(QStringLiteral("字幕位置"), Places, SubtitleCommand::Kind::Place, m_place)};
}

bool SubtitleLook::choose(const SubtitleCommand &command)
{
    switch (command.kind) {
    case SubtitleCommand::Kind::Size:
        setSize(command.value.toInt());
        AppSettings().setSubtitleSize(m_size);
        return true;
    case SubtitleCommand::Kind::Place:
        setPlace(command.value.toInt());
        AppSettings().setSubtitlePlace(m_place);
        return true;
    case SubtitleCommand::Kind::Second:
    case SubtitleCommand::Kind::Delay:
        break;
    }
    return false;
}

void SubtitleLook::setSize(int percent)
{
    m_size = percent;
    m_mpv.setProperty(QStringLiteral("sub-scale"), percent / 100.0);
}

void SubtitleLook::setPlace(int percent)
{
    m_place = percent;
    m_mpv.setProperty(QStringLiteral("sub-pos"), percent);
}
