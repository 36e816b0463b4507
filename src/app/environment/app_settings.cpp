#include "app/environment/app_settings.h"

#include <initializer_list>

#include <QDebug>
#include <QHash>
#include <QJsonDocument>
#include <QSettings>
#include <QStringList>

#include "app/environment/settings_file.h"
#include "app/environment/video_quality.h"

namespace {

struct TextSetting
{
    QLatin1String key;
    QLatin1String byDefault;
    std::initializer_list<const char *> values; // all that may stand there; empty: any text
};

struct BoolSetting
{
    QLatin1String key;
    bool byDefault;
};

struct PercentSetting
{
    QLatin1String key;
    int byDefault;
    int lowest;
    int highest;
};

const TextSetting UserSetting{QLatin1String("curUserId"), QLatin1String(""), {}};
const BoolSetting RecycleSetting{QLatin1String("delToRecycle"), true};
const QLatin1String GeometryKey("geometry");
const QLatin1String StateKey("state");
const QLatin1String FileListStateKey("fileListState");
const TextSetting OrderBySetting{QLatin1String("fileListOrderBy"),
                                 QLatin1String("updated_at"),
                                 {"name", "updated_at", "created_at", "size"}};
const TextSetting DirectionSetting{
    QLatin1String("fileOrderDirection"), QLatin1String("DESC"), {"ASC", "DESC"}};
const QLatin1String QualityKey("videoQuality");
const PercentSetting SubtitleSizeSetting{QLatin1String("subtitleSize"), 100, 25, 400};
const PercentSetting SubtitlePlaceSetting{QLatin1String("subtitlePlace"), 100, 0, 100};
const QLatin1String PlayerGeometryKey("player_geometry");
const QLatin1String SplitterStateKey("video_splitter_state");
const BoolSetting ShowVideoListSetting{QLatin1String("showVideoList"), false};
const BoolSetting DesktopControlsSetting{QLatin1String("desktopControls"), true};
const QLatin1String PlayerVolumeKey("playerVolume");
constexpr int HighestPlayerVolume = 110;
const BoolSetting PlayerMutedSetting{QLatin1String("playerMuted"), false};

QString read(const QSettings &settings, const TextSetting &setting)
{
    const QString text = settings.value(setting.key, setting.byDefault).toString();
    if (setting.values.size() == 0) {
        return text;
    }
    for (const char *value : setting.values) {
        if (text == QLatin1String(value)) {
            return text;
        }
    }
    return setting.byDefault;
}

// A fresh process finds the text where the writing one still has the bool; people write digits.
bool read(const QSettings &settings, const BoolSetting &setting)
{
    const QString text = settings.value(setting.key, setting.byDefault).toString();
    if (text == QLatin1String("true") || text == QLatin1String("1")) {
        return true;
    }
    const bool isFalse = text == QLatin1String("false") || text == QLatin1String("0");
    return isFalse ? false : setting.byDefault;
}

int read(const QSettings &settings, const PercentSetting &setting)
{
    bool isNumber = false;
    const int percent = settings.value(setting.key).toString().toInt(&isNumber);
    const bool isAllowed = isNumber && percent >= setting.lowest && percent <= setting.highest;
    return isAllowed ? percent : setting.byDefault;
}

void read(const QSettings &settings, QLatin1String key, QByteArray &bytes)
{
    const QVariant value = settings.value(key, bytes);
    if (value.userType() == QMetaType::QByteArray) {
        bytes = value.toByteArray();
    }
}

// Who is the current user, by the settings' file. Another process on the same file may be another
// user's: from the first question on it counts what this process says.
QHash<QString, QString> &usersOfThisProcess()
{
    static QHash<QString, QString> users;
    return users;
}

// The text passes through the locale's encoding when it is read; plain ASCII survives any.
QByteArray escapedJson(const QJsonObject &object)
{
    QByteArray escaped;
    for (const QChar c : QString::fromUtf8(QJsonDocument(object).toJson())) {
        if (c.unicode() < 0x80) {
            escaped += char(c.unicode());
        } else {
            escaped += "\\u" + QByteArray::number(c.unicode(), 16).rightJustified(4, '0');
        }
    }
    return escaped;
}

} // namespace

AppSettings::AppSettings() : m_settings(openSettingsFile()) {}

AppSettings::~AppSettings() = default;

QString AppSettings::curUserId() const
{
    QHash<QString, QString> &users = usersOfThisProcess();
    const auto known = users.constFind(m_settings->fileName());
    if (known != users.constEnd()) {
        return *known;
    }
    return *users.insert(m_settings->fileName(), read(*m_settings, UserSetting));
}

void AppSettings::setCurUserId(const QString &userId)
{
    usersOfThisProcess().insert(m_settings->fileName(), userId);
    // Writing waits for the disk; the start and each click on a tab name whom the file names
    // already.
    if (m_settings->value(UserSetting.key) != userId) {
        m_settings->setValue(UserSetting.key, userId);
    }
}

bool AppSettings::delToRecycle() const
{
    return read(*m_settings, RecycleSetting);
}

void AppSettings::setDelToRecycle(bool toRecycle)
{
    m_settings->setValue(RecycleSetting.key, toRecycle);
}

void AppSettings::readWindowState(QByteArray &geometry, QByteArray &state) const
{
    read(*m_settings, GeometryKey, geometry);
    read(*m_settings, StateKey, state);
}

void AppSettings::saveWindowState(const QByteArray &geometry, const QByteArray &state)
{
    m_settings->setValue(GeometryKey, geometry);
    m_settings->setValue(StateKey, state);
}

void AppSettings::readFileListState(FileListState &fileListState) const
{
    const QString text = m_settings->value(FileListStateKey).toString();
    qDebug() << text;
    const QJsonDocument document = QJsonDocument::fromJson(text.toLocal8Bit());
    if (document.isObject()) {
        fileListState.fromJson(document.object());
    }
}

void AppSettings::saveFileListState(const FileListState &fileListState)
{
    m_settings->setValue(FileListStateKey, escapedJson(fileListState.toJson()));
}

QString AppSettings::fileListOrderBy() const
{
    return read(*m_settings, OrderBySetting);
}

void AppSettings::setFileListOrderBy(const QString &field)
{
    m_settings->setValue(OrderBySetting.key, field);
}

QString AppSettings::fileOrderDirection() const
{
    return read(*m_settings, DirectionSetting);
}

void AppSettings::setFileOrderDirection(const QString &direction)
{
    m_settings->setValue(DirectionSetting.key, direction);
}

QString AppSettings::videoQuality() const
{
    const QString byDefault = QStringLiteral("FHD");
    const QString id = m_settings->value(QualityKey, byDefault).toString();
    return isVideoQuality(id) ? id : byDefault;
}

void AppSettings::setVideoQuality(const QString &templateId)
{
    m_settings->setValue(QualityKey, templateId);
}

int AppSettings::subtitleSize() const
{
    return read(*m_settings, SubtitleSizeSetting);
}

void AppSettings::setSubtitleSize(int percent)
{
    m_settings->setValue(SubtitleSizeSetting.key, percent);
}

int AppSettings::subtitlePlace() const
{
    return read(*m_settings, SubtitlePlaceSetting);
}

void AppSettings::setSubtitlePlace(int percent)
{
    m_settings->setValue(SubtitlePlaceSetting.key, percent);
}

void AppSettings::readPlayerState(PlayerState &playerState) const
{
    read(*m_settings, PlayerGeometryKey, playerState.geometry);
    read(*m_settings, SplitterStateKey, playerState.splitterState);
    playerState.showVideoList = read(*m_settings, ShowVideoListSetting);
}

void AppSettings::savePlayerState(const PlayerState &playerState)
{
    m_settings->setValue(PlayerGeometryKey, playerState.geometry);
    m_settings->setValue(SplitterStateKey, playerState.splitterState);
    m_settings->setValue(ShowVideoListSetting.key, playerState.showVideoList);
}

bool AppSettings::desktopControls() const
{
    return read(*m_settings, DesktopControlsSetting);
}

void AppSettings::setDesktopControls(bool shown)
{
    m_settings->setValue(DesktopControlsSetting.key, shown);
}

std::optional<int> AppSettings::playerVolume() const
{
    bool isNumber = false;
    const int volume = m_settings->value(PlayerVolumeKey).toInt(&isNumber);
    const bool isVolume = isNumber && volume >= 0 && volume <= HighestPlayerVolume;
    return isVolume ? std::make_optional(volume) : std::nullopt;
}

bool AppSettings::playerMuted() const
{
    return read(*m_settings, PlayerMutedSetting);
}

void AppSettings::savePlayerSound(int volume, bool muted)
{
    m_settings->setValue(PlayerVolumeKey, volume);
    m_settings->setValue(PlayerMutedSetting.key, muted);
}
