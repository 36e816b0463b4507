#pragma once

#include <optional>

#include <QDeadlineTimer>
#include <QList>
#include <QObject>

#include "api/records/file_records.h"
#include "api/session/api_failure.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "player/session/menu_entry.h"
#include "player/session/offered_subtitle.h"
#include "player/session/play_quality.h"

class OpenApiClient;
struct VideoPlayInfo;

// From where one video can be played: the drive's transcoded streams, then the source file.
class PlayAddress final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayAddress)

public:
    PlayAddress(UserInfo user, const FileItem &file);
    // What is under way is abandoned.
    ~PlayAddress() override;

    // Asks before the video's turn has come. Nobody is told, and failures are not logged: open()
    // asks again then.
    void fetchAhead();
    // Answers with one of the two signals, at once where the addresses are there and still good.
    void open();
    // Asks for new addresses in place of those that do not work; after openSource() for nothing
    // else either.
    void renew();
    // As renew(), but for nothing than the source file's, in whatever quality was wanted.
    void openSource();
    // Whether the addresses were fetched ahead, so that newer ones may work.
    [[nodiscard]] bool wasFetchedAhead() const { return m_purpose == Purpose::Ahead; }
    // Whether openSource() was the last wish.
    [[nodiscard]] bool isForSource() const { return m_purpose == Purpose::Source; }
    // Whether the answer came too long ago.
    [[nodiscard]] bool isStale() const;
    // Whether the play information could not be had, so that the source was not asked for.
    [[nodiscard]] bool isRefused() const { return m_answer == Answer::Refused; }
    // Why something could not be had, for the user; empty where nothing is known.
    [[nodiscard]] QString reason() const { return m_reason; }

    // The quality to play; where it cannot be had, the one that choosePlayable() puts in its place.
    void want(const QString &qualityId);
    [[nodiscard]] QString currentId() const;
    // Empty when nothing can be played.
    [[nodiscard]] QString currentUrl() const;
    // libmpv takes more than addresses; it is given nothing but those of the web.
    [[nodiscard]] bool isPlayable() const;
    // In the drive's order, the source last and only if its address could be obtained.
    [[nodiscard]] QList<MenuEntry> menu() const;
    // The subtitles that came with the streams.
    [[nodiscard]] const QList<OfferedSubtitle> &subtitles() const { return m_subtitles; }
    // Seconds, as the drive measured the video; 0: unknown.
    [[nodiscard]] int duration() const { return m_duration; }

signals:
    // After open(), renew() and openSource(), and as the last act: the receiver may destroy this
    // object.
    void ready();
    // The play information could not be had.
    void unavailable();

private:
    enum class Purpose { Ahead, Opening, Source };
    enum class Answer { None, Awaited, Known, Refused };

    void request(Purpose purpose);
    void requestPlayInfo();
    [[nodiscard]] OpenApiClient client();
    void onPlayInfo(const VideoPlayInfo &reply);
    void requestSource();
    void onFailure(const QString &operation, int code, const QString &error);
    void onAnswer(Answer answer);
    [[nodiscard]] int current() const;

    const UserInfo m_user;
    const FileItem m_file;
    Purpose m_purpose = Purpose::Opening; // of the last request
    Answer m_answer = Answer::None;
    bool m_isOpen = false; // somebody waits for the answer
    QDeadlineTimer m_life;
    QList<QualityEntry> m_entries;
    QList<OfferedSubtitle> m_subtitles;
    QString m_wanted;
    std::optional<ApiRefusal> m_refusal;
    QString m_reason;
    int m_duration = 0;
    int m_sourceWidth = 0;
    int m_sourceHeight = 0;
    ReplyGuard m_replies;
};
