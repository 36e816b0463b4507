// The file list with 10,000 entries against a bare table widget that holds the same records and
// cells, compares them the same way and does without paging, filter bookkeeping and the rest.

#include <ctime>

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QProcess>
#include <QScrollBar>
#include <QTableWidget>
#include <QThread>
#include <QTimer>

#include "api/records/file_records.h"
#include "app/environment/formatting.h"
#include "db/tables/user_info.h"
#include "figures.h"
#include "session/drive_fixture.h"
#include "ui/files/cloud_file_dialog.h"
#include "ui/files/file_browser.h"
#include "ui/files/file_kinds.h"
#include "ui/files/file_table.h"
#include "ui/widgets/sort_table_widget_item.h"

namespace {

constexpr int EntryCount = 10000;
constexpr int PageSize = FolderLoader::PageSize;

QList<FileItem> makeEntries(int count)
{
    const QStringList names{QStringLiteral("第%1集.mkv"), QStringLiteral("照片 %1.jpg"),
                            QStringLiteral("文档%1.txt"), QStringLiteral("%1")};
    const QDateTime start(QDate(2026, 1, 1), QTime(8, 0), Qt::UTC);
    QList<FileItem> entries;
    for (int number = 0; number < count; ++number) {
        const qint64 mixed = (number * 7919) % EntryCount;
        FileItem entry;
        entry.name = names.at(number % names.size()).arg(mixed);
        entry.type = number % names.size() == 3 ? QStringLiteral("folder") : QStringLiteral("file");
        entry.file_id = QStringLiteral("6390a4b1c2d3e4f5a6b7c8d9e0f1%1").arg(number, 12);
        entry.parent_file_id = QStringLiteral("root");
        entry.size = QString::number(mixed * 4099);
        entry.updated_at = start.addSecs(mixed * 61).toString(Qt::ISODateWithMs);
        entries << entry;
    }
    return entries;
}

const QList<FileItem> &entries()
{
    static const QList<FileItem> made = makeEntries(EntryCount);
    return made;
}

FileItems page(int number)
{
    FileItems items;
    items.items = entries().mid(number * PageSize, PageSize);
    return items;
}

// The time for which this thread had a processor. Among some thousand events the longest by the
// clock is the one that another process of the machine came between.
double threadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

void paint(QWidget &widget)
{
    QCoreApplication::processEvents();
    widget.repaint();
}

// The program's table, fed with pages as if they came from the drive.
struct List
{
    List() : browser(UserInfo(), &table)
    {
        table.resize(900, 600);
        table.show();
    }
    void take(int number, bool append)
    {
        FolderRequest request;
        request.folderId = QStringLiteral("root");
        request.marker = append ? QStringLiteral("further") : QString();
        emit browser.findChild<FolderLoader *>()->pageLoaded(request, page(number));
    }
    void takeAll(int pages)
    {
        for (int number = 0; number < pages; ++number) {
            take(number, number > 0);
        }
    }

    FileTable table;
    FileBrowser browser;
};

struct BareList
{
    BareList()
    {
        table.setColumnCount(4);
        table.verticalHeader()->hide();
        table.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        table.verticalHeader()->setDefaultSectionSize(50);
        table.setSelectionBehavior(QAbstractItemView::SelectRows);
        table.horizontalHeader()->setSortIndicator(2, Qt::DescendingOrder);
        table.resize(900, 600);
        table.show();
    }
    void append(const QList<FileItem> &files)
    {
        records += files;
        int row = table.rowCount();
        table.setRowCount(row + files.size());
        for (const FileItem &file : files) {
            fillRow(row++, file);
        }
        table.sortItems(2, Qt::DescendingOrder);
    }
    void fillRow(int row, const FileItem &file)
    {
        const QDateTime updated = QDateTime::fromString(file.updated_at, Qt::ISODateWithMs);
        const std::array<SortTableWidgetItem *, 4> cells{
            SortTableWidgetItem::forName(file.name),
            SortTableWidgetItem::forValue(formatSize(file.size), file.size.toLongLong()),
            SortTableWidgetItem::forValue(formatDateTime(updated.toLocalTime()),
                                          updated.toMSecsSinceEpoch()),
            SortTableWidgetItem::forName(typeText(file))};
        cells[0]->setIcon(iconOf(kindOf(file)));
        for (int column = 0; column < 4; ++column) {
            cells.at(column)->setData(SortTableWidgetItem::FolderRole,
                                      kindOf(file) == FileKind::Folder);
            table.setItem(row, column, cells.at(column));
        }
    }
    void search(const QString &text)
    {
        for (int row = 0; row < table.rowCount(); ++row) {
            const QString name = table.item(row, 0)->text();
            table.setRowHidden(row, !name.contains(text, Qt::CaseInsensitive));
        }
    }

    QTableWidget table;
    QList<FileItem> records;
};

double appendLastPage()
{
    List list;
    list.takeAll(EntryCount / PageSize - 1);
    paint(list.table);
    return secondsOf([&list] {
        list.take(EntryCount / PageSize - 1, true);
        paint(list.table);
    });
}

double appendLastPageBare()
{
    BareList list;
    list.append(entries().mid(0, EntryCount - PageSize));
    paint(list.table);
    return secondsOf([&list] {
        list.append(entries().mid(EntryCount - PageSize));
        paint(list.table);
    });
}

// The same as one step, by the thread's time and without painting.
double appendLastPageBareStep()
{
    BareList list;
    list.append(entries().mid(0, EntryCount - PageSize));
    paint(list.table);
    const double start = threadSeconds();
    list.append(entries().mid(EntryCount - PageSize));
    return threadSeconds() - start;
}

double typeOneKey()
{
    List list;
    list.takeAll(EntryCount / PageSize);
    paint(list.table);
    return secondsOf([&list] {
        list.table.setFilter(QStringLiteral("9"), std::nullopt);
        paint(list.table);
    });
}

double typeOneKeyBare()
{
    BareList list;
    list.append(entries());
    paint(list.table);
    return secondsOf([&list] {
        list.search(QStringLiteral("9"));
        paint(list.table);
    });
}

double goBack()
{
    List list;
    list.takeAll(EntryCount / PageSize);
    paint(list.table);
    list.browser.openFolder(entries().at(3));
    paint(list.table);
    return secondsOf([&list] {
        list.browser.goTo(0);
        paint(list.table);
    });
}

double fillBare()
{
    BareList list;
    paint(list.table);
    return secondsOf([&list] {
        list.append(entries());
        paint(list.table);
    });
}

// Keeps the longest time that one event took, during which the window was deaf.
class TimedApplication final : public QApplication
{
    Q_DISABLE_COPY_MOVE(TimedApplication)

public:
    using QApplication::QApplication;
    ~TimedApplication() override = default;

    bool notify(QObject *receiver, QEvent *event) override
    {
        // Events inside others are part of these; other threads keep no window waiting.
        if (QThread::currentThread() != thread() || m_isBusy) {
            return QApplication::notify(receiver, event);
        }
        m_isBusy = true;
        const double start = threadSeconds();
        const bool done = QApplication::notify(receiver, event);
        m_longest = qMax(m_longest, threadSeconds() - start);
        m_isBusy = false;
        return done;
    }
    void forget() { m_longest = 0; }
    [[nodiscard]] double longestSeconds() const { return m_longest; }

private:
    double m_longest = 0;
    bool m_isBusy = false;
};

// A drive with 10,000 files in one folder, three of which a search is for.
class BigFolder final
{
    Q_DISABLE_COPY_MOVE(BigFolder)

public:
    BigFolder() : m_drive(1, localdrive::Rules()), user(m_drive.logIn())
    {
        for (int number = 0; number < EntryCount; ++number) {
            const bool isWanted = number % 3500 == 100;
            m_drive.server().makeFile((isWanted ? "找到 " : "第") + std::to_string(number) + ".mkv",
                                      "x");
        }
    }
    ~BigFolder() = default;

private:
    DriveFixture m_drive;

public:
    const UserInfo user;
};

double searchBigFolder()
{
    static const BigFolder folder;
    CloudFileDialog dialog(folder.user);
    dialog.resize(900, 600);
    dialog.show();
    auto *table = dialog.findChild<FileTable *>();
    const auto waitForRows = [table](int count) {
        QTimer tooLong;
        tooLong.setSingleShot(true);
        tooLong.start(60000);
        while (table->rowCount() < count) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            if (!tooLong.isActive()) {
                qFatal("the list has %d of %d rows", table->rowCount(), count);
            }
        }
    };
    waitForRows(PageSize);
    auto *application = static_cast<TimedApplication *>(QCoreApplication::instance());
    application->forget();
    dialog.findChild<QLineEdit *>(QStringLiteral("fileNameSearch"))
        ->setText(QStringLiteral("找到"));
    waitForRows(EntryCount);
    if (table->shownCount() != 3) {
        qFatal("the search shows %d rows", table->shownCount());
    }
    return application->longestSeconds();
}

// In a process of its own, since memory once given back is not measured again.
double memoryOf(const QString &what)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--memory"), what});
    process.waitForFinished();
    return process.readAllStandardOutput().toDouble();
}

int printMemory(const QString &what)
{
    entries();
    List *list = nullptr;
    BareList *bare = nullptr;
    const double before = residentMegabytes();
    if (what == QLatin1String("ours")) {
        list = new List;
        list->takeAll(EntryCount / PageSize);
        paint(list->table);
    } else {
        bare = new BareList;
        for (int number = 0; number < EntryCount / PageSize; ++number) {
            bare->append(page(number).items);
        }
        paint(bare->table);
    }
    std::printf("%f\n", residentMegabytes() - before);
    delete list;
    delete bare;
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    const TimedApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--memory")) {
        return printMemory(arguments.value(2));
    }
    return runFigures(
        argc, argv,
        {{"windows: append the 50th page of 200", "s", 1.2, appendLastPage, appendLastPageBare},
         {"windows: a key in the search box, 10,000 rows", "s", 0.3, typeOneKey, typeOneKeyBare},
         {"windows: slowest step of a search through 10,000", "s", 2.0, searchBigFolder,
          appendLastPageBareStep},
         {"windows: back to a folder of 10,000", "s", 1.2, goBack, fillBare},
         {"windows: memory of 10,000 rows", "MB", 1.3,
          [] { return memoryOf(QStringLiteral("ours")); },
          [] { return memoryOf(QStringLiteral("bare")); }, 3}});
}
