#pragma once

#include <QIcon>
#include <QObject>
#include <QTemporaryFile>

// Fetches a user's picture through a temporary file of its own, which goes with the loader. An
// address that is none, a failed download and a reply that is no picture are passed over.
class AvatarLoader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AvatarLoader)

public:
    explicit AvatarLoader(QObject *parent);
    ~AvatarLoader() override;

    void load(const QString &address);

signals:
    void loaded(const QIcon &avatar);

private:
    void onDownloaded();

    QTemporaryFile m_file;
};
