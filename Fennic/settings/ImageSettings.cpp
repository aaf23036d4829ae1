#include "ImageSettings.h"

#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/ImageIndexer.h"
#include "images/OCRLanguages.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "model/SupportFiles.h"
#include "theme/Icons.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QVBoxLayout>

namespace fennic {

namespace {
constexpr int kPathRole = Qt::UserRole;
const char* const kCode = "fennicLanguage";
// Removing the index file goes through the ordered writes on the pool; reading its size this
// long after asking finds it gone.
constexpr int kAfterRemovalMs = 400;
}  // namespace

ImageSettings::ImageSettings(AppModel& app, QWidget* parent)
    : SettingsSection(
        QStringLiteral("Image Reading"), parent), m_app(app),
        m_textInImages(
            new QCheckBox(QStringLiteral("Read text in pictures"), this)), m_progressLine(new QLabel(this)),
            m_progressBar(new QProgressBar(this)), m_pause(new QPushButton(this)),
            m_automatic(
                new QCheckBox(QStringLiteral("Automatic"), this)), m_languageBoxes(new QWidget(this)),
                m_languagesLoading(
                    new QLabel(QStringLiteral("Looking for installed languages…"), this)),
                    m_allFolders(
                        new QRadioButton(QStringLiteral("All library folders"), this)),
                        m_chosenFolders(
                            new QRadioButton(QStringLiteral("Only these folders:"), this)),
                            m_folderList(new QListWidget(this)),
                            m_addFolder(new QPushButton(QStringLiteral("Add…"), this)),
                                        m_removeFolder(new QPushButton(QStringLiteral("Remove"), this)),
                                                       m_indexSize(new QLabel(this)),
                                                       m_rebuild(new QPushButton(QStringLiteral("Rebuild"), this)),
                                                                 m_delete(new QPushButton(
                                                                     QStringLiteral("Delete the Index"), this))
{
    ImageIndexer& images = m_app.images();
    AppSettings& settings = m_app.settings();

    QVBoxLayout* reading = addGroup(QStringLiteral("Reading"));
    addNote(reading,
            QStringLiteral("Fennic reads your pictures on this computer, so you can find them by the words "
                                    "in them and by what they show. Nothing leaves the device."));
    reading->addWidget(m_textInImages);
    m_textInImages->setAccessibleName(QStringLiteral("Read text in pictures"));
    auto* progressRow = new QHBoxLayout;
    progressRow->addWidget(m_progressLine, 1);
    progressRow->addWidget(m_pause);
    reading->addLayout(progressRow);
    reading->addWidget(m_progressBar);
    m_progressLine->setAccessibleName(QStringLiteral("Image reading progress"));
    m_progressLine->setWordWrap(true);
    m_progressBar->setAccessibleName(QStringLiteral("Pictures read"));
    m_progressBar->setTextVisible(false);
    m_progressBar->setMaximumHeight(8);

    QVBoxLayout* languages = addGroup(QStringLiteral("Languages"));
    addNote(languages,
            QStringLiteral("The languages text in pictures is read in. Automatic follows your desktop’s "
                                      "languages."));
    languages->addWidget(m_automatic);
    m_automatic->setAccessibleName(QStringLiteral("Choose the languages automatically"));
    languages->addWidget(m_languagesLoading);
    m_languagesLoading->setAccessibleName(m_languagesLoading->text());
    auto* boxes = new QVBoxLayout(m_languageBoxes);
    boxes->setContentsMargins(20, 0, 0, 0);
    boxes->setSpacing(4);
    languages->addWidget(m_languageBoxes);

    QVBoxLayout* folders = addGroup(QStringLiteral("Folders"));
    auto* modes = new QButtonGroup(this);
    modes->addButton(m_allFolders);
    modes->addButton(m_chosenFolders);
    folders->addWidget(m_allFolders);
    folders->addWidget(m_chosenFolders);
    m_allFolders->setAccessibleName(QStringLiteral("Read pictures in all library folders"));
    m_chosenFolders->setAccessibleName(QStringLiteral("Read pictures only in the chosen folders"));
    m_folderList->setAccessibleName(QStringLiteral("Folders to read pictures in"));
    m_folderList->setMaximumHeight(120);
    folders->addWidget(m_folderList);
    auto* folderButtons = new QHBoxLayout;
    folderButtons->addWidget(m_addFolder);
    folderButtons->addWidget(m_removeFolder);
    folderButtons->addStretch(1);
    folders->addLayout(folderButtons);
    m_addFolder->setAccessibleName(QStringLiteral("Add a folder to read pictures in"));
    m_removeFolder->setAccessibleName(QStringLiteral("Remove the folder from those read"));

    QVBoxLayout* index = addGroup(QStringLiteral("Index"));
    index->addWidget(m_indexSize);
    m_indexSize->setAccessibleName(QStringLiteral("Size of the image index"));
    auto* indexButtons = new QHBoxLayout;
    indexButtons->addWidget(m_rebuild);
    indexButtons->addWidget(m_delete);
    indexButtons->addStretch(1);
    index->addLayout(indexButtons);
    addNote(index,
            QStringLiteral("Rebuild reads every picture again. Deleting the index forgets what was read "
                                  "until reading starts again."));
    m_rebuild->setAccessibleName(QStringLiteral("Rebuild the image index"));
    m_delete->setAccessibleName(QStringLiteral("Delete the image index"));
    finish();

    connect(m_textInImages, &QCheckBox::toggled, &settings, &AppSettings::setIndexTextInImages);
    connect(&settings, &AppSettings::indexTextInImagesChanged, this,
            [this] { m_textInImages->setChecked(m_app.settings().indexTextInImages()); });
    m_textInImages->setChecked(settings.indexTextInImages());

    connect(m_pause, &QPushButton::clicked, this,
            [this] { m_app.images().setImageIndexPaused(!m_app.images().imageIndexPaused()); });
    connect(&images, &ImageIndexer::ocrProgressChanged, this, &ImageSettings::refreshProgress);
    connect(&images, &ImageIndexer::imageIndexPausedChanged, this, &ImageSettings::refreshProgress);
    connect(&images, &ImageIndexer::imageIndexingFinished, this, &ImageSettings::refreshProgress);

    connect(m_automatic, &QCheckBox::clicked, this, [this](bool on) {
        // Leaving automatic keeps the languages in force as the explicit choice.
        m_app.settings().setOcrLanguages(on ? std::nullopt
                                            : std::optional<QStringList>(m_app.images().recognitionLanguages()));
    });
    connect(&images, &ImageIndexer::ocrLanguageChoiceChanged, this, &ImageSettings::refreshLanguages);
    connect(&settings, &AppSettings::ocrLanguagesChanged, this, &ImageSettings::refreshLanguages);

    connect(m_allFolders, &QRadioButton::clicked, this,
            [this] { m_app.images().setImageFolderMode(ImageFolderMode::all); });
    connect(m_chosenFolders, &QRadioButton::clicked, this,
            [this] { m_app.images().setImageFolderMode(ImageFolderMode::chosen); });
    connect(&settings, &AppSettings::imageFolderModeChanged, this, &ImageSettings::refreshFolders);
    connect(&settings, &AppSettings::imageFoldersChanged, this, &ImageSettings::refreshFolders);
    connect(m_folderList, &QListWidget::currentItemChanged, this, &ImageSettings::refreshFolders);
    connect(m_addFolder, &QPushButton::clicked, this, &ImageSettings::chooseFolder);
    connect(m_removeFolder, &QPushButton::clicked, this, [this] {
        if (const QListWidgetItem* item = m_folderList->currentItem())
            m_app.images().removeImageFolder(item->data(kPathRole).toString());
    });

    connect(m_rebuild, &QPushButton::clicked, this, [this] {
        m_app.images().rebuildImageIndex();
        QTimer::singleShot(kAfterRemovalMs, this, &ImageSettings::readIndexSize);
    });
    connect(m_delete, &QPushButton::clicked, this, &ImageSettings::confirmDelete);
    connect(&images, &ImageIndexer::imageIndexSaved, this, &ImageSettings::readIndexSize);

    refreshProgress();
    refreshFolders();
    refreshLanguages();
    m_indexSize->setText(QStringLiteral("Index size: measuring…"));
    readIndexSize();
    // The list of installed languages reads the recognition data folder.
    m_reply.run([] { return OCRLanguages::supported(); },
                [this](const QStringList& installed) { listLanguages(installed); });
}

QCheckBox* ImageSettings::languageBox(const QString& code) const
{
    for (QCheckBox* box : m_languages)
        if (box->property(kCode).toString() == code) return box;
    return nullptr;
}

void ImageSettings::addImageFolder(const QString& folder)
{
    if (!folder.isEmpty()) m_app.images().addImageFolder(folder);
}

void ImageSettings::listLanguages(const QStringList& installed)
{
    m_languagesLoading->hide();
    const QString locale = QLocale().bcp47Name();
    for (const QString& code : installed) {
        auto* box = new QCheckBox(OCRLanguages::name(code, locale), m_languageBoxes);
        box->setProperty(kCode, code);
        box->setAccessibleName(box->text());
        m_languageBoxes->layout()->addWidget(box);
        connect(box, &QCheckBox::clicked, this, [this, code](bool on) { m_app.images().setOCRLanguage(code, on); });
        m_languages.append(box);
    }
    refreshLanguages();
    Q_EMIT languagesListed();
}

void ImageSettings::refreshLanguages()
{
    const bool automatic = !m_app.images().ocrLanguageChoice().has_value();
    m_automatic->setChecked(automatic);
    const QStringList inForce = m_app.images().recognitionLanguages();
    for (QCheckBox* box : std::as_const(m_languages))
        box->setChecked(inForce.contains(box->property(kCode).toString()));
}

void ImageSettings::refreshFolders()
{
    const bool chosen = m_app.images().imageFolderMode() == ImageFolderMode::chosen;
    m_allFolders->setChecked(!chosen);
    m_chosenFolders->setChecked(chosen);
    const QStringList& folders = m_app.images().imageFolders();
    // Rebuilt only when the list itself changed, so that a selection survives.
    QStringList shown;
    for (int row = 0; row < m_folderList->count(); ++row) shown << m_folderList->item(row)->data(kPathRole).toString();
    if (shown != folders) {
        m_folderList->clear();
        for (const QString& path : folders) {
            const QString text = Library::abbreviate(path);
            auto* item = new QListWidgetItem(Icons::themed(QStringLiteral("folder"), palette()), text, m_folderList);
            item->setData(kPathRole, path);
            item->setData(Qt::AccessibleTextRole, text);
            item->setToolTip(path);
        }
    }
    m_folderList->setEnabled(chosen);
    m_addFolder->setEnabled(chosen);
    m_removeFolder->setEnabled(chosen && m_folderList->currentItem() != nullptr);
}

void ImageSettings::changeEvent(QEvent* event)
{
    SettingsSection::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        m_pauseIconFor = -1;  // tinted for the old palette
        refreshProgress();
    }
}

void ImageSettings::refreshProgress()
{
    const ImageIndexer& images = m_app.images();
    const auto [done, total] = images.ocrProgress();
    const bool paused = images.imageIndexPaused();
    const bool reading = !paused && images.isIndexingImages() && total > 0 && done < total;
    const QLocale locale;
    QString line;
    if (paused)
        line = QStringLiteral("Paused — Fennic picks up where it left off.");
    else if (reading)
        line = QStringLiteral("Reading pictures… %1 of %2").arg(locale.toString(done), locale.toString(total));
    else if (images.imageRecords().isEmpty())
        line = QStringLiteral("No pictures read yet.");
    else
        line = Fmt::count(images.imageRecords().size(), QStringLiteral("picture")) + QStringLiteral(" read.");
    m_progressLine->setText(line);
    m_progressLine->setAccessibleDescription(line);
    m_progressBar->setVisible(reading);
    m_progressBar->setRange(0, std::max(total, 1));
    m_progressBar->setValue(done);
    m_pause->setText(paused ? QStringLiteral("Resume") : QStringLiteral("Pause"));
    m_pause->setAccessibleName(paused ? QStringLiteral("Resume image reading") : QStringLiteral("Pause image reading"));
    // Progress comes several times a second; the icon is looked up only when it changes.
    if (m_pauseIconFor != int(paused)) {
        m_pauseIconFor = int(paused);
        m_pause->setIcon(Icons::themed(paused ? QStringLiteral("media-playback-start")
                                              : QStringLiteral("media-playback-pause"), palette()));
    }
}

void ImageSettings::readIndexSize()
{
    if (m_sizeReading) {
        m_sizeQueued = true;
        return;
    }
    m_sizeReading = true;
    m_reply.run(
        [] {
            const QFileInfo info(SupportFiles::current().imageIndex());
            return info.exists() ? info.size() : qint64(-1);
        },
        [this](qint64 size) {
            m_sizeReading = false;
            const QString text =
                size < 0 ? QStringLiteral("No index on disk yet.") : QStringLiteral("Index size: ") + Fmt::size(size);
            m_indexSize->setText(text);
            m_indexSize->setAccessibleDescription(text);
            m_delete->setEnabled(size >= 0 || !m_app.images().imageRecords().isEmpty());
            Q_EMIT indexSizeRead();
            if (std::exchange(m_sizeQueued, false)) readIndexSize();
        });
}

void ImageSettings::chooseFolder()
{
    auto* dialog = new QFileDialog(window(), QStringLiteral("Choose a Folder of Pictures"), Library::home());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Add"));
    connect(dialog, &QFileDialog::fileSelected, this, &ImageSettings::addImageFolder);
    dialog->open();
}

void ImageSettings::confirmDelete()
{
    auto* box =
        new QMessageBox(QMessageBox::Question,
                        QStringLiteral("Delete the image index?"),
                                       QStringLiteral("Fennic forgets the text and contents it read in your pictures. "
                                               "Your pictures themselves stay where they are."),
                                                      QMessageBox::Cancel, window());
    QPushButton* remove = box->addButton(QStringLiteral("Delete the Index"), QMessageBox::DestructiveRole);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(remove, &QPushButton::clicked, this, [this] {
        m_app.images().deleteImageIndex();
        QTimer::singleShot(kAfterRemovalMs, this, &ImageSettings::readIndexSize);
    });
    box->open();
}

}  // namespace fennic
