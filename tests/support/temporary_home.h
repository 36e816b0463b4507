#pragma once

#include <QTemporaryDir>

// A home folder of its own, removed at the end. The program's data then lies in it.
class TemporaryHome final
{
    Q_DISABLE_COPY_MOVE(TemporaryHome)

public:
    TemporaryHome() { qputenv("HOME", m_folder.path().toLocal8Bit()); }
    ~TemporaryHome() = default;

    [[nodiscard]] QString path() const { return m_folder.path(); }
    [[nodiscard]] QString filePath(const QString &name) const { return m_folder.filePath(name); }

private:
    const QTemporaryDir m_folder;
};
