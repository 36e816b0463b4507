#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSplashScreen>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include "app/appearance.h"
#include "app/arguments.h"
#include "app/data_notices.h"
#include "app/last_window.h"
#include "app/toolkit_texts.h"
#include "db/application_database.h"
#include "ui/widgets/base_window.h"
#include "ui/widgets/questions.h"

Q_DECLARE_METATYPE(std::optional<int>)

namespace {

// What a user may meet of texts that Qt or the toolkit's translator gives.
QStringList toolkitTexts()
{
    QStringList texts;
    QMessageBox box;
    box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel | QMessageBox::Close |
                           QMessageBox::Yes | QMessageBox::No | QMessageBox::Retry);
    box.setDetailedText("x");
    for (const QAbstractButton *button : box.buttons()) {
        texts << button->text();
    }
    QLineEdit edit;
    const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    for (const QAction *action : menu->actions()) {
        texts << action->text().section('\t', 0, 0);
    }
    const BaseWindow window;
    const QTabBar bar;
    for (const auto &buttons :
         {window.findChildren<QToolButton *>(), bar.findChildren<QToolButton *>()}) {
        for (const QToolButton *button : buttons) {
            texts << button->accessibleName() << button->toolTip();
        }
    }
    texts.removeAll(QString());
    return texts;
}

} // namespace

class TestStartup final : public QObject
{
    Q_OBJECT

public:
    TestStartup() { qputenv("LANGUAGE", "fr:zh_CN:de"); }

private slots:
    void init()
    {
        // Arguments are answered before there is an application.
        if (!m_application && QByteArray("answersArguments") != QTest::currentTestFunction()) {
            static int argc = 0;
            m_application = std::make_unique<QApplication>(argc, nullptr);
        }
    }

    void answersArguments_data()
    {
        QTest::addColumn<QByteArrayList>("arguments");
        QTest::addColumn<std::optional<int>>("exitCode");
        const std::optional<int> start;
        const auto row = [](const char *title, const QByteArrayList &arguments,
                            std::optional<int> exitCode) {
            QTest::newRow(title) << arguments << exitCode;
        };
        row("none", {}, start);
        row("help", {"--help"}, 0);
        row("version", {"--version"}, 0);
        row("an unknown option", {"--frobnicate"}, 2);
        row("an unknown option beside a known one", {"--help", "--frobnicate"}, 2);
        row("a file", {"film.mkv"}, 2);
        row("without diagnostics", {"--quiet"}, start);
        row("beside another one", {"--new-instance"}, start);
        row("a toolkit's option", {"-platform", "offscreen"}, start);
        row("a toolkit's option without its value", {"-platform"}, 2);
        row("a toolkit's switch", {"-reverse"}, start);
    }
    void answersArguments()
    {
        QFETCH(QByteArrayList, arguments);
        const bool isQuiet = arguments.contains("--quiet");
        arguments.prepend("moravu");
        std::vector<char *> words;
        for (QByteArray &argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        const Arguments answer = answerArguments(int(words.size()) - 1, words.data());
        QTEST(answer.exitCode, "exitCode");
        QCOMPARE(answer.isNewInstance, arguments.contains("--new-instance"));
        QCOMPARE(QLoggingCategory::defaultCategory()->isDebugEnabled(), !isQuiet);
        QLoggingCategory::setFilterRules(QString());
    }

    void installsTheUsersTranslation()
    {
        QCOMPARE(QCoreApplication::translate("Test", "Hello"), QString("Hello"));
        loadTranslation();
        QCOMPARE(QCoreApplication::translate("Test", "Hello"), QString("你好"));
    }

    void showsASplashAndTakesItAway()
    {
        bool shown = false;
        QTimer::singleShot(0, this, [&shown] {
            const QWidgetList windows = QApplication::topLevelWidgets();
            shown = windows.size() == 1 && qobject_cast<QSplashScreen *>(windows.first());
        });
        showSplash();
        QVERIFY(shown);
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void theStatusBarTellsThatChangesAreNotWritten()
    {
        const ApplicationDatabase home;
        QMainWindow window;
        watchDatabase(window, QString());
        window.show();
        const auto *sign = window.findChild<QLabel *>("unwrittenSign");
        QVERIFY(!sign->isVisible());
        {
            QSqlDatabase other = QSqlDatabase::cloneDatabase(QSqlDatabase::database(), "other");
            QVERIFY(other.open());
            other.exec("BEGIN IMMEDIATE TRANSACTION");
            store(user("u1"));
            QVERIFY(sign->isVisible());
        }
        QSqlDatabase::removeDatabase("other");
        QVERIFY(database()->tryAgain());
        QVERIFY(!sign->isVisible());
    }

    void theWindowThatWasActiveLastComesForward_data()
    {
        QTest::addColumn<bool>("isFilmLast");
        QTest::addColumn<bool>("isFilmOpen");
        QTest::newRow("the film") << true << true;
        QTest::newRow("the files") << false << true;
        QTest::newRow("the files, after the film") << true << false;
    }
    void theWindowThatWasActiveLastComesForward()
    {
        QFETCH(bool, isFilmLast);
        QFETCH(bool, isFilmOpen);
        const LastWindow last;
        QVERIFY(!last.bringForward());
        QMainWindow files;
        QWidget film;
        for (QWidget *window : {static_cast<QWidget *>(&files), &film}) {
            window->show();
            window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(window));
        }
        if (!isFilmLast) {
            files.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&files));
        }
        film.setVisible(isFilmOpen);
        QDialog passing; // as a question that has been answered
        passing.show();
        passing.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&passing));
        passing.hide();
        QVERIFY(last.bringForward());
        QWidget &expected = isFilmLast && isFilmOpen ? film : static_cast<QWidget &>(files);
        QTRY_COMPARE(QApplication::activeWindow(), &expected);
        QWidget &other = &expected == &film ? static_cast<QWidget &>(files) : film;
        expected.showMinimized();
        QVERIFY(last.bringForward());
        QVERIFY(!expected.isMinimized() && !other.isActiveWindow());
    }

    void speaksChineseForTheToolkit()
    {
        ToolkitTexts translator;
        QCoreApplication::installTranslator(&translator);
        const QRegularExpression chinese("^[\\x{4e00}-\\x{9fff}]+(\\(&[A-Z]\\))?$");
        const QStringList texts = toolkitTexts();
        QCOMPARE(texts.size(), 7 + 7 + 6 + 2);
        QCOMPARE(texts.filter(chinese), texts);
    }

private:
    std::unique_ptr<QApplication> m_application;
};

QTEST_APPLESS_MAIN(TestStartup)
#include "tst_startup.moc"
