#pragma once

#include <optional>

#include <QList>
#include <QString>

// A track that the user chose, as it is looked for in other videos: numbers change from file to
// file, languages and titles seldom do.
struct TrackMemory
{
    int id = 0;         // libmpv's number in the file in which it was chosen; 0: it had none
    QString language{}; // as the file names it ("chi", "zh-Hant"); empty: the file did not say
    QString title{};

    // As it is stored: the number, and behind it, where they are known, language and title.
    // Without them it is the bare number that was always stored.
    [[nodiscard]] QString toText() const;
    // Nothing for a text that does not begin with a number.
    [[nodiscard]] static std::optional<TrackMemory> fromText(const QString &text);
};

[[nodiscard]] bool operator==(const TrackMemory &left, const TrackMemory &right);

// Whether two language tags mean the same language ("zho", "chi" and "zh" do). Scripts and regions
// count where both tags have one.
[[nodiscard]] bool isSameLanguage(const QString &left, const QString &right);

// Which of a file's tracks is meant: that of the same language and title, else of the same
// language, there the one with the remembered number before others. Without a language on either
// side it is the title, then the number. Nothing when none fits.
[[nodiscard]] std::optional<int> findTrack(const TrackMemory &wanted,
                                           const QList<TrackMemory> &tracks);
