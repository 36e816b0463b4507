#include "ui/windows/file_kinds.h"

#include <QFile>
#include <QTest>

#include "api/records/file_records.h"

class TestFileKinds final : public QObject
{
    Q_OBJECT

private slots:
    void namesTheKind_data();
    void namesTheKind();
    void everyKindHasAnIcon();
    void noExtensionHasTwoKinds();
    void theKindsStandAtTheirNumber();
    void playsWhatTheDriveCallsAVideo_data();
    void playsWhatTheDriveCallsAVideo();
};

void TestFileKinds::namesTheKind_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("category");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("text");
    const QString file = QStringLiteral("file");
    const QString none;
    const auto row = [&file](const char *title, const char *name, const char *category,
                             const char *extension, const char *text) {
        QTest::newRow(title) << QString::fromUtf8(name) << file << QString::fromUtf8(category)
                             << QString::fromUtf8(extension) << QString::fromUtf8(text);
    };
    QTest::newRow("a folder with a dot") << QStringLiteral("a.mkv") << QStringLiteral("folder")
                                         << none << none << QStringLiteral("文件夹");
    row("a video by its name", "a.mkv", "", "", "视频");
    row("capital letters", "A.MP4", "", "", "视频");
    row("the drive's extension wins", "a.txt", "", "mp3", "音频");
    row("the extension wins over the category", "a.zip", "doc", "", "压缩包");
    row("an unknown extension follows the category", "a.weird", "image", "", "weird File");
    row("no extension", "README", "", "", "其他");
    row("no extension but a category", "README", "doc", "", "文档");
    row("a leading dot is no extension", ".jpg", "", "", "其他");
    row("subtitles are documents", "第1集.srt", "", "", "文档");
}

void TestFileKinds::namesTheKind()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QFETCH(QString, category);
    QFETCH(QString, extension);
    FileItem file;
    file.name = name;
    file.type = type;
    file.category = category;
    file.file_extension = extension;
    QTEST(typeText(file), "text");
}

void TestFileKinds::everyKindHasAnIcon()
{
    for (const FileKindInfo &info : fileKinds()) {
        QVERIFY2(QFile::exists(info.iconPath), qPrintable(info.iconPath));
        QVERIFY(!iconOf(info.kind).pixmap(32, 32).isNull());
    }
}

void TestFileKinds::noExtensionHasTwoKinds()
{
    QStringList seen;
    for (const FileKindInfo &info : fileKinds()) {
        for (const QString &extension : info.extensions) {
            QVERIFY2(!seen.contains(extension), qPrintable(extension));
            seen << extension;
        }
    }
}

void TestFileKinds::theKindsStandAtTheirNumber()
{
    for (int index = 0; index < fileKinds().size(); ++index)
        QCOMPARE(static_cast<int>(fileKinds().at(index).kind), index);
}

void TestFileKinds::playsWhatTheDriveCallsAVideo_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("category");
    QTest::addColumn<bool>("isVideo");
    QTest::newRow("video") << QStringLiteral("a") << QStringLiteral("video") << true;
    QTest::newRow("not a video, whatever the name")
        << QStringLiteral("a.mkv") << QStringLiteral("others") << false;
    QTest::newRow("no category, a video's name") << QStringLiteral("a.mkv") << QString() << true;
    QTest::newRow("no category, another name") << QStringLiteral("a.txt") << QString() << false;
}

void TestFileKinds::playsWhatTheDriveCallsAVideo()
{
    QFETCH(QString, name);
    QFETCH(QString, category);
    FileItem file;
    file.name = name;
    file.category = category;
    QTEST(isVideo(file), "isVideo");
}

QTEST_MAIN(TestFileKinds)
#include "tst_file_kinds.moc"
