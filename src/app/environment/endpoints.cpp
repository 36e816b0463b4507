#include "app/environment/endpoints.h"

#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QSet>
#include <QSettings>
#include <QUrl>

#include "app/environment/settings_file.h"

namespace {

struct Address
{
    QString Endpoints::*member;
    const char *settingsKey;
    const char *variable; // null when only the settings file can override it
    QString byDefault;    // a leading slash: below the web base
};

// The web base stands before what lies below it.
const Address Addresses[] = {
    {&Endpoints::openApi, "openApiBase", "MORAVU_OPENAPI_BASE",
     QStringLiteral("https://openapi.alipan.com")},
    {&Endpoints::backend, "backendBase", "MORAVU_BACKEND_BASE",
     QStringLiteral("http://127.0.0.1:8466")},
    {&Endpoints::web, "webBase", "MORAVU_WEB_BASE", QStringLiteral("https://www.aliyundrive.com")},
    {&Endpoints::helpTv, "helpTvUrl", nullptr, QStringLiteral("/")},
    {&Endpoints::helpPc, "helpPcUrl", nullptr, QStringLiteral("/")},
    {&Endpoints::helpReport, "helpReportUrl", nullptr, QStringLiteral("/")},
};

QString withoutTrailingSlashes(QString address)
{
    while (address.endsWith(QLatin1Char('/'))) {
        address.chop(1);
    }
    return address;
}

bool isWebAddress(const QString &address)
{
    const QUrl url(address, QUrl::StrictMode);
    return !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

// What the addresses depend on, besides what is built in.
struct Sources
{
    QStringList variables;
    QString file;
    QDateTime changed;
    qint64 size = -1;

    bool operator==(const Sources &other) const
    {
        return variables == other.variables && file == other.file && changed == other.changed &&
               size == other.size;
    }
};

Sources presentSources()
{
    const QFileInfo file(settingsFilePath());
    Sources sources{{}, file.filePath(), file.lastModified(), file.size()};
    for (const Address &address : Addresses) {
        sources.variables << (address.variable ? qEnvironmentVariable(address.variable)
                                               : QString());
    }
    return sources;
}

void warnOnce(const Address &address, const QString &candidate)
{
    static QSet<QString> told;
    const QString mistake = QLatin1String(address.settingsKey) + QLatin1Char('=') + candidate;
    if (!told.contains(mistake)) {
        told.insert(mistake);
        qWarning() << "not a web address, ignored:" << address.settingsKey << candidate;
    }
}

QString configured(const Address &address, const QSettings &settings)
{
    const QString candidates[] = {
        address.variable ? qEnvironmentVariable(address.variable) : QString(),
        settings.value(QLatin1String(address.settingsKey)).toString(),
    };
    for (const QString &candidate : candidates) {
        if (isWebAddress(candidate.trimmed())) {
            return withoutTrailingSlashes(candidate.trimmed());
        }
        if (!candidate.isEmpty()) {
            warnOnce(address, candidate);
        }
    }
    return {};
}

Endpoints readEndpoints()
{
    const auto settings = openSettingsFile();
    Endpoints result;
    for (const Address &address : Addresses) {
        QString &value = result.*address.member;
        value = configured(address, *settings);
        if (value.isEmpty() && address.byDefault.startsWith(QLatin1Char('/'))) {
            value = result.web + address.byDefault;
        } else if (value.isEmpty()) {
            value = address.byDefault;
        }
    }
    return result;
}

} // namespace

Endpoints endpoints()
{
    static Sources known;
    static Endpoints result;
    // Every request asks; opening the file for each is dear.
    if (const Sources present = presentSources(); !(present == known)) {
        result = readEndpoints();
        known = present;
    }
    return result;
}
