#pragma once

#include <QStringList>
#include <QtGlobal>

// Collects what is logged while it lives, instead of printing it. One at a time; messages of other
// threads are not expected.
class LogCapture final
{
    Q_DISABLE_COPY_MOVE(LogCapture)

public:
    LogCapture() : m_previous(qInstallMessageHandler(&LogCapture::collect))
    {
        s_lines.clear();
        s_warnings.clear();
    }
    ~LogCapture() { qInstallMessageHandler(m_previous); }

    [[nodiscard]] QStringList lines() const { return s_lines; }
    // Those among them that are warnings or worse.
    [[nodiscard]] QStringList warnings() const { return s_warnings; }
    [[nodiscard]] bool contains(const QString &part) const
    {
        return s_lines.join(QLatin1Char('\n')).contains(part);
    }

private:
    static void collect(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
    {
        s_lines.append(text);
        if (type != QtDebugMsg && type != QtInfoMsg) {
            s_warnings.append(text);
        }
    }

    static inline QStringList s_lines;
    static inline QStringList s_warnings;
    const QtMessageHandler m_previous;
};
