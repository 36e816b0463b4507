#include "app/arguments.h"

#include <cstdio>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLoggingCategory>

namespace {

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
}

void addHiddenOptions(QCommandLineParser &parser, const QStringList &names,
                      const QString &valueName)
{
    for (const QString &name : names) {
        QCommandLineOption option(name, QString(), valueName);
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }
}

// QApplication takes these out of the arguments later.
void addToolkitOptions(QCommandLineParser &parser)
{
    addHiddenOptions(parser,
                     {QStringLiteral("platform"), QStringLiteral("platformpluginpath"),
                      QStringLiteral("platformtheme"), QStringLiteral("plugin"),
                      QStringLiteral("style"), QStringLiteral("stylesheet"),
                      QStringLiteral("display"), QStringLiteral("name"), QStringLiteral("geometry"),
                      QStringLiteral("qwindowgeometry"), QStringLiteral("qwindowtitle"),
                      QStringLiteral("qwindowicon"), QStringLiteral("session")},
                     QStringLiteral("value"));
    addHiddenOptions(parser,
                     {QStringLiteral("reverse"), QStringLiteral("widgetcount"),
                      QStringLiteral("nograb"), QStringLiteral("dograb")},
                     QString());
}

// Empty when the arguments were understood.
QString mistakeIn(QCommandLineParser &parser)
{
    const bool understood = parser.parse(QCoreApplication::arguments());
    const QStringList unknown = parser.unknownOptionNames();
    if (!unknown.isEmpty()) {
        return QStringLiteral("未知选项：%1").arg(unknown.first());
    }
    if (!understood) {
        return parser.errorText();
    }
    const QStringList surplus = parser.positionalArguments();
    return surplus.isEmpty() ? QString() : QStringLiteral("多余的参数：%1").arg(surplus.first());
}

} // namespace

Arguments answerArguments(int argc, char *argv[])
{
    if (argc <= 1) {
        return {};
    }
    // Only for the parser: it needs an application object, but neither display nor settings.
    const QCoreApplication parserApplication(argc, argv);
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setApplicationDescription(QStringLiteral("青柚云盘：阿里云盘文件管理与视频播放"));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("显示这段说明"));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("显示版本"));
    const QCommandLineOption quiet(
        QStringLiteral("quiet"),
        QStringLiteral("不输出诊断信息（桌面菜单项如此启动）。不加此选项时，诊断信息写到标准错误，"
                       "其中含有令牌、签名地址、服务器回复和手机号，请勿公开"));
    const QCommandLineOption newInstance(
        QStringLiteral("new-instance"),
        QStringLiteral("另开一个程序。不加此选项时，已在运行的青柚会来到前面，新程序随即结束"));
    parser.addOptions({help, version, quiet, newInstance});
    addToolkitOptions(parser);
    const QString mistake = mistakeIn(parser);
    if (!mistake.isEmpty()) {
        print(stderr, QStringLiteral("moravu: %1（参见 --help）\n").arg(mistake));
        return {2};
    }
    if (parser.isSet(quiet)) {
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    }
    if (!parser.isSet(help) && !parser.isSet(version)) {
        return {std::nullopt, parser.isSet(newInstance)};
    }
    const QString versionLine = QStringLiteral("moravu %1\n").arg(QStringLiteral(MORAVU_VERSION));
    print(stdout, parser.isSet(help) ? parser.helpText() : versionLine);
    return {0};
}
