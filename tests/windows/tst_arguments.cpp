#include "app/arguments.h"

#include <QTest>

Q_DECLARE_METATYPE(std::optional<int>)

class TestArguments final : public QObject
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
};

void TestArguments::answers_data()
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
    row("a toolkit's option", {"-platform", "offscreen"}, start);
    row("a toolkit's option without its value", {"-platform"}, 2);
    row("a toolkit's switch", {"-reverse"}, start);
}

void TestArguments::answers()
{
    QFETCH(QByteArrayList, arguments);
    arguments.prepend("moravu");
    std::vector<char *> words;
    for (QByteArray &argument : arguments)
        words.push_back(argument.data());
    words.push_back(nullptr);
    const std::optional<int> exitCode = answerArguments(arguments.size(), words.data());
    QTEST(exitCode, "exitCode");
}

QTEST_APPLESS_MAIN(TestArguments)
#include "tst_arguments.moc"
