#include "app/environment/app_settings.h"

#include <initializer_list>

#include <QDebug>
#include <QJsonDocument>
#include <QSettings>
#include <QStringList>

#include "app/environment/settings_file.h"

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

const TextSetting userSetting{QLatin1String("curUserId"), QLatin1String(""), {}};
const BoolSetting recycleSetting{QLatin1String("delToRecycle"), true};
const QLatin1String geometryKey("geometry");
const QLatin1String stateKey("state");
const QLatin1String fileListStateKey("fileListState");
const TextSetting orderBySetting{QLatin1String("fileListOrderBy"),
                                 QLatin1String("updated_at"),
                                 {"name", "updated_at", "created_at", "size"}};
const TextSetting directionSetting{
    QLatin1String("fileOrderDirection"), QLatin1String("DESC"), {"ASC", "DESC"}};
const TextSetting qualitySetting{
    QLatin1String("videoQuality"), QLatin1String("FHD"), {"OrgHD", "QHD", "FHD", "HD", "SD", "LD"}};
const QLatin1String playerGeometryKey("player_geometry");
const QLatin1String splitterStateKey("video_splitter_state");
const BoolSetting showVideoListSetting{QLatin1String("showVideoList"), false};

QString read(const QSettings &settings, const TextSetting &setting)
{
    const QString text = settings.value(setting.key, setting.byDefault).toString();
    if (setting.values.size() == 0)
        return text;
    for (const char *value : setting.values) {
        if (text == QLatin1String(value))
            return text;
    }
    return setting.byDefault;
}

// A fresh process finds the text where the writing one still has the bool; people write digits.
bool read(const QSettings &settings, const BoolSetting &setting)
{
    const QString text = settings.value(setting.key, setting.byDefault).toString();
    if (text == QLatin1String("true") || text == QLatin1String("1"))
        return true;
    const bool isFalse = text == QLatin1String("false") || text == QLatin1String("0");
    return isFalse ? false : setting.byDefault;
}

void read(const QSettings &settings, QLatin1String key, QByteArray &bytes)
{
    const QVariant value = settings.value(key, bytes);
    if (value.userType() == QMetaType::QByteArray)
        bytes = value.toByteArray();
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
    return read(*m_settings, userSetting);
}

void AppSettings::setCurUserId(const QString &userId)
{
    // Writing waits for the disk; the start and each click on a tab name whom the file names
    // already.
    if (m_settings->value(userSetting.key) != userId)
        m_settings->setValue(userSetting.key, userId);
}

bool AppSettings::delToRecycle() const
{
    return read(*m_settings, recycleSetting);
}

void AppSettings::setDelToRecycle(bool toRecycle)
{
    m_settings->setValue(recycleSetting.key, toRecycle);
}

void AppSettings::readWindowState(QByteArray &geometry, QByteArray &state) const
{
    read(*m_settings, geometryKey, geometry);
    read(*m_settings, stateKey, state);
}

void AppSettings::saveWindowState(const QByteArray &geometry, const QByteArray &state)
{
    m_settings->setValue(geometryKey, geometry);
    m_settings->setValue(stateKey, state);
}

void AppSettings::readFileListState(FileListState &fileListState) const
{
    const QString text = m_settings->value(fileListStateKey).toString();
    qDebug() << text;
    const QJsonDocument document = QJsonDocument::fromJson(text.toLocal8Bit());
    if (document.isObject())
        fileListState.fromJson(document.object());
}

void AppSettings::saveFileListState(const FileListState &fileListState)
{
    m_settings->setValue(fileListStateKey, escapedJson(fileListState.toJson()));
}

QString AppSettings::fileListOrderBy() const
{
    return read(*m_settings, orderBySetting);
}

void AppSettings::setFileListOrderBy(const QString &field)
{
    m_settings->setValue(orderBySetting.key, field);
}

QString AppSettings::fileOrderDirection() const
{
    return read(*m_settings, directionSetting);
}

void AppSettings::setFileOrderDirection(const QString &direction)
{
    m_settings->setValue(directionSetting.key, direction);
}

QString AppSettings::videoQuality() const
{
    return read(*m_settings, qualitySetting);
}

void AppSettings::setVideoQuality(const QString &templateId)
{
    m_settings->setValue(qualitySetting.key, templateId);
}

void AppSettings::readPlayerState(PlayerState &playerState) const
{
    read(*m_settings, playerGeometryKey, playerState.geometry);
    read(*m_settings, splitterStateKey, playerState.splitterState);
    playerState.showVideoList = read(*m_settings, showVideoListSetting);
}

void AppSettings::savePlayerState(const PlayerState &playerState)
{
    m_settings->setValue(playerGeometryKey, playerState.geometry);
    m_settings->setValue(splitterStateKey, playerState.splitterState);
    m_settings->setValue(showVideoListSetting.key, playerState.showVideoList);
}
