#include <QTest>

#include "api/records/file_records.h"
#include "support/test_main.h"
#include "ui/files/file_kinds.h"

class TestFileKinds final : public QObject
{
    Q_OBJECT

private slots:
    void namesTheKind_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("extension");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("plays");
        const auto row = [](const char *title, const char *name, const char *category,
                            const char *extension, const char *text, bool plays) {
            QTest::newRow(title) << name << "file" << category << extension << text << plays;
        };
        QTest::newRow("a folder with a dot") << "a.mkv"
                                             << "folder"
                                             << ""
                                             << ""
                                             << "文件夹" << false;
        row("a video by its name", "a.mkv", "", "", "视频", false);
        row("capital letters", "A.MP4", "", "", "视频", false);
        row("the drive's extension wins", "a.txt", "", "mp3", "音频", false);
        row("the extension wins over the category", "a.zip", "doc", "", "压缩包", false);
        row("an unknown extension follows the category", "a.weird", "image", "", "weird File",
            false);
        row("no extension", "README", "", "", "其他", false);
        row("no extension but a category", "README", "doc", "", "文档", false);
        row("a leading dot is no extension", ".jpg", "", "", "其他", false);
        row("subtitles are documents", "第1集.srt", "", "", "文档", false);
        row("what the drive calls a video plays", "README", "video", "", "视频", true);
        row("what the drive calls something else does not", "a.mkv", "others", "", "视频", false);
    }
    void namesTheKind()
    {
        FileItem file;
        const auto text = [](const char *column) {
            return *static_cast<const QString *>(QTest::qData(column, QMetaType::QString));
        };
        file.name = text("name");
        file.type = text("type");
        file.category = text("category");
        file.file_extension = text("extension");
        QTEST(typeText(file), "text");
        QTEST(isVideo(file), "plays");
    }
};

MORAVU_TEST(TestFileKinds)
#include "tst_file_kinds.moc"
