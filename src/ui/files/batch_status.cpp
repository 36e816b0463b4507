#include "ui/files/batch_status.h"

#include <chrono>

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

#include "ui/files/failed_files_dialog.h"

namespace {

constexpr std::chrono::seconds ResultTime(5);
// A second click that belongs to the first must not give up what is on the wire, nor cancel the
// batch that is shown next.
constexpr std::chrono::seconds CancelPause(1);
constexpr int Gap = 4;

struct OperationTexts
{
    FileOperation operation;
    QString running;
    QString done;
};

const OperationTexts &textsOf(FileOperation operation)
{
    static const QVector<OperationTexts> texts{
        {FileOperation::Trash, QStringLiteral("正在删除到回收站"),
         QStringLiteral("已删除到回收站")},
        {FileOperation::Delete, QStringLiteral("正在彻底删除"), QStringLiteral("已彻底删除")},
        {FileOperation::Move, QStringLiteral("正在移动"), QStringLiteral("已移动")}};
    return *std::find_if(texts.begin(), texts.end(), [operation](const OperationTexts &entry) {
        return entry.operation == operation;
    });
}

QString progressText(const FileBatch &batch, int others)
{
    const QString text = batch.cancelled
                             ? QStringLiteral("正在停止…  %1 / %2")
                             : textsOf(batch.order.operation).running + QStringLiteral("  %1 / %2");
    const QString line = text.arg(batch.answered()).arg(batch.total());
    return others > 0 ? line + QStringLiteral("，另有 %1 批").arg(others) : line;
}

QString resultText(const FileBatch &batch)
{
    QString text =
        QStringLiteral("%1 %2 个").arg(textsOf(batch.order.operation).done).arg(batch.done);
    if (!batch.failed.isEmpty()) {
        text += QStringLiteral("，%1 个失败").arg(batch.failed.size());
    }
    if (batch.skipped > 0) {
        text += QStringLiteral("，%1 个未处理").arg(batch.skipped);
    }
    return text;
}

} // namespace

BatchStatus::BatchStatus(FileBatches *batches, QWidget *parent)
    : QWidget(parent), m_batches(batches)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Gap);
    m_text = new QLabel(this);
    m_text->setTextFormat(Qt::PlainText);
    layout->addWidget(m_text);
    m_cancel = addButton(QStringLiteral("取消"), QStringLiteral("btnCancelBatch"));
    m_details = addButton(QStringLiteral("查看"), QStringLiteral("btnFailedFiles"));
    m_close = addButton(QStringLiteral("知道了"), QStringLiteral("btnCloseBatch"));
    m_hide.setSingleShot(true);
    m_hide.setInterval(ResultTime);
    hide();
    connect(&m_hide, &QTimer::timeout, this, &QWidget::hide);
    m_cancelPause.setSingleShot(true);
    m_cancelPause.setInterval(CancelPause);
    connect(&m_cancelPause, &QTimer::timeout, m_cancel, [this] { m_cancel->setEnabled(true); });
    connect(m_cancel, &QAbstractButton::clicked, this, [this] { m_batches->cancel(m_shown); });
    connect(m_details, &QAbstractButton::clicked, this, &BatchStatus::showFailures);
    connect(m_close, &QAbstractButton::clicked, this,
            [this] { settle(hasFailures() ? m_unseen.last().number : 0); });
    connect(batches, &FileBatches::progressed, this, &BatchStatus::showState);
    connect(batches, &FileBatches::finished, this, &BatchStatus::onFinished);
}

QAbstractButton *BatchStatus::addButton(const QString &text, const QString &name)
{
    auto *button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setAutoRaise(true);
    layout()->addWidget(button);
    return button;
}

QString BatchStatus::text() const
{
    return isHidden() ? QString() : m_text->text();
}

void BatchStatus::onFinished(const FileBatch &batch)
{
    if (!batch.failed.isEmpty()) {
        m_unseen << batch;
    } else if (m_unseen.isEmpty() && !m_batches->hasPending()) {
        showLine(resultText(batch), false, false);
        m_hide.start();
        return;
    }
    showState();
}

void BatchStatus::showState()
{
    const QList<FileBatch> running = m_batches->running();
    if (!running.isEmpty()) {
        m_shown = running.first().number;
        showLine(progressText(running.first(), running.size() - 1), true, false);
        showCancelling(running.first().cancelled);
    } else if (!m_unseen.isEmpty()) {
        showLine(resultText(m_unseen.last()), false, true);
    } else {
        hide();
    }
}

void BatchStatus::showLine(const QString &text, bool runs, bool hasFailures)
{
    m_hide.stop();
    m_text->setText(text);
    m_cancel->setVisible(runs);
    m_details->setVisible(hasFailures);
    m_close->setVisible(hasFailures);
    show();
}

// The button offers what the next press does.
void BatchStatus::showCancelling(bool isCancelled)
{
    const QString text = isCancelled ? QStringLiteral("不再等待") : QStringLiteral("取消");
    if (m_cancel->text() == text) {
        return;
    }
    m_cancel->setText(text);
    m_cancel->setEnabled(false);
    m_cancelPause.start();
}

void BatchStatus::showFailures()
{
    if (m_failures) {
        m_failures->raise();
        m_failures->activateWindow();
        return;
    }
    if (m_unseen.isEmpty()) {
        return;
    }
    const FileBatch batch = m_unseen.last();
    m_failures = new FailedFilesDialog(resultText(batch), batch.failed);
    m_failures->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_failures, &QDialog::accepted, this, [this, batch] {
        settle(batch.number);
        m_batches->start(batch.again());
    });
    m_failures->open();
}

void BatchStatus::settle(int number)
{
    m_unseen.erase(
        std::remove_if(m_unseen.begin(), m_unseen.end(),
                       [number](const FileBatch &batch) { return batch.number == number; }),
        m_unseen.end());
    showState();
}
