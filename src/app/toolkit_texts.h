#pragma once

#include <QTranslator>

// Chinese for those texts of Qt's own that users meet: the buttons of boxes, the menus of text
// fields and scroll bars, the names of the buttons of tab bars, and the description of a file whose
// type is unknown; and for the names of the title bar's buttons. All other texts are the program's.
class ToolkitTexts final : public QTranslator
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ToolkitTexts)

public:
    explicit ToolkitTexts(QObject *parent = nullptr);

    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char *context, const char *sourceText,
                                    const char *disambiguation = nullptr,
                                    int number = -1) const override;
};
