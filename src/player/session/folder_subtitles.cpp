#include "player/session/folder_subtitles.h"

#include <utility>

#include "api/session/patient_reading.h"
#include "api/session/session.h"
#include "net/log_failure.h"
#include "player/session/subtitle_files.h"

namespace {

// With pages of 100 entries, 5,000 of a folder's are looked through.
constexpr int MostFurtherPages = 49;

} // namespace

FolderSubtitles::FolderSubtitles(UserInfo user, QObject *parent)
    : QObject(parent), m_user(std::move(user))
{
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &FolderSubtitles::onReturned);
}

void FolderSubtitles::request(const QString &folderId)
{
    m_replies.abandon();
    m_folderId = folderId;
    m_isAsked = true;
    m_isKnown = false;
    m_isLost = false;
    m_received.clear();
    m_markers.clear();
    requestPage(QString());
}

void FolderSubtitles::clear()
{
    m_replies.abandon();
    m_files.clear();
    m_isAsked = false;
    m_isKnown = false;
    m_isLost = false;
}

void FolderSubtitles::requestPage(const QString &marker)
{
    const auto listed = [this](const FileItems &page) { onPage(page); };
    // The subtitle file that the video's row names can be had without its folder's list.
    const auto fail = [this](const QString &error, int code) {
        logFailure(QStringLiteral("getFileList"), code, error);
        m_isLost = true;
        onAll();
    };
    const auto ask = [id = m_folderId, marker, listed = m_replies.guard(listed)](
                         const OpenApiClient &client, const ApiFailure &failed) {
        return client.listAllByNamePaged(id, marker, listed, failed);
    };
    readPatiently(m_replies, OpenApiClient(m_user).inTurn(RequestTurn::Soon), ask, fail);
}

// A drive may give fewer entries than asked for, and markers without an end.
void FolderSubtitles::onPage(const FileItems &page)
{
    m_received += subtitleFilesOf(page.items);
    const QString &next = page.next_marker;
    if (next.isEmpty() || m_markers.contains(next) || m_markers.size() == MostFurtherPages) {
        onAll();
        return;
    }
    m_markers.insert(next);
    requestPage(next);
}

void FolderSubtitles::onAll()
{
    m_files = m_received;
    m_isKnown = true;
    emit known();
}

void FolderSubtitles::onReturned()
{
    if (m_isLost) {
        emit askedAgain();
        request(m_folderId);
    }
}
