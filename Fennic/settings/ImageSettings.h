#pragma once

#include "SettingsSection.h"
#include "quicklook/PoolReply.h"

class QCheckBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;

namespace fennic {

class AppModel;

// Reading pictures: whether text in images is read, in which languages, in which folders,
// the progress with a pause, and the index itself (its size, a rebuild, deleting it).
class ImageSettings : public SettingsSection {
    Q_OBJECT

public:
    explicit ImageSettings(AppModel& app, QWidget* parent = nullptr);

    QCheckBox* textInImages() const { return m_textInImages; }
    QCheckBox* automaticLanguages() const { return m_automatic; }
    // The checkbox of one installed recognition language ("en-US"), once the list has arrived.
    QCheckBox* languageBox(const QString& code) const;
    QPushButton* pauseButton() const { return m_pause; }
    QLabel* indexSizeLabel() const { return m_indexSize; }
    // Adds a folder to read pictures from, as choosing it in the folder dialog does.
    void addImageFolder(const QString& folder);

Q_SIGNALS:
    // The installed languages were listed and their checkboxes made.
    void languagesListed();
    // The index file's size was read again.
    void indexSizeRead();

protected:
    void changeEvent(QEvent* event) override;

private:
    void listLanguages(const QStringList& installed);
    void refreshLanguages();
    void refreshFolders();
    void refreshProgress();
    void readIndexSize();
    void chooseFolder();
    void confirmDelete();

    AppModel& m_app;
    PoolReply m_reply{this};
    QCheckBox* m_textInImages;
    QLabel* m_progressLine;
    QProgressBar* m_progressBar;
    QPushButton* m_pause;
    int m_pauseIconFor = -1;  // the paused state the pause button's icon shows
    QCheckBox* m_automatic;
    QWidget* m_languageBoxes;
    QLabel* m_languagesLoading;
    QList<QCheckBox*> m_languages;
    QRadioButton* m_allFolders;
    QRadioButton* m_chosenFolders;
    QListWidget* m_folderList;
    QPushButton* m_addFolder;
    QPushButton* m_removeFolder;
    QLabel* m_indexSize;
    QPushButton* m_rebuild;
    QPushButton* m_delete;
    bool m_sizeQueued = false;  // a read of the size is due once the one under way returns
    bool m_sizeReading = false;
};

}  // namespace fennic
