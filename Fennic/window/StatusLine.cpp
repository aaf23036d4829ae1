#include "StatusLine.h"

#include "app/AppModel.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "model/Fmt.h"
#include "theme/Icons.h"
#include "theme/Labels.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QToolButton>

namespace fennic {

StatusLine::StatusLine(AppModel& app, QWidget* parent)
    : QWidget(parent),
      m_app(app),
      m_total(new QLabel(this)),
      m_scan(new QLabel(this)),
      m_reading(new QLabel(this)),
      m_readingBar(new QProgressBar(this)),
      m_pause(new QToolButton(this))
{
    setAccessibleName(QStringLiteral("Status"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 0, 8, 0);
    row->setSpacing(12);
    row->addWidget(m_total);
    row->addWidget(m_scan);
    row->addStretch(1);
    row->addWidget(m_reading);
    row->addWidget(m_readingBar);
    row->addWidget(m_pause);
    m_total->setAccessibleName(QStringLiteral("Library"));
    m_scan->setAccessibleName(QStringLiteral("Scan"));
    m_reading->setAccessibleName(QStringLiteral("Image reading"));
    m_readingBar->setAccessibleName(QStringLiteral("Image reading progress"));
    m_readingBar->setFixedWidth(120);
    m_readingBar->setTextVisible(false);
    m_readingBar->setMaximumHeight(10);
    m_pause->setAutoRaise(true);
    m_pause->setFocusPolicy(Qt::TabFocus);
    connect(m_pause, &QToolButton::clicked, this,
            [this] { m_app.images().setImageIndexPaused(!m_app.images().imageIndexPaused()); });

    LibraryModel& library = m_app.library();
    ImageIndexer& images = m_app.images();
    for (auto signal : {&LibraryModel::statsChanged, &LibraryModel::isScanningChanged})
        connect(&library, signal, this, &StatusLine::refresh);
    connect(&images, &ImageIndexer::imageIndexPausedChanged, this, &StatusLine::refresh);
    m_progressTimer.setObjectName(QStringLiteral("StatusLine progress"));
    m_progressTimer.setSingleShot(true);
    m_progressTimer.setInterval(150);
    connect(&m_progressTimer, &QTimer::timeout, this, &StatusLine::refresh);
    auto progressed = [this] {
        if (!m_progressTimer.isActive()) m_progressTimer.start();
    };
    connect(&library, &LibraryModel::scannedCountChanged, this, progressed);
    connect(&images, &ImageIndexer::ocrProgressChanged, this, progressed);
    refresh();
}

void StatusLine::refresh()
{
    const LibraryModel& library = m_app.library();
    const LibraryStats& stats = library.stats();
    m_total->setText(Fmt::count(stats.totalCount, QStringLiteral("file"))
                                + QStringLiteral(" · ") + Fmt::size(stats.totalSize));
    m_scan->setVisible(library.isScanning());
    setSteadyText(m_scan, QStringLiteral("Scanning… ") + Fmt::count(library.scannedCount(), QStringLiteral("file")));

    const ImageIndexer& images = m_app.images();
    const auto [done, total] = images.ocrProgress();
    const bool reading = images.isIndexingImages() && total > 0 && done < total;
    const bool paused = images.imageIndexPaused();
    m_reading->setVisible(reading || paused);
    m_readingBar->setVisible(reading);
    m_pause->setVisible(reading || paused);
    setSteadyText(m_reading,
                  paused ? QStringLiteral("Image reading paused")
                         : QStringLiteral("Reading pictures… %1 of %2") .arg(QLocale().toString(done),
                                                                             QLocale().toString(total)));
    m_readingBar->setRange(0, std::max(total, 1));
    m_readingBar->setValue(done);
    if (m_pauseIconFor != int(paused)) {
        m_pauseIconFor = int(paused);
        m_pause->setIcon(Icons::themed(paused ? QStringLiteral("media-playback-start")
                                              : QStringLiteral("media-playback-pause"), palette()));
    }
    const QString pauseName = paused ? QStringLiteral("Resume image reading") : QStringLiteral("Pause image reading");
    setHint(m_pause, pauseName);
    setSpokenName(m_pause, pauseName);
}

void StatusLine::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        m_pauseIconFor = -1;  // tinted for the old palette
        refresh();
    }
}

void StatusLine::setSteadyText(QLabel* label, const QString& text)
{
    if (label->text() == text) return;
    // A count that grows by a digit keeps the label's size: when it must grow, it takes room
    // for a few more digits than it needs.
    const QFontMetrics metrics = label->fontMetrics();
    const int width = metrics.horizontalAdvance(text);
    const bool fixed = label->minimumSize() == label->maximumSize();
    if (!fixed || label->maximumWidth() < width)
        label->setFixedSize(width + metrics.horizontalAdvance(QStringLiteral("0000")), label->sizeHint().height());
    label->setText(text);
}

QString StatusLine::summary() const
{
    QStringList parts{m_total->text()};
    if (!m_scan->isHidden()) parts << m_scan->text();
    if (!m_reading->isHidden()) parts << m_reading->text();
    return parts.join(QStringLiteral(" · "));
}

}  // namespace fennic
