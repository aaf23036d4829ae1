#include "TrayItem.h"

#include "app/AppModel.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "model/Fmt.h"
#include "theme/Icons.h"

#include <QAction>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QLocale>
#include <QMenu>
#include <QSystemTrayIcon>

namespace fennic {

TrayItem::TrayItem(AppModel& app, QObject* parent) : QObject(parent), m_app(app), m_menu(std::make_unique<QMenu>())
{
    m_menu->setAccessibleName(QStringLiteral("Fennic"));
    const QPalette palette = m_menu->palette();
    m_quickSearch =
        m_menu->addAction(Icons::themed(QStringLiteral("system-search"), palette), QStringLiteral("Quick Search"));
    m_open = m_menu->addAction(QStringLiteral("Open Fennic"));
    m_menu->addSeparator();
    m_scan = m_menu->addAction(Icons::themed(QStringLiteral("view-refresh"), palette), QStringLiteral("Scan Now"));
    m_pause = m_menu->addAction(QString());
    m_menu->addSeparator();
    m_status = m_menu->addAction(QString());
    m_status->setEnabled(false);
    m_menu->addSeparator();
    m_quit = m_menu->addAction(Icons::themed(QStringLiteral("application-exit"), palette), QStringLiteral("Quit"));
    m_quit->setMenuRole(QAction::QuitRole);

    connect(m_quickSearch, &QAction::triggered, this, &TrayItem::quickSearchRequested);
    connect(m_open, &QAction::triggered, this, &TrayItem::openRequested);
    connect(m_scan, &QAction::triggered, this, [this] { m_app.library().scan(); });
    connect(m_pause, &QAction::triggered, this,
            [this] { m_app.images().setImageIndexPaused(!m_app.images().imageIndexPaused()); });
    connect(m_quit, &QAction::triggered, this, [] { QCoreApplication::quit(); });

    LibraryModel& library = m_app.library();
    ImageIndexer& images = m_app.images();
    for (auto signal :
         {&LibraryModel::isScanningChanged, &LibraryModel::scannedCountChanged, &LibraryModel::statsChanged})
        connect(&library, signal, this, &TrayItem::refresh);
    for (auto signal : {&ImageIndexer::ocrProgressChanged, &ImageIndexer::imageIndexPausedChanged,
                        &ImageIndexer::imageIndexingFinished})
        connect(&images, signal, this, &TrayItem::refresh);
    refresh();

    if (!available()) return;
    m_icon = new QSystemTrayIcon(this);
    QIcon icon = QIcon::fromTheme(QStringLiteral("fennic"));
    if (icon.isNull()) icon = QGuiApplication::windowIcon();
    if (icon.isNull()) icon = Icons::themed(QStringLiteral("system-search"), palette);
    m_icon->setIcon(icon);
    m_icon->setToolTip(QStringLiteral("Fennic"));
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) Q_EMIT openRequested();
    });
    m_icon->show();
}

TrayItem::~TrayItem()
{
    // The icon refers to the menu; it goes first.
    delete m_icon;
}

bool TrayItem::available() { return QSystemTrayIcon::isSystemTrayAvailable(); }

void TrayItem::refresh()
{
    const LibraryModel& library = m_app.library();
    const ImageIndexer& images = m_app.images();
    const bool paused = images.imageIndexPaused();
    m_pause->setText(paused ? QStringLiteral("Resume Image Reading") : QStringLiteral("Pause Image Reading"));
    m_scan->setEnabled(!library.isScanning());

    const auto [done, total] = images.ocrProgress();
    const QLocale locale;
    QString status;
    if (library.isScanning())
        status = QStringLiteral("Scanning… ") + Fmt::count(library.scannedCount(), QStringLiteral("file"));
    else if (!paused && images.isIndexingImages() && total > 0 && done < total)
        status = QStringLiteral("Reading pictures… %1 of %2").arg(locale.toString(done), locale.toString(total));
    else
        status = QStringLiteral("Library: ") + Fmt::count(library.stats().totalCount, QStringLiteral("file"));
    m_status->setText(status);
    if (m_icon) m_icon->setToolTip(QStringLiteral("Fennic — ") + status);
}

}  // namespace fennic
