#pragma once

#include "AppEnvironment.h"
#include "AppSettings.h"
#include "images/ImageIndex.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QPair>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <optional>

namespace fennic {

class BackgroundTasks;
class LibraryModel;

// Image indexing: one background task at a time reads the library's pending pictures (text,
// labels, feature prints, colours) and hands their records to the GUI thread in batches of
// eight, so that results show while indexing goes on. Owns the image index, the recognised
// text of pictures that hold any, and "images.plist".
//
// A scan cancels the task (its result would make the pending list stale) and the application
// model starts it again once the scan completes. Records read while a save still holds a
// snapshot of the index wait, for at most ten seconds, rather than copy the whole index on
// the GUI thread. Long runs save along the way, at most every `indexSaveIntervalMs` and once
// a twentieth of the index is new.
//
// Threads: GUI thread only; see AppEnvironment for the injected functions.
class ImageIndexer : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool imageIndexPaused READ imageIndexPaused WRITE setImageIndexPaused NOTIFY imageIndexPausedChanged)
    Q_PROPERTY(QStringList imageFolders READ imageFolders NOTIFY imageFoldersChanged)
    Q_PROPERTY(fennic::ImageFolderMode imageFolderMode READ imageFolderMode WRITE setImageFolderMode NOTIFY
                   imageFolderModeChanged)

public:
    ImageIndexer(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks, LibraryModel& library,
                 QObject* parent = nullptr);
    ~ImageIndexer() override;

    const ImageIndex& imageIndex() const { return m_imageIndex; }
    const QHash<QString, ImageRecord>& imageRecords() const { return m_imageIndex.records; }
    // Path -> folded recognised text, for the pictures that hold text only.
    const QHash<QString, QString>& ocrText() const { return m_ocrText; }
    // Pictures read and to read in the running task.
    QPair<int, int> ocrProgress() const { return m_ocrProgress; }
    bool isIndexingImages() const { return m_indexTask != nullptr; }

    // The recognition languages in force: the stored choice, or the user's languages.
    QStringList recognitionLanguages() const;
    const std::optional<QStringList>& ocrLanguageChoice() const { return m_settings.ocrLanguages(); }
    // Turns one language on or off; the choice stops being automatic.
    void setOCRLanguage(const QString& code, bool on);

    // Reads "images.plist" on the calling thread; a file that can't be read leaves the index
    // as it is.
    void loadIndex();
    // Starts reading the pending pictures (restarting a running task); nothing while paused.
    void startImageIndexing();
    void cancelImageIndexing();
    // Writes "images.plist" on the pool; `imageIndexSaved` reports the result.
    void saveImageIndex();
    void rebuildImageIndex();
    void deleteImageIndex();
    bool imageIndexPaused() const { return m_imageIndexPaused; }
    // Pausing stops the task and saves what it read; resuming starts it again.
    void setImageIndexPaused(bool paused);
    const QStringList& imageFolders() const { return m_settings.imageFolders(); }
    // Adds a folder to read pictures from; a folder outside the library joins the library.
    void addImageFolder(const QString& folder);
    void removeImageFolder(const QString& path);
    ImageFolderMode imageFolderMode() const { return m_settings.imageFolderMode(); }
    void setImageFolderMode(ImageFolderMode mode) { m_settings.setImageFolderMode(mode); }

    // Files that moved (screenshots filed away): their records and text follow, and the index
    // is saved.
    void moveRecords(const QList<QPair<QString, QString>>& moves);

Q_SIGNALS:
    void imageRecordsChanged();
    void ocrProgressChanged();
    void imageIndexPausedChanged();
    void imageFoldersChanged();
    void imageFolderModeChanged();
    void ocrLanguageChoiceChanged();
    void imageIndexSaved(bool ok);
    void imageIndexingFinished();

private:
    struct IndexTask;
    void forget(const QSet<QString>& paths);
    void applyImageBatch(const QList<ImageRecord>& batch, int done, int total);
    // Adds the waiting records to the index: all of them, or with a budget as many as fit in
    // it, the rest on the next turn of the event loop.
    void applyHeldRecords(qint64 budgetNs = -1);
    void forgetHeldRecords();
    // Whether the GUI thread alone holds the image records, so that changing them copies nothing.
    bool imageRecordsFree() const;

    const AppEnvironment m_env;
    AppSettings& m_settings;
    BackgroundTasks& m_tasks;
    LibraryModel& m_library;

    ImageIndex m_imageIndex;
    QHash<QString, QString> m_ocrText;
    QPair<int, int> m_ocrProgress{0, 0};
    bool m_imageIndexPaused = false;
    std::shared_ptr<IndexTask> m_indexTask;
    // Records read but not yet all in the index: a save still holds a snapshot of it, or the
    // rest waits for the next slice.
    QList<ImageRecord> m_heldRecords;
    qsizetype m_heldApplied = 0;  // how many of them are in the index already
    QElapsedTimer m_heldSince;
    QTimer m_applyTimer;
    QElapsedTimer m_sinceIndexSave;
    int m_readSinceSave = 0;  // records read since the index was last saved
    int m_indexSavesInFlight = 0;
    bool m_saveWhenFree = false;  // a save waits for the one under way to let go of the index
};

}  // namespace fennic
