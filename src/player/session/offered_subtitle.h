#pragma once

#include <QList>
#include <QString>

class VideoPreviewSubtitlesResp;

// A subtitle file that can be had for a video: one that lies beside it in the drive, or one that
// the drive made with the transcoded streams.
struct OfferedSubtitle
{
    QString id{};       // of the drive's file; of a transcoded one a name that no file has
    QString name{};     // of the file, or what the menu says
    QString language{}; // of a transcoded one
    QString url{};      // of a transcoded one; lives as long as those of the streams
    bool isSuggested = false;

    [[nodiscard]] bool isTranscoded() const;
};

// What can be had of what the play information tells, in its order. A language that is there more
// than once is numbered.
[[nodiscard]] QList<OfferedSubtitle> transcodedSubtitles(const VideoPreviewSubtitlesResp &reply);

// Suggests those whose names are of the same episode as the video's.
void suggestFor(const QString &videoName, QList<OfferedSubtitle> &offered);

// The first in the language; null: there is none, or no language is given.
[[nodiscard]] const OfferedSubtitle *findLanguage(const QList<OfferedSubtitle> &offered,
                                                  const QString &language);

// Null: it is not there.
[[nodiscard]] const OfferedSubtitle *findOffered(const QList<OfferedSubtitle> &offered,
                                                 const QString &id);
