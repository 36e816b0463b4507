#include "app/environment/machine_guid.h"

#include <QSettings>
#include <QSysInfo>
#include <QUuid>

#include "app/environment/settings_file.h"

namespace {

QString storedGuid()
{
    const QString key = QStringLiteral("machineGuid");
    const auto settings = openSettingsFile();
    const QUuid stored(settings->value(key).toString());
    if (!stored.isNull()) {
        return stored.toString(QUuid::WithoutBraces);
    }
    const QString created = QUuid::createUuid().toString(QUuid::WithoutBraces);
    settings->setValue(key, created);
    return created;
}

} // namespace

#ifdef Q_OS_WIN

QString machineGuid()
{
    const QSettings registry(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Cryptography"),
        QSettings::NativeFormat);
    return registry.value(QStringLiteral("MachineGuid")).toString();
}

#else

QString machineGuid()
{
    return guidForMachine(QSysInfo::machineUniqueId());
}

#endif

QString guidForMachine(const QByteArray &systemId)
{
    if (systemId.isEmpty()) {
        return storedGuid();
    }
    // systemd's machine id is confidential: it must reach a server only hashed together with a
    // value of the application's own (machine-id(5)).
    static const QUuid applicationNamespace(0x6b1f7a52, 0x0d3e, 0x4c8b, 0x9a, 0x47, 0x2e, 0xc5,
                                            0x81, 0xf0, 0x3d, 0x96);
    return QUuid::createUuidV5(applicationNamespace, systemId).toString(QUuid::WithoutBraces);
}
