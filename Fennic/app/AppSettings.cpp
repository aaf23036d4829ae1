#include "AppSettings.h"

#include "RawNames.h"
#include "model/SupportFiles.h"

#include <algorithm>

namespace fennic {
namespace {

// The keys of the settings file; they are part of its format.
constexpr const char* kViewMode = "viewMode";
constexpr const char* kSortKey = "sortKey";
constexpr const char* kSortAscending = "sortAscending";
constexpr const char* kCardSize = "cardSize";
constexpr const char* kTheme = "theme";
constexpr const char* kAutoCleanInstallers = "autoCleanInstallers";
constexpr const char* kAutoFileScreenshots = "autoFileScreenshots";
constexpr const char* kIndexTextInImages = "indexTextInImages";
constexpr const char* kImageFolderMode = "imageFolderMode";
constexpr const char* kImageFolders = "imageFolders";
constexpr const char* kOcrLanguages = "ocrLanguages";
constexpr const char* kPinnedFolders = "pinnedFolders";
constexpr const char* kExtraRoots = "extraRoots";
constexpr const char* kQuickShortcut = "quickShortcut";
constexpr const char* kQuickSearchEnabled = "quickSearchEnabled";
constexpr const char* kSavedSearches = "savedSearches";
constexpr const char* kWelcomeDone = "welcomeDone";

std::unique_ptr<QSettings> openSettings(const QString& file)
{
    if (!file.isEmpty()) return std::make_unique<QSettings>(file, QSettings::IniFormat);
    if (SupportFiles::fixtureRoot())
        return std::make_unique<QSettings>(SupportFiles::current().file(QStringLiteral("settings.ini")),
                                                                        QSettings::IniFormat);
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QStringLiteral("Fennic"), QStringLiteral("Fennic"));
}

QString key(const char* name) { return QLatin1String(name); }

}  // namespace

namespace {
constexpr RawNames<Theme, 2> kThemeNames{{{{Theme::playful, u"playful"}, {Theme::minimal, u"minimal"}}}};
constexpr RawNames<ImageFolderMode, 2> kFolderModeNames{
    {{{ImageFolderMode::all, u"all"}, {ImageFolderMode::chosen, u"chosen"}}}};
}  // namespace

QString Themes::rawValue(Theme theme) { return kThemeNames.rawValue(theme); }
std::optional<Theme> Themes::fromRawValue(QStringView raw) { return kThemeNames.fromRawValue(raw); }
QString ImageFolderModes::rawValue(ImageFolderMode mode) { return kFolderModeNames.rawValue(mode); }
std::optional<ImageFolderMode> ImageFolderModes::fromRawValue(QStringView raw)
{
    return kFolderModeNames.fromRawValue(raw);
}

AppSettings::AppSettings(const QString& file, QObject* parent) : QObject(parent), m_store(openSettings(file))
{
    const QSettings& s = *m_store;
    const auto text = [&s](const char* name) { return s.value(key(name)).toString(); };
    m_viewMode = ViewModes::fromRawValue(text(kViewMode)).value_or(ViewMode::grid);
    m_sortKey = SortKeys::fromRawValue(text(kSortKey)).value_or(SortKey::dateAdded);
    m_sortAscending = s.value(key(kSortAscending), false).toBool();
    m_cardSize = std::clamp(s.value(key(kCardSize), kDefaultCardSize).toDouble(), kMinCardSize, kMaxCardSize);
    m_theme = Themes::fromRawValue(text(kTheme)).value_or(Theme::playful);
    m_autoCleanInstallers = s.value(key(kAutoCleanInstallers), false).toBool();
    m_autoFileScreenshots = s.value(key(kAutoFileScreenshots), false).toBool();
    m_indexTextInImages = s.value(key(kIndexTextInImages), true).toBool();
    m_imageFolderMode = ImageFolderModes::fromRawValue(text(kImageFolderMode)).value_or(ImageFolderMode::all);
    m_imageFolders = s.value(key(kImageFolders)).toStringList();
    if (s.contains(key(kOcrLanguages))) m_ocrLanguages = s.value(key(kOcrLanguages)).toStringList();
    m_pinnedFolders = s.value(key(kPinnedFolders)).toStringList();
    m_extraRoots = s.value(key(kExtraRoots)).toStringList();
    m_quickShortcut = Shortcut::fromJson(text(kQuickShortcut).toUtf8()).value_or(Shortcut::standard());
    m_quickSearchEnabled = s.value(key(kQuickSearchEnabled), true).toBool();
    m_savedSearches = SavedSearch::decodeList(text(kSavedSearches).toUtf8());
    m_welcomeDone = s.value(key(kWelcomeDone), false).toBool();
}

AppSettings::~AppSettings() = default;

void AppSettings::sync() { m_store->sync(); }

QVariant AppSettings::windowState(const QString& name) const
{
    return m_store->value(QStringLiteral("window/") + name);
}

void AppSettings::setWindowState(const QString& name, const QVariant& value)
{
    m_store->setValue(QStringLiteral("window/") + name, value);
}

template <typename T, typename Stored>
void AppSettings::update(T& field, const T& value, const char* name, const Stored& stored,
                         void (AppSettings::*changed)())
{
    if (field == value) return;
    field = value;
    m_store->setValue(key(name), stored);
    Q_EMIT(this->*changed)();
}

void AppSettings::setViewMode(ViewMode mode)
{
    update(m_viewMode, mode, kViewMode, ViewModes::rawValue(mode), &AppSettings::viewModeChanged);
}
void AppSettings::setSortKey(SortKey sortKey)
{
    update(m_sortKey, sortKey, kSortKey, SortKeys::rawValue(sortKey), &AppSettings::sortKeyChanged);
}
void AppSettings::setSortAscending(bool on)
{
    update(m_sortAscending, on, kSortAscending, on, &AppSettings::sortAscendingChanged);
}
void AppSettings::setCardSize(double size)
{
    const double clamped = std::clamp(size, kMinCardSize, kMaxCardSize);
    update(m_cardSize, clamped, kCardSize, clamped, &AppSettings::cardSizeChanged);
}
void AppSettings::setTheme(Theme theme)
{
    update(m_theme, theme, kTheme, Themes::rawValue(theme), &AppSettings::themeChanged);
}
void AppSettings::setAutoCleanInstallers(bool on)
{
    update(m_autoCleanInstallers, on, kAutoCleanInstallers, on, &AppSettings::autoCleanInstallersChanged);
}
void AppSettings::setAutoFileScreenshots(bool on)
{
    update(m_autoFileScreenshots, on, kAutoFileScreenshots, on, &AppSettings::autoFileScreenshotsChanged);
}
void AppSettings::setIndexTextInImages(bool on)
{
    update(m_indexTextInImages, on, kIndexTextInImages, on, &AppSettings::indexTextInImagesChanged);
}
void AppSettings::setImageFolderMode(ImageFolderMode mode)
{
    update(m_imageFolderMode, mode, kImageFolderMode, ImageFolderModes::rawValue(mode),
           &AppSettings::imageFolderModeChanged);
}
void AppSettings::setImageFolders(const QStringList& folders)
{
    update(m_imageFolders, folders, kImageFolders, folders, &AppSettings::imageFoldersChanged);
}
void AppSettings::setOcrLanguages(const std::optional<QStringList>& languages)
{
    if (languages == m_ocrLanguages) return;
    m_ocrLanguages = languages;
    if (languages)
        m_store->setValue(key(kOcrLanguages), *languages);
    else
        m_store->remove(key(kOcrLanguages));
    Q_EMIT ocrLanguagesChanged();
}
void AppSettings::setPinnedFolders(const QStringList& folders)
{
    update(m_pinnedFolders, folders, kPinnedFolders, folders, &AppSettings::pinnedFoldersChanged);
}
void AppSettings::setExtraRoots(const QStringList& folders)
{
    update(m_extraRoots, folders, kExtraRoots, folders, &AppSettings::extraRootsChanged);
}
bool AppSettings::setQuickShortcut(const Shortcut& shortcut)
{
    if (shortcut.problem()) return false;
    update(m_quickShortcut, shortcut, kQuickShortcut, QString::fromUtf8(shortcut.toJson()),
           &AppSettings::quickShortcutChanged);
    return true;
}
void AppSettings::setQuickSearchEnabled(bool on)
{
    update(m_quickSearchEnabled, on, kQuickSearchEnabled, on, &AppSettings::quickSearchEnabledChanged);
}
void AppSettings::setSavedSearches(const QList<SavedSearch>& searches)
{
    update(m_savedSearches, searches, kSavedSearches, QString::fromUtf8(SavedSearch::encodeList(searches)),
           &AppSettings::savedSearchesChanged);
}
void AppSettings::setWelcomeDone(bool done)
{
    update(m_welcomeDone, done, kWelcomeDone, done, &AppSettings::welcomeDoneChanged);
}

}  // namespace fennic
