#pragma once

#include <QSet>
#include <QString>

// Follows the markers from page to page of one folder, and ends where a drive would be asked
// without end: at a marker that was there before, and after many pages in a row without an entry.
class PageTrail final
{
public:
    // The marker of the next page; empty where the folder ends.
    [[nodiscard]] QString next(const QString &marker, bool broughtEntries)
    {
        m_emptyPages = broughtEntries ? 0 : m_emptyPages + 1;
        if (m_followed.contains(marker) || m_emptyPages > MostEmptyPages) {
            return QString();
        }
        m_followed.insert(marker);
        return marker;
    }

private:
    static constexpr int MostEmptyPages = 20;

    QSet<QString> m_followed;
    int m_emptyPages = 0;
};
