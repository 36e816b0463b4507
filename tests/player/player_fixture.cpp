#include "player/player_fixture.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QScreen>
#include <QToolButton>
#include <QWindow>
#include <QtTest>

#include "db/tables/operations.h"
#include "player/mpv/mpv_widget.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"

namespace {

// Where a clip of this make lies on the disk.
QString madeClip(const QString &suffix, const clips::Clip &clip)
{
    static QTemporaryDir folder;
    static QMap<QString, QString> made;
    const QString key = QString("%1 %2 %3 ").arg(suffix).arg(clip.seconds).arg(clip.width) +
                        (clip.inputs + clip.outputs).join(' ');
    if (!made.contains(key)) {
        const QString path =
            folder.filePath(QString::number(made.size()) + QLatin1Char('.') + suffix);
        if (!clips::make(path, clip)) {
            qFatal("no clip could be made");
        }
        made.insert(key, path);
    }
    return made.value(key);
}

// An entry's text without its hint.
QString wordsOf(const QAction &action)
{
    return action.text().section(QLatin1Char('\t'), 0, 0);
}

QString folderOf(const QString &path)
{
    return path.section(QLatin1Char('/'), 0, -2);
}

// Where the picture of a clip of 16:9 lies in the video, on the screen.
QRect pictureOf(const MpvWidget &video)
{
    const QSize size = QSize(16, 9).scaled(video.size(), Qt::KeepAspectRatio);
    QRect picture(QPoint(0, 0), size);
    picture.moveCenter(video.rect().center());
    picture.moveTopLeft(video.mapToGlobal(picture.topLeft()));
    return picture;
}

} // namespace

PlayerFixture::PlayerFixture(bool withThumbnails)
    : m_drive(1, ratelessRules(), withThumbnails)
    , m_user(m_drive.logIn())
    , m_host(std::make_unique<PlayerHost>())
{
}

PlayerFixture::~PlayerFixture()
{
    m_host.reset();
}

void PlayerFixture::addClip(const QString &path, const clips::Clip &clip)
{
    const QDir root(QString::fromStdString(server().rootPath()));
    root.mkpath(folderOf(path));
    const QString suffix = QFileInfo(path).suffix();
    if (!QFile::copy(madeClip(suffix, clip), root.filePath(path))) {
        qFatal("the clip could not be put on the drive");
    }
    m_videos.append(path);
}

void PlayerFixture::addFile(const QString &path, const QByteArray &content)
{
    const QDir root(QString::fromStdString(server().rootPath()));
    root.mkpath(folderOf(path));
    server().makeFile(path.toStdString(), content.toStdString());
}

void PlayerFixture::setPlayInfo(const QByteArray &reply)
{
    FaultOn fault("getVideoPreviewPlayInfo");
    server().addFault(fault.always().status(200).body(reply.toStdString()));
}

FileItem PlayerFixture::item(const QString &path)
{
    FileItem item;
    item.file_id = QString::fromStdString(server().fileId(path.toStdString()));
    const std::string folder = folderOf(path).toStdString();
    item.parent_file_id = folder.empty() ? "root" : QString::fromStdString(server().fileId(folder));
    item.drive_id = QString::fromStdString(server().driveId());
    item.name = path.section(QLatin1Char('/'), -1);
    return item;
}

PlayRequest PlayerFixture::request(const QString &path)
{
    PlayRequest request;
    request.user = m_user;
    request.file = item(path);
    for (const QString &video : qAsConst(m_videos)) {
        if (folderOf(video) == folderOf(path)) {
            request.videos.append(item(video));
        }
    }
    if (!loadPlayHistory(request.file.file_id, request.history)) {
        request.history.fileId = request.file.file_id;
        request.history.parentFileId = request.file.parent_file_id;
        request.history.userId = m_user.userId.value();
        request.history.name = request.file.name;
    }
    return request;
}

void PlayerFixture::open(const QString &path)
{
    m_host->open(request(path));
}

PlayHistory PlayerFixture::storedHistory(const QString &path)
{
    PlayHistory history;
    (void)loadPlayHistory(item(path).file_id, history);
    return history;
}

void PlayerFixture::storePosition(const QString &path, int position, int duration)
{
    PlayHistory history = request(path).history;
    history.playPosition = position;
    history.duration = duration;
    savePlayHistory(history);
}

MpvPlayerWindow *PlayerFixture::window() const
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *player = qobject_cast<MpvPlayerWindow *>(widget)) {
            return player;
        }
    }
    return nullptr;
}

MpvWidget *PlayerFixture::mpv() const
{
    return window() ? window()->findChild<MpvWidget *>() : nullptr;
}

QWidget *PlayerFixture::part(const QString &objectName) const
{
    return window() ? window()->findChild<QWidget *>(objectName) : nullptr;
}

QString PlayerFixture::timeText() const
{
    const auto *label = qobject_cast<QLabel *>(part("timeLabel"));
    return label ? label->text() : QString();
}

QList<QAction *> PlayerFixture::entries(const QString &button, const QString &part) const
{
    const QMenu *menu = qobject_cast<QToolButton *>(this->part(button))->menu();
    const QList<QAction *> actions = menu ? menu->actions() : QList<QAction *>();
    for (const QAction *action : actions) {
        if (!part.isEmpty() && action->menu() && action->text() == part) {
            return action->menu()->actions();
        }
    }
    return part.isEmpty() ? actions : QList<QAction *>();
}

QStringList PlayerFixture::menuTexts(const QString &button) const
{
    QStringList texts;
    for (const QAction *action : entries(button)) {
        if (!action->isSeparator() && !action->menu()) {
            texts.append(wordsOf(*action));
        }
    }
    return texts;
}

QString PlayerFixture::checkedText(const QString &button) const
{
    for (const QAction *action : entries(button)) {
        if (action->isChecked()) {
            return wordsOf(*action);
        }
    }
    return {};
}

bool PlayerFixture::choose(const QString &button, const QString &text, const QString &part)
{
    for (QAction *action : entries(button, part)) {
        if (wordsOf(*action) == text && action->isEnabled()) {
            action->trigger();
            return true;
        }
    }
    return false;
}

int PlayerFixture::secondShown() const
{
    const MpvWidget *video = mpv();
    if (!video) {
        return -1;
    }
    // What the user sees, whatever the window's surface is at the moment.
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    return clips::secondShown(screen.copy(pictureOf(*video)));
}

int PlayerFixture::secondLabelled() const
{
    const QTime time = QTime::fromString(timeText().section(QLatin1Char('/'), 0, 0), "hh:mm:ss");
    return QTime(0, 0).secsTo(time);
}

bool PlayerFixture::hasReached(int second) const
{
    return window() && secondLabelled() >= second;
}

bool PlayerFixture::waitFor(int second) const
{
    return QTest::qWaitFor([this, second] { return hasReached(second); }, 20000);
}

void PlayerFixture::press(const char *button) const
{
    QTest::mouseClick(part(QLatin1String(button)), Qt::LeftButton);
}

bool PlayerFixture::isOn(const char *control) const
{
    return part(QLatin1String(control))->isEnabled();
}

bool PlayerFixture::step(const char *button, const QString &title) const
{
    press(button);
    return QTest::qWaitFor([this, &title] { return window()->windowTitle() == title; }, 15000);
}

void PlayerFixture::close() const
{
    window()->close();
    QTRY_VERIFY(!window());
}
