#include "app/environment/file_name.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

namespace {

constexpr int MaximumBytes = 200;
constexpr int MaximumExtensionBytes = 32;

// Text-direction embeddings, overrides and isolates: they make a name read as another.
bool isOverride(QChar c)
{
    const ushort code = c.unicode();
    return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
}

bool isDirectionControl(QChar c)
{
    const ushort code = c.unicode();
    return code == 0x061c || code == 0x200e || code == 0x200f || isOverride(c);
}

bool isLoneSurrogate(const QString &text, int index)
{
    const QChar c = text.at(index);
    if (c.isHighSurrogate()) {
        return index + 1 == text.size() || !text.at(index + 1).isLowSurrogate();
    }
    return c.isLowSurrogate() && (index == 0 || !text.at(index - 1).isHighSurrogate());
}

QString withoutForbiddenCharacters(const QString &text)
{
    static const QString forbidden = QStringLiteral("<>:\"|?*");
    QString result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.category() == QChar::Other_Control || isDirectionControl(c) ||
            isLoneSurrogate(text, i)) {
            continue;
        }
        result += forbidden.contains(c) ? QLatin1Char('_') : c;
    }
    return result;
}

QString baseNameOf(const QString &name)
{
    const int separator =
        qMax(name.lastIndexOf(QLatin1Char('/')), name.lastIndexOf(QLatin1Char('\\')));
    return name.mid(separator + 1);
}

// Leading dots hide a file or climb a folder, leading dashes read as options, and Windows drops
// trailing dots and blanks.
QString trimmedName(const QString &name)
{
    static const QRegularExpression edges(QStringLiteral("^[\\s.\\-]+|[\\s.]+$"),
                                          QRegularExpression::UseUnicodePropertiesOption);
    return QString(name).remove(edges);
}

bool isDeviceName(const QString &name)
{
    static const QRegularExpression device(
        QStringLiteral("^(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)[0-9¹²³])\\s*(\\.|$)"),
        QRegularExpression::CaseInsensitiveOption);
    return device.match(name).hasMatch();
}

// The longest beginning of whole characters, as a reader counts them, that fits.
QString truncated(const QString &text, int bytes)
{
    if (text.toUtf8().size() <= bytes) {
        return text;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int end = 0;
    int used = 0;
    for (int next = int(finder.toNextBoundary()); next > 0; next = int(finder.toNextBoundary())) {
        used += text.midRef(end, next - end).toUtf8().size();
        if (used > bytes) {
            break;
        }
        end = next;
    }
    return text.left(end);
}

QString shortened(const QString &name)
{
    const QString suffix = QFileInfo(name).suffix();
    const QString extension = suffix.isEmpty() ? QString() : QLatin1Char('.') + suffix;
    const int extensionBytes = extension.toUtf8().size();
    if (extensionBytes > MaximumExtensionBytes) {
        return truncated(name, MaximumBytes);
    }
    return truncated(name.chopped(extension.size()), MaximumBytes - extensionBytes) + extension;
}

} // namespace

QString safeFileName(const QString &serverName)
{
    QString name = trimmedName(withoutForbiddenCharacters(baseNameOf(serverName)));
    if (isDeviceName(name)) {
        name.prepend(QLatin1Char('_'));
    }
    name = trimmedName(shortened(name));
    return name.isEmpty() ? QStringLiteral("未命名") : name;
}

QString withVisibleOverrides(QString serverName)
{
    std::replace_if(serverName.begin(), serverName.end(), isOverride,
                    QChar(QChar::ReplacementCharacter));
    return serverName;
}

QString safePathInFolder(const QString &folder, const QString &serverName)
{
    return QDir(folder).filePath(safeFileName(serverName));
}
