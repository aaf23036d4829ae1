#pragma once

#include "quicklook/PoolReply.h"
#include "theme/ThemeStyle.h"

#include <QPointer>
#include <QWidget>

class QCheckBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QStackedWidget;

namespace fennic {

class AppModel;
class ThumbnailLoader;

// The first run: a few steps that say what Fennic does, which folders it will read (adding
// and removing the person's own), whether it reads the words in pictures and in which
// languages, and how Quick Search opens from anywhere. Start finishes the welcome, which
// starts the first scan; the page then shows the scan's progress until the window moves on.
// Nothing is scanned before Start.
//
// Keys: Return goes to the next step (Start on the last), Tab moves through the controls.
class WelcomePage : public QWidget {
    Q_OBJECT

public:
    enum class Step {
        intro,
        folders,
        images,
        shortcut,
        scanning
    };

    WelcomePage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent = nullptr);
    ~WelcomePage() override;

    void setThemeStyle(const ThemeStyle& theme);

    Step step() const { return m_step; }
    // Shows a step (captures show each one); scanning is reached by Start only.
    void setStep(Step step);
    // Next step; on the last one, Start.
    void next();
    void back();
    // Finishes the welcome and starts the first scan.
    void start();

    QPushButton* nextButton() const { return m_next; }
    QPushButton* backButton() const { return m_back; }
    QListWidget* folderList() const { return m_folders; }
    QPushButton* addFolderButton() const { return m_addFolder; }
    QPushButton* removeFolderButton() const { return m_removeFolder; }
    QCheckBox* textInImagesSwitch() const { return m_readText; }
    QListWidget* languageList() const { return m_languages; }
    QLabel* progressLabel() const { return m_progress; }
    // The installed recognition languages have been listed.
    bool languagesLoaded() const { return m_languagesLoaded; }

Q_SIGNALS:
    void stepChanged();
    // Start was pressed: the welcome is done and the first scan has started.
    void started();

private:
    QWidget* buildIntro();
    QWidget* buildFolders();
    QWidget* buildImages();
    QWidget* buildShortcut();
    QWidget* buildScanning();
    QLabel* title(const QString& text, QWidget* parent);
    QLabel* body(const QString& text, QWidget* parent);
    void refreshFolders();
    void updateRemove();
    void chooseFolder();
    void loadLanguages();
    void showLanguages(const QList<QPair<QString, QString>>& languages);
    void updateProgress();
    void showEvent(QShowEvent* event) override;
    void updateButtons();
    void applyLook();

    AppModel& m_app;
    ThemeStyle m_theme;
    PoolReply m_reply{this};
    Step m_step = Step::intro;

    QStackedWidget* m_steps = nullptr;
    QLabel* m_stepLabel = nullptr;
    QPushButton* m_back = nullptr;
    QPushButton* m_next = nullptr;
    QListWidget* m_folders = nullptr;
    QPushButton* m_addFolder = nullptr;
    QPushButton* m_removeFolder = nullptr;
    QCheckBox* m_readText = nullptr;
    QLabel* m_languagesTitle = nullptr;
    QListWidget* m_languages = nullptr;
    QLabel* m_keys = nullptr;
    QLabel* m_progress = nullptr;
    QProgressBar* m_busy = nullptr;
    QList<QLabel*> m_secondary;
    QList<QLabel*> m_icons;
    QList<QString> m_iconNames;
    QPointer<QWidget> m_dialog;
    bool m_languagesLoaded = false;
};

}  // namespace fennic
