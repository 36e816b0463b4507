#include "ui/files/disk_space.h"

#include "api/records/account_records.h"
#include "api/session/refusal_note.h"
#include "api/session/session.h"
#include "app/environment/formatting.h"

DiskSpace::DiskSpace(const UserInfo &user, QObject *parent) : QObject(parent), m_client(user)
{
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &DiskSpace::onServerReturned);
}

void DiskSpace::request()
{
    m_isLacking = false;
    m_replies.abandon(); // an earlier answer that comes later knows less
    ask(1);
}

void DiskSpace::ask(int attempt)
{
    const QString logWord = QStringLiteral("getSpaceInfo");
    const RefusalNote refusal;
    const auto done = m_replies.guard(logWord, [this, refusal](const SpaceInfo &space) {
        if (refusal.saysNotJson()) {
            onFailed(QStringLiteral("no JSON"));
        } else {
            onSpace(space);
        }
    });
    const auto failed =
        m_replies.guard(logWord, [this, refusal, attempt](const QString &error, int code) {
            if (refusal.mayAskAgain(CallKind::Reading, code, attempt)) {
                ask(attempt + 1);
            } else {
                onFailed(error);
            }
        });
    m_replies.limitWait(m_client.whenRefused(refusal.handler()).spaceInfo(done, failed));
}

void DiskSpace::onFailed(const QString &error)
{
    qDebug() << "getSpaceInfo erro:" << error;
    m_isLacking = true;
}

void DiskSpace::onSpace(const SpaceInfo &space)
{
    const SpaceInfoItem &drive = space.personal_space_info;
    m_usedShare = drive.total_size > 0 ? double(drive.used_size) / double(drive.total_size) : -1;
    m_text = formatSize(QString::number(drive.used_size)) + QStringLiteral(" / ") +
             formatSize(QString::number(drive.total_size));
    emit arrived();
}

void DiskSpace::onServerReturned()
{
    if (m_isLacking) {
        request();
    }
}
