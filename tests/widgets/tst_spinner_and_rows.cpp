#include <QPainter>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include "support/test_main.h"
#include "ui/widgets/mu_item_delegate.h"
#include "ui/widgets/notice.h"
#include "ui/widgets/row_table.h"
#include "ui/widgets/waiting_spinner_widget.h"
#include "ui/widgets/watch_signs.h"

namespace {

// What the delegate paints into a row of 200 x 50 pixels on white.
QImage painted(const QVariant &data, QStyle::State state)
{
    QStandardItemModel model(1, 1);
    model.setData(model.index(0, 0), data, MuItemDelegate::DataRole);
    QImage image(200, 50, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.state = state;
    MuItemDelegate().paint(&painter, option, model.index(0, 0));
    return image;
}

} // namespace

class TestSpinnerAndRows final : public QObject
{
    Q_OBJECT

private slots:
    void spinsInTheMiddleWhileStarted()
    {
        QWidget window;
        window.show();
        WaitingSpinnerWidget spinner(&window);
        QVERIFY(!spinner.isVisible());
        spinner.start();
        QVERIFY(spinner.isVisible());
        QCOMPARE(spinner.currentDot(), 0);
        QCOMPARE(spinner.geometry().center(), window.rect().center());
        window.resize(400, 100);
        QTRY_COMPARE(spinner.geometry().center(), window.rect().center());
        QTRY_VERIFY(spinner.currentDot() != 0);
        const QImage first = spinner.grab().toImage();
        spinner.rotate();
        QVERIFY(spinner.grab().toImage() != first);
        spinner.stop();
        QVERIFY(!spinner.isVisible() && !spinner.isSpinning());
    }

    void paintsTheRowsState_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("at rest") << int(QStyle::State_Enabled) << QColor(Qt::white);
        QTest::newRow("under the mouse") << int(QStyle::State_MouseOver) << QColor("#ebeced");
        QTest::newRow("selected") << int(QStyle::State_Selected) << QColor("#e3e3e5");
    }
    void paintsTheRowsState()
    {
        QFETCH(int, state);
        const QImage image = painted(QVariant::fromValue(MuItemData()), QStyle::State(state));
        QTEST(image.pixelColor(180, 25), "colour");
    }

    void placesIconAndText()
    {
        QImage icon(40, 40, QImage::Format_RGB32);
        icon.fill(Qt::red);
        const QTemporaryDir folder;
        const QString path = folder.filePath("icon.png");
        QVERIFY(icon.save(path));
        const QImage image =
            painted(QVariant::fromValue(MuItemData{path, QString(3, u'█')}), QStyle::State_Enabled);
        QRect red;
        int textLeft = image.width();
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                const QColor colour = image.pixelColor(x, y);
                if (colour == QColor(Qt::red)) {
                    red |= QRect(x, y, 1, 1);
                } else if (colour.lightness() < 100) {
                    textLeft = qMin(textLeft, x);
                }
            }
        }
        QCOMPARE(red, QRect(5, 5, 40, 40));
        QVERIFY2(qAbs(textLeft - 56) <= 2, qPrintable(QString::number(textLeft)));
    }

    // In the middle, and paler than the rows would be.
    void paintsANotice()
    {
        QImage image(400, 300, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPixmap icon(48, 48);
        icon.fill(Qt::red);
        const QTemporaryDir folder;
        QVERIFY(icon.save(folder.filePath("icon.png")));
        QPainter painter(&image);
        QFont font;
        font.setStyleStrategy(QFont::NoAntialias);
        painter.setFont(font);
        paintNotice(painter, image.rect(), {QString("##"), folder.filePath("icon.png")});
        painter.end();
        QMap<int, QRect> places; // by how green they are
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                places[qGreen(image.pixel(x, y))] |= QRect(x, y, 1, 1);
            }
        }
        QCOMPARE(places.size(), 3); // with the ground
        const auto text = places.cbegin();
        const auto middle = text + 1;
        QVERIFY(qAbs(text.key() - 89) <= 2 && qAbs(middle.key() - 166) <= 2);
        QCOMPARE(*middle, QRect(175, middle->top(), 48, 48));
        QVERIFY(text->top() > middle->bottom() && qAbs(text->center().x() - 199) <= 2);
    }

    void paintsHowFarAVideoWasWatched()
    {
        QImage image(100, 60, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        const SignColours colours{Qt::red, Qt::blue};
        paintProgress(painter, QRectF(0, 0, 100, 20), 60, colours);
        paintTick(painter, QPoint(50, 40), colours);
        painter.end();
        const auto at = [&image](int x, int y) { return image.pixelColor(x, y).name(); };
        QCOMPARE(at(40, 10) + at(80, 10), QString("#ff0000#ffbfbf")); // done, and the groove
        QCOMPARE(at(50, 36) + at(49, 42), QString("#ff0000#0000ff")); // the disc and its tick
        QCOMPARE(at(50, 50) + at(0, 0), QString("#ffffff#ffffff"));   // a bar has round ends
    }

    // Turned, the name would read as that of a picture.
    void aNameThatTurnsTheReadingIsMarked()
    {
        RowTable table;
        table.setColumnCount(1);
        for (const char *name : {"a\u202Egpj.exe", "a\uFFFDgpj.exe"}) {
            table.insertRow(table.rowCount());
            table.setItem(table.rowCount() - 1, 0, new QTableWidgetItem(name));
        }
        table.show();
        const auto row = [&table](int number) {
            return table.viewport()->grab(table.visualRect(table.model()->index(number, 0)));
        };
        QCOMPARE(row(0).toImage(), row(1).toImage());
    }

    void theRowUnderThePointerIsLitToItsEnd()
    {
        RowTable table;
        table.setStyleSheet("QTableView { background: white; } ::item:hover { background: red; }");
        table.setColumnCount(1);
        table.setRowCount(2);
        table.resize(400, 200);
        table.show();
        QVERIFY(QTest::qWaitForWindowExposed(&table));
        const auto ends = [&table] {
            const QImage image = table.viewport()->grab().toImage();
            const auto end = [&](int row) {
                return image.pixelColor(350, table.rowViewportPosition(row) + 10).name();
            };
            return end(0) + end(1);
        };
        const auto hover = [&table](QEvent::Type type, const QPoint &to) {
            QHoverEvent event(type, to, QPoint(1, 1));
            QApplication::sendEvent(table.viewport(), &event);
        };
        QCOMPARE(ends(), "#ffffff#ffffff");
        hover(QEvent::HoverMove, {5, table.rowViewportPosition(1) + 10});
        QCOMPARE(ends(), "#ffffff#ff0000");
        hover(QEvent::HoverMove, {350, table.rowViewportPosition(0) + 10});
        QCOMPARE(ends(), "#ff0000#ffffff");
        hover(QEvent::HoverLeave, {-1, -1});
        QCOMPARE(ends(), "#ffffff#ffffff");
    }

    void aRowWithoutDataIsEmpty()
    {
        QImage white(200, 50, QImage::Format_RGB32);
        white.fill(Qt::white);
        QCOMPARE(painted({}, QStyle::State_Selected), white);
    }
};

MORAVU_TEST(TestSpinnerAndRows)
#include "tst_spinner_and_rows.moc"
