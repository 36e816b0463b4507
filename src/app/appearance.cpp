#include "app/appearance.h"

#include <memory>

#include <QApplication>
#include <QFile>
#include <QLocale>
#include <QPixmap>
#include <QSplashScreen>
#include <QTranslator>

void loadStyleSheet()
{
    QFile skin(QStringLiteral(":/skin/qss/Ubuntu.qss"));
    if (!skin.open(QIODevice::ReadOnly)) {
        return;
    }
    // Ends at the first NUL byte.
    qApp->setStyleSheet(QString::fromUtf8(skin.readAll().constData()));
    skin.close();
}

void loadTranslation()
{
    auto translator = std::make_unique<QTranslator>();
    const QStringList languages = QLocale::system().uiLanguages();
    for (const QString &language : languages) {
        const QString baseName = QStringLiteral("MoravuPC_") + QLocale(language).name();
        if (!translator->load(baseName, QStringLiteral(":/i18n/"))) {
            continue;
        }
        translator->setParent(QCoreApplication::instance());
        QCoreApplication::installTranslator(translator.release());
        return;
    }
}

void showSplash()
{
    QSplashScreen splash(QPixmap(QStringLiteral("Qt.png")));
    splash.show();
    QCoreApplication::processEvents();
}
