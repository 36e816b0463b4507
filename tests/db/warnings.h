#pragma once

#include <QStringList>

/// Collects the warnings of its scope instead of printing them.
class Warnings final
{
    Q_DISABLE_COPY_MOVE(Warnings)

public:
    Warnings() : m_previous(qInstallMessageHandler(&Warnings::collect)) { s_texts.clear(); }
    ~Warnings() { qInstallMessageHandler(m_previous); }

    [[nodiscard]] static QStringList texts() { return s_texts; }

private:
    static void collect(QtMsgType type, const QMessageLogContext &, const QString &text)
    {
        if (type == QtWarningMsg)
            s_texts.append(text);
    }

    static inline QStringList s_texts;
    const QtMessageHandler m_previous;
};
