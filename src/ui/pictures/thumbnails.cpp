#include "ui/pictures/thumbnails.h"

#include <algorithm>

#include <QDateTime>
#include <QUrl>
#include <QUrlQuery>

#include "api/records/file_records.h"
#include "api/session/refusal_note.h"
#include "api/session/session.h"
#include "db/tables/user_info.h"
#include "net/http_client.h"
#include "ui/pictures/picture.h"

namespace {

constexpr int AtOnce = 4;
constexpr qint64 LongestFile = 512LL * 1024; // bytes; a thumbnail has some 10 KB
constexpr int MostBytes = 4 * 1024 * 1024;   // of all pictures that are kept, decoded

// Object stores write into an address when it expires: seconds since 1970.
bool hasExpired(const QString &address)
{
    const QUrlQuery query{QUrl(address)};
    for (const QString &name : {QStringLiteral("x-oss-expires"), QStringLiteral("Expires")}) {
        const qint64 expires = query.queryItemValue(name).toLongLong();
        if (expires > 0) {
            return expires <= QDateTime::currentSecsSinceEpoch();
        }
    }
    return false;
}

bool meansExpired(int status)
{
    return status == 401 || status == 403 || status == 410;
}

} // namespace

Thumbnails::Thumbnails(QObject *parent) : QObject(parent), m_pictures(MostBytes)
{
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &Thumbnails::forgetFailures);
}

Thumbnails::~Thumbnails()
{
    want({});
}

void Thumbnails::setUser(const UserInfo &user)
{
    if (m_userId == user.userId.value()) {
        return;
    }
    want({});
    m_userId = user.userId.value();
    m_client = std::make_unique<OpenApiClient>(user);
    m_addresses.clear();
    m_failed.clear();
    m_pictures.clear();
}

void Thumbnails::want(const std::vector<WantedThumbnail> &files)
{
    m_wanted = files;
    for (auto fetch = m_fetches.begin(); fetch != m_fetches.end();) {
        const bool isWanted =
            std::any_of(files.begin(), files.end(), [&fetch](const WantedThumbnail &file) {
                return file.fileId == fetch->first;
            });
        if (isWanted) {
            ++fetch;
        } else {
            fetch->second.reply.abandon();
            m_isAsking = m_isAsking && !fetch->second.isAsking;
            fetch = m_fetches.erase(fetch);
        }
    }
    startNext();
}

void Thumbnails::forgetFailures()
{
    m_failed.clear();
    startNext();
}

QImage Thumbnails::picture(const QString &fileId) const
{
    const QImage *picture = m_pictures.object(fileId);
    return picture ? *picture : QImage();
}

void Thumbnails::startNext()
{
    if (!m_client) {
        return;
    }
    for (const WantedThumbnail &file : m_wanted) {
        if (m_fetches.size() >= AtOnce) {
            return;
        }
        const QString &id = file.fileId;
        if (m_fetches.count(id) == 0 && !m_failed.contains(id) && !m_pictures.contains(id)) {
            start(file);
        }
    }
}

void Thumbnails::start(const WantedThumbnail &file)
{
    const QString address = m_addresses.value(file.fileId, file.address);
    if (!address.isEmpty() && !hasExpired(address)) {
        m_fetches[file.fileId] = {};
        download(file.fileId, address);
    } else if (!m_isAsking) {
        // One after the other: the drive counts the calls of a second, and others need them more.
        m_fetches[file.fileId] = {};
        askForAddress(file.fileId, 1);
    }
}

// Nobody waits for a picture: whatever else is asked for goes before it.
void Thumbnails::askForAddress(const QString &fileId, int attempt)
{
    Fetch &fetch = m_fetches[fileId];
    fetch.wasRenewed = true;
    fetch.isAsking = true;
    m_isAsking = true;
    const RefusalNote refusal;
    const auto done =
        m_replies.guard([this, fileId](const FileItem &record) { onRecord(fileId, record); });
    const auto failed =
        m_replies.guard([this, fileId, refusal, attempt](const QString & /*error*/, int code) {
            if (refusal.mayAskAgain(CallKind::Reading, code, attempt)) {
                askForAddress(fileId, attempt + 1);
            } else {
                fail(fileId);
            }
        });
    const OpenApiClient client =
        m_client->inTurn(RequestTurn::Ahead).whenRefused(refusal.handler());
    fetch.reply = client.fileDetails(fileId, done, failed);
    m_replies.limitWait(fetch.reply);
}

void Thumbnails::onRecord(const QString &fileId, const FileItem &record)
{
    m_isAsking = false;
    m_fetches[fileId].isAsking = false;
    if (record.thumbnail.isEmpty()) {
        fail(fileId);
        return;
    }
    m_addresses.insert(fileId, record.thumbnail);
    download(fileId, record.thumbnail);
    startNext();
}

void Thumbnails::download(const QString &fileId, const QString &address)
{
    Fetch &fetch = m_fetches[fileId];
    fetch.refusal = 0;
    HttpClient client(address);
    client.limit(LongestFile)
        .refused(m_replies.guard([this, fileId](const HttpRefusal &refusal) {
            m_fetches[fileId].refusal = refusal.status;
        }))
        .fail(m_replies.guard(
            [this, fileId](const QString & /*error*/, int /*code*/) { onDownloadFailed(fileId); }));
    fetch.reply = client.download(
        m_replies.guard([this, fileId](const QByteArray &bytes) { onBytes(fileId, bytes); }));
    m_replies.limitWait(fetch.reply);
}

void Thumbnails::onDownloadFailed(const QString &fileId)
{
    const Fetch &fetch = m_fetches[fileId];
    m_addresses.remove(fileId);
    if (fetch.wasRenewed || !meansExpired(fetch.refusal)) {
        fail(fileId);
    } else if (m_isAsking) {
        // It waits for its turn; until then another one has its place.
        for (WantedThumbnail &file : m_wanted) {
            file.address = file.fileId == fileId ? QString() : file.address;
        }
        finish(fileId);
    } else {
        askForAddress(fileId, 1);
    }
}

void Thumbnails::onBytes(const QString &fileId, const QByteArray &bytes)
{
    const QImage picture = readPicture(bytes, LargestSize);
    if (picture.isNull()) {
        fail(fileId);
        return;
    }
    m_pictures.insert(fileId, new QImage(picture), int(picture.sizeInBytes()));
    finish(fileId);
    emit arrived(fileId);
}

void Thumbnails::fail(const QString &fileId)
{
    m_failed.insert(fileId);
    finish(fileId);
}

void Thumbnails::finish(const QString &fileId)
{
    const auto fetch = m_fetches.find(fileId);
    if (fetch != m_fetches.end()) {
        m_isAsking = m_isAsking && !fetch->second.isAsking;
        m_fetches.erase(fetch);
    }
    startNext();
}
