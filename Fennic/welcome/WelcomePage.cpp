#include "WelcomePage.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "images/OCRLanguages.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "theme/Icons.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace fennic {

namespace {

constexpr int kLastStep = int(WelcomePage::Step::shortcut);
constexpr int kColumnWidth = 620;
constexpr int kPathRole = Qt::UserRole + 1;
constexpr int kRemovableRole = Qt::UserRole + 2;
constexpr int kCodeRole = Qt::UserRole + 3;

}  // namespace

WelcomePage::WelcomePage(AppModel& app, ThumbnailLoader& /*thumbnails*/, QWidget* parent)
    : QWidget(parent), m_app(app), m_theme(app.settings().theme(), QApplication::palette())
{
    setObjectName(QStringLiteral("WelcomePage"));
    setAccessibleName(QStringLiteral("Welcome to Fennic"));

    m_steps = new QStackedWidget(this);
    m_steps->addWidget(buildIntro());
    m_steps->addWidget(buildFolders());
    m_steps->addWidget(buildImages());
    m_steps->addWidget(buildShortcut());
    m_steps->addWidget(buildScanning());

    m_stepLabel = new QLabel(this);
    m_secondary << m_stepLabel;
    m_back = new QPushButton(QStringLiteral("Back"), this);
    m_back->setAccessibleName(QStringLiteral("Back"));
    m_next = new QPushButton(QStringLiteral("Next"), this);
    m_next->setAccessibleName(QStringLiteral("Next"));
    m_next->setDefault(true);
    connect(m_back, &QPushButton::clicked, this, &WelcomePage::back);
    connect(m_next, &QPushButton::clicked, this, &WelcomePage::next);
    for (const QKeySequence& key : {QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)}) {
        auto* shortcut = new QShortcut(key, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, [this] {
            if (m_step != Step::scanning) next();
        });
    }

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_stepLabel);
    buttons->addStretch(1);
    buttons->addWidget(m_back);
    buttons->addWidget(m_next);

    auto* column = new QVBoxLayout;
    column->addStretch(1);
    column->addWidget(m_steps);
    column->addSpacing(16);
    column->addLayout(buttons);
    column->addStretch(1);
    auto* centre = new QWidget(this);
    centre->setLayout(column);
    centre->setMaximumWidth(kColumnWidth);
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(32, 32, 32, 32);
    outer->addStretch(1);
    outer->addWidget(centre, 10);
    outer->addStretch(1);

    LibraryModel& library = m_app.library();
    connect(&library, &LibraryModel::extraRootsChanged, this, &WelcomePage::refreshFolders);
    for (auto signal :
         {&LibraryModel::scannedCountChanged, &LibraryModel::isScanningChanged, &LibraryModel::lastScanChanged})
        connect(&library, signal, this, &WelcomePage::updateProgress);
    connect(&m_app.settings(), &AppSettings::indexTextInImagesChanged, this, [this] {
        m_readText->setChecked(m_app.settings().indexTextInImages());
        m_languages->setEnabled(m_readText->isChecked());
    });

    refreshFolders();
    loadLanguages();
    applyLook();
    setStep(Step::intro);
}

WelcomePage::~WelcomePage() = default;

// --- the steps

QLabel* WelcomePage::title(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.6);
    label->setFont(font);
    label->setWordWrap(true);
    label->setAccessibleName(text);
    return label;
}

QLabel* WelcomePage::body(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setAccessibleName(text);
    return label;
}

QWidget* WelcomePage::buildIntro()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addWidget(title(QStringLiteral("Welcome to Fennic"), page));
    column->addWidget(body(QStringLiteral("Fennic gathers your everyday folders into one quiet library. "
                                          "It never leaves this computer."),
                                          page));
    const std::pair<const char*, QString> points[] = {
        {"system-search",
         QStringLiteral("Ask in plain English: “pdfs from last week over 5 MB”, "
                                         "“screenshots from today”.")},
         {"image-x-generic", QStringLiteral("Find pictures by what they show, or by the words written in them.")},
          {"starred", QStringLiteral("Keep things tidy with favourites, tags, clean-up and duplicates.")},
           {"user-trash",
            QStringLiteral("Nothing is ever deleted: everything goes to the Trash, and Undo puts it back.")},
          };
    for (const auto& [icon, text] : points) {
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        auto* picture = new QLabel(page);
        picture->setFixedSize(28, 28);
        m_icons << picture;
        m_iconNames << QString::fromLatin1(icon);
        row->addWidget(picture, 0, Qt::AlignTop);
        row->addWidget(body(text, page), 1);
        column->addLayout(row);
    }
    column->addStretch(1);
    return page;
}

QWidget* WelcomePage::buildFolders()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    column->addWidget(title(QStringLiteral("The folders Fennic reads"), page));
    column->addWidget(body(QStringLiteral("Fennic reads these folders and everything in them. Add any other "
                                          "folder you keep files in; your files stay where they are."),
                                          page));
    m_folders = new QListWidget(page);
    m_folders->setAccessibleName(QStringLiteral("Library folders"));
    m_folders->setMinimumHeight(180);
    m_folders->setIconSize(QSize(22, 22));
    connect(m_folders, &QListWidget::currentRowChanged, this, &WelcomePage::updateRemove);
    column->addWidget(m_folders);
    auto* row = new QHBoxLayout;
    m_addFolder = new QPushButton(QStringLiteral("Add Folder…"), page);
    m_addFolder->setAccessibleName(QStringLiteral("Add a folder"));
    m_removeFolder = new QPushButton(QStringLiteral("Remove"), page);
    m_removeFolder->setAccessibleName(QStringLiteral("Remove the selected folder"));
    connect(m_addFolder, &QPushButton::clicked, this, &WelcomePage::chooseFolder);
    connect(m_removeFolder, &QPushButton::clicked, this, [this] {
        const QListWidgetItem* item = m_folders->currentItem();
        if (item && item->data(kRemovableRole).toBool()) m_app.library().removeFolder(item->data(kPathRole).toString());
    });
    row->addWidget(m_addFolder);
    row->addWidget(m_removeFolder);
    row->addStretch(1);
    column->addLayout(row);
    column->addStretch(1);
    return page;
}

QWidget* WelcomePage::buildImages()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    column->addWidget(title(QStringLiteral("Words in pictures"), page));
    column->addWidget(body(QStringLiteral("Fennic can read the words in your pictures (screenshots, scanned "
                                          "letters, photos of a whiteboard) so that you can find them by what they "
                                          "say. The reading happens on this computer, a little at a time."),
                                          page));
    m_readText = new QCheckBox(QStringLiteral("Read text in pictures"), page);
    m_readText->setAccessibleName(QStringLiteral("Read text in pictures"));
    m_readText->setChecked(m_app.settings().indexTextInImages());
    connect(m_readText, &QCheckBox::toggled, this, [this](bool on) {
        m_app.settings().setIndexTextInImages(on);
        m_languages->setEnabled(on);
    });
    column->addWidget(m_readText);
    m_languagesTitle = body(QStringLiteral("Languages to read"), page);
    column->addWidget(m_languagesTitle);
    m_languages = new QListWidget(page);
    m_languages->setAccessibleName(QStringLiteral("Languages to read"));
    m_languages->setMinimumHeight(140);
    m_languages->setEnabled(m_readText->isChecked());
    auto* waiting = new QListWidgetItem(QStringLiteral("Looking for installed languages…"), m_languages);
    waiting->setFlags(Qt::NoItemFlags);
    connect(m_languages, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        if (!m_languagesLoaded) return;
        const QString code = item->data(kCodeRole).toString();
        if (code.isEmpty()) return;
        const bool on = item->checkState() == Qt::Checked;
        if (m_app.images().recognitionLanguages().contains(code) != on) m_app.images().setOCRLanguage(code, on);
    });
    column->addWidget(m_languages);
    column->addStretch(1);
    return page;
}

QWidget* WelcomePage::buildShortcut()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addWidget(title(QStringLiteral("Quick Search, from anywhere"), page));
    column->addWidget(body(QStringLiteral("Press this shortcut in any application to search your library "
                                          "without opening the window:"),
                                          page));
    m_keys = new QLabel(page);
    QFont font = m_keys->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.4);
    m_keys->setFont(font);
    m_keys->setAlignment(Qt::AlignCenter);
    m_keys->setContentsMargins(14, 6, 14, 6);
    m_keys->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_keys->setAutoFillBackground(true);
    column->addWidget(m_keys, 0, Qt::AlignLeft);
    auto* note = body(QStringLiteral("You can change it in Settings."), page);
    m_secondary << note;
    column->addWidget(note);
    connect(&m_app.settings(), &AppSettings::quickShortcutChanged, this, &WelcomePage::applyLook);
    column->addStretch(1);
    return page;
}

QWidget* WelcomePage::buildScanning()
{
    auto* page = new QWidget;
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(14);
    column->addWidget(title(QStringLiteral("Gathering your library"), page));
    column->addWidget(body(QStringLiteral("Your files show up as soon as they are found."), page));
    m_busy = new QProgressBar(page);
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setAccessibleName(QStringLiteral("Scan progress"));
    column->addWidget(m_busy);
    m_progress = new QLabel(page);
    m_secondary << m_progress;
    column->addWidget(m_progress);
    column->addStretch(1);
    return page;
}

// --- moving through

void WelcomePage::setStep(Step step)
{
    m_step = step;
    m_steps->setCurrentIndex(int(step));
    updateButtons();
    updateProgress();
    Q_EMIT stepChanged();
}

void WelcomePage::next()
{
    if (m_step == Step::scanning) return;
    if (int(m_step) >= kLastStep) {
        start();
        return;
    }
    setStep(Step(int(m_step) + 1));
    m_next->setFocus(Qt::TabFocusReason);
}

void WelcomePage::back()
{
    if (m_step == Step::intro || m_step == Step::scanning) return;
    setStep(Step(int(m_step) - 1));
}

void WelcomePage::start()
{
    if (m_step == Step::scanning) return;
    setStep(Step::scanning);
    m_app.library().finishWelcome();
    updateProgress();
    Q_EMIT started();
}

void WelcomePage::updateButtons()
{
    const bool scanning = m_step == Step::scanning;
    m_back->setVisible(!scanning);
    m_next->setVisible(!scanning);
    m_stepLabel->setVisible(!scanning);
    m_back->setEnabled(m_step != Step::intro);
    const bool last = int(m_step) == kLastStep;
    m_next->setText(last ? QStringLiteral("Start") : QStringLiteral("Next"));
    m_next->setAccessibleName(last ? QStringLiteral("Start: read the folders") : QStringLiteral("Next"));
    m_stepLabel->setText(QStringLiteral("Step %1 of %2").arg(int(m_step) + 1).arg(kLastStep + 1));
    m_stepLabel->setAccessibleName(m_stepLabel->text());
}

void WelcomePage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    updateProgress();
}

void WelcomePage::updateProgress()
{
    // Behind another page the count waits for the page to show (a scan counts many times a
    // second, and every new text is announced to assistive technologies).
    if (window()->isVisible() && !isVisible()) return;
    const LibraryModel& library = m_app.library();
    if (library.isScanning() || !library.lastScan())
        m_progress->setText(
            QStringLiteral("Scanning… %1").arg(Fmt::count(library.scannedCount(), QStringLiteral("file"))));
    else
        m_progress->setText(QStringLiteral("Found %1").arg(Fmt::count(library.items().size(), QStringLiteral("file"))));
    m_progress->setAccessibleName(m_progress->text());
}

// --- folders

void WelcomePage::refreshFolders()
{
    const QString current = m_folders->currentItem() ? m_folders->currentItem()->data(kPathRole).toString() : QString();
    const QStringList defaults = Library::defaultRoots();
    const QStringList extra = m_app.library().extraRoots();
    const QPalette& palette = m_theme.palette();
    m_folders->clear();
    for (const QString& path : m_app.library().roots()) {
        const bool removable = extra.contains(path) && !defaults.contains(path);
        auto* item =
            new QListWidgetItem(Icons::themed(QStringLiteral("folder"), palette), Library::abbreviate(path), m_folders);
        item->setData(kPathRole, path);
        item->setData(kRemovableRole, removable);
        item->setData(Qt::AccessibleTextRole,
                      removable
                      ? Library::abbreviate(path) + QStringLiteral(", added by you") : Library::abbreviate(path));
        item->setToolTip(removable ? QStringLiteral("Added by you") : QStringLiteral("Always read"));
        if (path == current) m_folders->setCurrentItem(item);
    }
    updateRemove();
}

void WelcomePage::updateRemove()
{
    const QListWidgetItem* item = m_folders->currentItem();
    m_removeFolder->setEnabled(item && item->data(kRemovableRole).toBool());
}

void WelcomePage::chooseFolder()
{
    if (m_dialog) return;
    auto* dialog = new QFileDialog(this, QStringLiteral("Add a Folder"), Library::home());
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (!path.isEmpty()) m_app.library().addFolder(path);
    });
    m_dialog = dialog;
    dialog->open();
}

// --- languages

void WelcomePage::loadLanguages()
{
    // Listing the installed languages reads the language data folder: done on the pool.
    m_reply.run(
        [] {
            QList<QPair<QString, QString>> languages;
            for (const QString& code : OCRLanguages::supported())
                languages.append({code, OCRLanguages::name(code, QStringLiteral("en-US"))});
            return languages;
        },
        [this](const QList<QPair<QString, QString>>& languages) { showLanguages(languages); });
}

void WelcomePage::showLanguages(const QList<QPair<QString, QString>>& languages)
{
    m_languagesLoaded = false;
    m_languages->clear();
    const QStringList inUse = m_app.images().recognitionLanguages();
    for (const auto& [code, name] : languages) {
        auto* item = new QListWidgetItem(name, m_languages);
        item->setData(kCodeRole, code);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(inUse.contains(code) ? Qt::Checked : Qt::Unchecked);
        item->setData(Qt::AccessibleTextRole, name);
    }
    m_languagesLoaded = true;
}

// --- look

void WelcomePage::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    applyLook();
}

void WelcomePage::applyLook()
{
    const QPalette& palette = m_theme.palette();
    for (qsizetype i = 0; i < m_icons.size(); ++i)
        m_icons[i]->setPixmap(Icons::themed(m_iconNames[i], palette).pixmap(28, 28));
    for (QLabel* label : std::as_const(m_secondary)) {
        QPalette p = label->palette();
        p.setColor(QPalette::WindowText, m_theme.secondaryText());
        label->setPalette(p);
    }
    const QString keys = m_app.settings().quickShortcut().display();
    m_keys->setText(keys);
    m_keys->setAccessibleName(QStringLiteral("Quick Search shortcut: %1").arg(keys));
    QPalette keycap = m_keys->palette();
    keycap.setColor(QPalette::Window, ThemeStyle::withOpacity(m_theme.accent(), 0.18));
    m_keys->setPalette(keycap);
    refreshFolders();
}

}  // namespace fennic
