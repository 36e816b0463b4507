#include <QDir>
#include <QListView>
#include <QPainter>
#include <QStandardItemModel>
#include <QTest>

#include "ui/widgets/mu_item_delegate.h"
#include "ui/widgets/waiting_spinner_widget.h"

namespace {

// What the delegate paints into a row of 200 x 50 pixels on white.
QImage painted(const QModelIndex &index, QStyle::State state)
{
    QImage image(200, 50, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.state = state;
    MuItemDelegate().paint(&painter, option, index);
    return image;
}

} // namespace

class TestSpinnerAndRows final : public QObject
{
    Q_OBJECT

private slots:
    void spinsWhileStarted();
    void staysInTheMiddle();
    void paintsTheRowsState_data();
    void paintsTheRowsState();
    void placesIconAndText();
    void aRowWithoutDataIsEmpty();
};

void TestSpinnerAndRows::spinsWhileStarted()
{
    QWidget window;
    window.resize(200, 200);
    window.show();
    WaitingSpinnerWidget spinner(&window);
    QVERIFY(!spinner.isVisible());
    spinner.start();
    QVERIFY(spinner.isVisible());
    const int before = spinner.currentDot();
    QTRY_VERIFY(spinner.currentDot() != before);
    const QImage first = spinner.grab().toImage();
    spinner.rotate();
    QVERIFY(spinner.grab().toImage() != first);
    spinner.stop();
    QVERIFY(!spinner.isVisible());
    const int stopped = spinner.currentDot();
    QTest::qWait(200);
    QCOMPARE(spinner.currentDot(), stopped);
}

void TestSpinnerAndRows::staysInTheMiddle()
{
    QWidget window;
    window.resize(200, 200);
    window.show();
    WaitingSpinnerWidget spinner(&window);
    spinner.start();
    for (const QSize size : {QSize(200, 200), QSize(400, 100)}) {
        window.resize(size);
        QCoreApplication::processEvents();
        QCOMPARE(spinner.geometry().center(), window.rect().center());
    }
}

void TestSpinnerAndRows::paintsTheRowsState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("at rest") << int(QStyle::State_Enabled) << QColor(Qt::white);
    QTest::newRow("under the mouse")
        << int(QStyle::State_MouseOver) << QColor(QStringLiteral("#ebeced"));
    QTest::newRow("selected") << int(QStyle::State_Selected) << QColor(QStringLiteral("#e3e3e5"));
}

void TestSpinnerAndRows::paintsTheRowsState()
{
    QFETCH(int, state);
    QStandardItemModel model(1, 1);
    model.setData(model.index(0, 0), QVariant::fromValue(MuItemData{QString(), QString()}),
                  MuItemDelegate::DataRole);
    const QImage image = painted(model.index(0, 0), QStyle::State(state));
    QTEST(image.pixelColor(180, 25), "colour");
}

void TestSpinnerAndRows::placesIconAndText()
{
    QImage icon(40, 40, QImage::Format_RGB32);
    icon.fill(Qt::red);
    const QString path = QDir::temp().filePath(QStringLiteral("tst_row_icon.png"));
    QVERIFY(icon.save(path));
    QStandardItemModel model(1, 1);
    model.setData(model.index(0, 0),
                  QVariant::fromValue(MuItemData{path, QString(3, QChar(0x2588))}),
                  MuItemDelegate::DataRole);
    const QImage image = painted(model.index(0, 0), QStyle::State_Enabled);
    QFile::remove(path);
    QRect red;
    int textLeft = -1;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            const QColor colour = image.pixelColor(x, y);
            if (colour == QColor(Qt::red))
                red |= QRect(x, y, 1, 1);
            else if (textLeft < 0 && colour.lightness() < 100)
                textLeft = x;
        }
    }
    QCOMPARE(red, QRect(5, 5, 40, 40));
    QVERIFY2(textLeft >= 54 && textLeft <= 58, qPrintable(QString::number(textLeft)));
}

void TestSpinnerAndRows::aRowWithoutDataIsEmpty()
{
    QStandardItemModel model(1, 1);
    QImage white(200, 50, QImage::Format_RGB32);
    white.fill(Qt::white);
    QCOMPARE(painted(model.index(0, 0), QStyle::State_Selected), white);
}

QTEST_MAIN(TestSpinnerAndRows)
#include "tst_spinner_and_rows.moc"
