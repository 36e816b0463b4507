#pragma once

#include <optional>

#include <QHash>
#include <QStringList>

class MpvWidget;

// The subtitle files of one video that were downloaded, and those of them that libmpv has as tracks
// beside the video's own.
class AddedSubtitles final
{
    Q_DISABLE_COPY_MOVE(AddedSubtitles)

public:
    enum class Show { AtOnce, Later };

    // `mpv` must outlive this.
    explicit AddedSubtitles(MpvWidget &mpv) : m_mpv(mpv) {}

    // The file is on the disk from now on, for every load of the video.
    void keep(const QString &id, const QString &path) { m_paths.insert(id, path); }
    [[nodiscard]] bool isKept(const QString &id) const { return m_paths.contains(id); }

    // libmpv has another file, or the video anew: nothing is added to it.
    void clear() { m_added.clear(); }
    // Hands a file that is kept to libmpv. A file that libmpv cannot read adds no track, some add
    // more than one.
    void add(const QString &id, Show show);
    [[nodiscard]] bool isEmpty() const { return m_added.isEmpty(); }

    // The (first) track of a file; nothing when it has none. And the other way round.
    [[nodiscard]] std::optional<int> trackOf(const QString &id) const;
    [[nodiscard]] QString fileOf(int track) const;

private:
    struct Added
    {
        int track;
        QString id;
    };

    MpvWidget &m_mpv;
    QHash<QString, QString> m_paths;
    QList<Added> m_added;
};
