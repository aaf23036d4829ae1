#include "LibrarySettings.h"

#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "theme/Icons.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace fennic {

namespace {
constexpr int kPathRole = Qt::UserRole;
constexpr int kDefaultRole = Qt::UserRole + 1;
}  // namespace

LibrarySettings::LibrarySettings(AppModel& app, QWidget* parent)
    : SettingsSection(QStringLiteral("Library"), parent), m_app(app), m_folders(new QListWidget(this)),
                      m_add(new QPushButton(QStringLiteral("Add…"), this)),
                            m_remove(new QPushButton(QStringLiteral("Remove"), this)),
                                     m_pin(new QPushButton(QStringLiteral("Pin"), this)),
                                           m_scanNow(new QPushButton(QStringLiteral("Scan Now"), this)),
                                                     m_scanLine(new QLabel(this)), m_scanBar(new QProgressBar(this)),
                                                     m_clock(new QTimer(this))
{
    QVBoxLayout* folders = addGroup(QStringLiteral("Folders"));
    addNote(folders,
            QStringLiteral("Fennic gathers the files in these folders. Pinned folders also show in the "
                                    "sidebar."));
    m_folders->setAccessibleName(QStringLiteral("Library folders"));
    m_folders->setSelectionMode(QAbstractItemView::SingleSelection);
    m_folders->setMinimumHeight(200);
    m_folders->setUniformItemSizes(true);
    folders->addWidget(m_folders);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    buttons->addWidget(m_pin);
    buttons->addStretch(1);
    folders->addLayout(buttons);
    m_add->setAccessibleName(QStringLiteral("Add a folder to the library"));
    m_remove->setAccessibleName(QStringLiteral("Remove the folder from the library"));
    m_pin->setAccessibleName(QStringLiteral("Pin the folder to the sidebar"));

    QVBoxLayout* scanning = addGroup(QStringLiteral("Scanning"));
    auto* scanRow = new QHBoxLayout;
    scanRow->addWidget(m_scanNow);
    scanRow->addWidget(m_scanLine, 1);
    scanning->addLayout(scanRow);
    scanning->addWidget(m_scanBar);
    m_scanNow->setAccessibleName(QStringLiteral("Scan Now"));
    m_scanLine->setAccessibleName(QStringLiteral("Last scan"));
    m_scanBar->setAccessibleName(QStringLiteral("Scan progress"));
    // A scan doesn't know how many files it will find: the bar only shows that it is working.
    m_scanBar->setRange(0, 0);
    m_scanBar->setTextVisible(false);
    m_scanBar->setMaximumHeight(8);
    finish();

    connect(m_add, &QPushButton::clicked, this, &LibrarySettings::chooseFolder);
    connect(m_remove, &QPushButton::clicked, this, [this] {
        const QString folder = selectedFolder();
        if (!folder.isEmpty()) m_app.library().removeFolder(folder);
    });
    connect(m_pin, &QPushButton::clicked, this, [this] {
        const QString folder = selectedFolder();
        if (!folder.isEmpty()) m_app.library().pin(folder);
    });
    connect(m_scanNow, &QPushButton::clicked, this, [this] { m_app.library().scan(); });
    connect(m_folders, &QListWidget::currentItemChanged, this, &LibrarySettings::refreshButtons);

    LibraryModel& library = m_app.library();
    connect(&library, &LibraryModel::extraRootsChanged, this, &LibrarySettings::refreshFolders);
    connect(&library, &LibraryModel::pinnedFoldersChanged, this, &LibrarySettings::refreshFolders);
    for (auto signal :
         {&LibraryModel::isScanningChanged, &LibraryModel::scannedCountChanged, &LibraryModel::lastScanChanged})
        connect(&library, signal, this, &LibrarySettings::refreshScan);
    m_clock->setInterval(30000);
    connect(m_clock, &QTimer::timeout, this, &LibrarySettings::refreshScan);

    refreshFolders();
    refreshScan();
}

void LibrarySettings::addFolder(const QString& folder)
{
    if (!folder.isEmpty()) m_app.library().addFolder(folder);
}

void LibrarySettings::chooseFolder()
{
    // Opened without waiting, so the window and the rest of Fennic keep running meanwhile.
    auto* dialog = new QFileDialog(window(), QStringLiteral("Add a Folder to the Library"), Library::home());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Add"));
    connect(dialog, &QFileDialog::fileSelected, this, &LibrarySettings::addFolder);
    dialog->open();
}

void LibrarySettings::refreshFolders()
{
    const QString keep = selectedFolder();
    const LibraryModel& library = m_app.library();
    const QStringList defaults = Library::defaultRoots();
    const QStringList& pinned = library.pinnedFolders();
    m_folders->clear();
    for (const QString& path : library.roots()) {
        const bool isDefault = defaults.contains(path);
        QStringList marks;
        if (isDefault) marks << QStringLiteral("default");
        if (pinned.contains(path)) marks << QStringLiteral("pinned");
        QString text = Library::abbreviate(path);
        if (!marks.isEmpty()) text += QStringLiteral("  ·  ") + marks.join(QStringLiteral(", "));
        auto* item = new QListWidgetItem(Icons::themed(QStringLiteral("folder"), palette()), text, m_folders);
        item->setData(kPathRole, path);
        item->setData(kDefaultRole, isDefault);
        item->setData(Qt::AccessibleTextRole, text);
        item->setToolTip(path);
        if (path == keep) m_folders->setCurrentItem(item);
    }
    // Pinned folders outside the library can still be unpinned here.
    for (const QString& path : pinned) {
        if (library.roots().contains(path)) continue;
        const QString text = Library::abbreviate(path) + QStringLiteral("  ·  pinned");
        auto* item = new QListWidgetItem(Icons::themed(QStringLiteral("folder"), palette()), text, m_folders);
        item->setData(kPathRole, path);
        item->setData(kDefaultRole, true);  // not a library folder: nothing to remove
        item->setData(Qt::AccessibleTextRole, text);
        item->setToolTip(path);
        if (path == keep) m_folders->setCurrentItem(item);
    }
    refreshButtons();
}

void LibrarySettings::refreshButtons()
{
    const QListWidgetItem* item = m_folders->currentItem();
    const bool removable = item && !item->data(kDefaultRole).toBool();
    m_remove->setEnabled(removable);
    const bool pinned = item && m_app.library().pinnedFolders().contains(item->data(kPathRole).toString());
    m_pin->setEnabled(item != nullptr);
    m_pin->setText(pinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"));
    m_pin->setAccessibleName(pinned ? QStringLiteral("Unpin the folder from the sidebar")
                                    : QStringLiteral("Pin the folder to the sidebar"));
}

void LibrarySettings::refreshScan()
{
    const LibraryModel& library = m_app.library();
    const bool scanning = library.isScanning();
    m_scanBar->setVisible(scanning);
    m_scanNow->setEnabled(!scanning);
    QString line;
    if (scanning)
        line = QStringLiteral("Scanning… ") + Fmt::count(library.scannedCount(), QStringLiteral("file"));
    else if (const auto last = library.lastScan())
        line = QStringLiteral("Last scanned ") + Fmt::relative(*last, m_app.environment().now());
    else
        line = QStringLiteral("Not scanned yet");
    m_scanLine->setText(line);
    m_scanLine->setAccessibleDescription(line);
}

QString LibrarySettings::selectedFolder() const
{
    const QListWidgetItem* item = m_folders->currentItem();
    return item ? item->data(kPathRole).toString() : QString();
}

void LibrarySettings::showEvent(QShowEvent* event)
{
    SettingsSection::showEvent(event);
    refreshScan();
    m_clock->start();
}

void LibrarySettings::hideEvent(QHideEvent* event)
{
    m_clock->stop();
    SettingsSection::hideEvent(event);
}

}  // namespace fennic
