#pragma once

#include "quick/Shortcut.h"
#include "search/SavedSearch.h"
#include "search/SortKey.h"

#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QStringView>
#include <memory>
#include <optional>

namespace fennic {

// The look of the interface.
enum class Theme : quint8 {
    playful,
    minimal
};
// Which folders' pictures image indexing reads.
enum class ImageFolderMode : quint8 {
    all,
    chosen
};

namespace Themes {
QString rawValue(Theme theme);  // "playful", "minimal"
std::optional<Theme> fromRawValue(QStringView raw);
}  // namespace Themes

namespace ImageFolderModes {
QString rawValue(ImageFolderMode mode);  // "all", "chosen"
std::optional<ImageFolderMode> fromRawValue(QStringView raw);
}  // namespace ImageFolderModes

// The user's settings, typed: the one place that knows each key, its type and its default.
// Every value is read once at construction and written through at once when it changes; a
// stored value that can't be read (an unknown mode, a damaged shortcut) counts as absent.
// Raw strings exist only here, at the boundary with the settings file.
//
// Each setter announces a real change with its signal and does nothing else: the
// collaborators that act on a setting (a new sort order, text reading switched on) listen to
// these signals, so a view may change a setting here directly.
//
// Threads: GUI thread only. Writes go to QSettings, which keeps them in memory and writes the
// file later on its own.
class AppSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(fennic::ViewMode viewMode READ viewMode WRITE setViewMode NOTIFY viewModeChanged)
    Q_PROPERTY(fennic::SortKey sortKey READ sortKey WRITE setSortKey NOTIFY sortKeyChanged)
    Q_PROPERTY(bool sortAscending READ sortAscending WRITE setSortAscending NOTIFY sortAscendingChanged)
    Q_PROPERTY(double cardSize READ cardSize WRITE setCardSize NOTIFY cardSizeChanged)
    Q_PROPERTY(fennic::Theme theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(bool autoCleanInstallers READ autoCleanInstallers WRITE setAutoCleanInstallers NOTIFY
                   autoCleanInstallersChanged)
    Q_PROPERTY(bool autoFileScreenshots READ autoFileScreenshots WRITE setAutoFileScreenshots NOTIFY
                   autoFileScreenshotsChanged)
    Q_PROPERTY(bool indexTextInImages READ indexTextInImages WRITE setIndexTextInImages NOTIFY indexTextInImagesChanged)
    Q_PROPERTY(fennic::ImageFolderMode imageFolderMode READ imageFolderMode WRITE setImageFolderMode NOTIFY
                   imageFolderModeChanged)
    Q_PROPERTY(QStringList imageFolders READ imageFolders WRITE setImageFolders NOTIFY imageFoldersChanged)
    Q_PROPERTY(QStringList pinnedFolders READ pinnedFolders WRITE setPinnedFolders NOTIFY pinnedFoldersChanged)
    Q_PROPERTY(QStringList extraRoots READ extraRoots WRITE setExtraRoots NOTIFY extraRootsChanged)
    Q_PROPERTY(bool welcomeDone READ welcomeDone WRITE setWelcomeDone NOTIFY welcomeDoneChanged)
    Q_PROPERTY(
        bool quickSearchEnabled READ quickSearchEnabled WRITE setQuickSearchEnabled NOTIFY quickSearchEnabledChanged)

public:
    static constexpr double kMinCardSize = 100;
    static constexpr double kMaxCardSize = 320;
    static constexpr double kDefaultCardSize = 150;

    // `file` is an INI file to use. Empty: Fennic's file in the user's configuration folder,
    // or, under FENNIC_LIBRARY_ROOT, "settings.ini" in the fixture's support folder, so that
    // a fixture run never changes the user's settings (Prefs::configure must have run).
    explicit AppSettings(const QString& file = {}, QObject* parent = nullptr);
    ~AppSettings() override;

    ViewMode viewMode() const { return m_viewMode; }
    void setViewMode(ViewMode mode);
    QString viewModeRaw() const { return ViewModes::rawValue(m_viewMode); }
    SortKey sortKey() const { return m_sortKey; }
    void setSortKey(SortKey key);
    QString sortKeyRaw() const { return SortKeys::rawValue(m_sortKey); }
    bool sortAscending() const { return m_sortAscending; }
    void setSortAscending(bool ascending);
    double cardSize() const { return m_cardSize; }
    // Kept within kMinCardSize … kMaxCardSize.
    void setCardSize(double size);
    // Adds a step to the card size, kept within range.
    void zoom(double step) { setCardSize(m_cardSize + step); }
    Theme theme() const { return m_theme; }
    void setTheme(Theme theme);
    void toggleTheme() { setTheme(m_theme == Theme::playful ? Theme::minimal : Theme::playful); }
    bool autoCleanInstallers() const { return m_autoCleanInstallers; }
    void setAutoCleanInstallers(bool on);
    bool autoFileScreenshots() const { return m_autoFileScreenshots; }
    void setAutoFileScreenshots(bool on);
    bool indexTextInImages() const { return m_indexTextInImages; }
    void setIndexTextInImages(bool on);
    ImageFolderMode imageFolderMode() const { return m_imageFolderMode; }
    void setImageFolderMode(ImageFolderMode mode);
    const QStringList& imageFolders() const { return m_imageFolders; }
    void setImageFolders(const QStringList& folders);
    // The chosen recognition languages; none while the choice is automatic.
    const std::optional<QStringList>& ocrLanguages() const { return m_ocrLanguages; }
    void setOcrLanguages(const std::optional<QStringList>& languages);
    const QStringList& pinnedFolders() const { return m_pinnedFolders; }
    void setPinnedFolders(const QStringList& folders);
    const QStringList& extraRoots() const { return m_extraRoots; }
    void setExtraRoots(const QStringList& folders);
    // The Quick Search shortcut: the stored one, or Ctrl+Shift+Space.
    const Shortcut& quickShortcut() const { return m_quickShortcut; }
    // Stores a new shortcut; refused (false, nothing stored) when it has a problem.
    bool setQuickShortcut(const Shortcut& shortcut);
    bool quickSearchEnabled() const { return m_quickSearchEnabled; }
    void setQuickSearchEnabled(bool on);
    const QList<SavedSearch>& savedSearches() const { return m_savedSearches; }
    void setSavedSearches(const QList<SavedSearch>& searches);
    bool welcomeDone() const { return m_welcomeDone; }
    void setWelcomeDone(bool done);

    // Writes what is still only in memory to the file (at quit; QSettings also does it on its own).
    void sync();
    // How the window was left (its size, its panes), kept beside the settings under "window/".
    QVariant windowState(const QString& name) const;
    void setWindowState(const QString& name, const QVariant& value);

Q_SIGNALS:
    void viewModeChanged();
    void sortKeyChanged();
    void sortAscendingChanged();
    void cardSizeChanged();
    void themeChanged();
    void autoCleanInstallersChanged();
    void autoFileScreenshotsChanged();
    void indexTextInImagesChanged();
    void imageFolderModeChanged();
    void imageFoldersChanged();
    void ocrLanguagesChanged();
    void pinnedFoldersChanged();
    void extraRootsChanged();
    void quickShortcutChanged();
    void quickSearchEnabledChanged();
    void savedSearchesChanged();
    void welcomeDoneChanged();

private:
    // Stores `value` under `key` and announces it, when it differs from `field`.
    template <typename T, typename Stored>
    void update(T& field, const T& value, const char* key, const Stored& stored, void (AppSettings::*changed)());

    std::unique_ptr<QSettings> m_store;
    ViewMode m_viewMode = ViewMode::grid;
    SortKey m_sortKey = SortKey::dateAdded;
    bool m_sortAscending = false;
    double m_cardSize = kDefaultCardSize;
    Theme m_theme = Theme::playful;
    bool m_autoCleanInstallers = false;
    bool m_autoFileScreenshots = false;
    bool m_indexTextInImages = true;
    ImageFolderMode m_imageFolderMode = ImageFolderMode::all;
    QStringList m_imageFolders;
    std::optional<QStringList> m_ocrLanguages;
    QStringList m_pinnedFolders;
    QStringList m_extraRoots;
    Shortcut m_quickShortcut = Shortcut::standard();
    bool m_quickSearchEnabled = true;
    QList<SavedSearch> m_savedSearches;
    bool m_welcomeDone = false;
};

}  // namespace fennic
