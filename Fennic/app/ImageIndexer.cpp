// The image indexing task: one background task at a time reads the library's pending pictures
// and hands their records to the GUI thread in batches of eight or more, so that results show
// while indexing goes on.
#include "ImageIndexer.h"

#include "BackgroundTasks.h"
#include "LibraryModel.h"
#include "images/ImageAnalyzer.h"
#include "images/OCRLanguages.h"
#include "library/Library.h"
#include "library/Scanner.h"
#include "model/SupportFiles.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocale>
#include <algorithm>
#include <cmath>

namespace fennic {
namespace {

QString indexFile() { return SupportFiles::current().imageIndex(); }

// Records are handed over once the batch holds more than this many, and no more often than
// every kHandOverMs: pictures that read quickly would otherwise wake the GUI thread hundreds of
// times a second, and everything that follows the records (progress, the inspector, searches over
// text in images) with it.
constexpr int kBatchLimit = 7;
constexpr qint64 kHandOverMs = 100;

// How long read records may wait for a save to let go of the index before they are added anyway.
constexpr qint64 kHoldLimitMs = 10000;

// How long one turn of the event loop spends adding read records to the index. A thousand
// records usually take a millisecond, but on a busy machine an insert into a large index can
// take a hundred times longer, and the window must not wait for them.
constexpr qint64 kApplySliceNs = 4'000'000;

// The path prefixes that pick a chosen folder's files. Chosen folders are kept resolved, while
// files under a default folder reached through a link (a linked home folder) carry the
// linked path: those get the linked form too. Resolving is disk work, done on the pool.
QStringList folderPrefixes(const QStringList& chosen, const QStringList& roots)
{
    QStringList prefixes;
    for (const QString& folder : chosen) {
        prefixes.append(folder.endsWith(u'/') ? folder : folder + u'/');
        for (const QString& root : roots) {
            const QString real = Library::realPath(root);
            if (real != root && (folder == real || folder.startsWith(real + u'/')))
                prefixes.append(root + folder.mid(real.size()) + u'/');
        }
    }
    return prefixes;
}

bool hasCameraMetadata(const FileItem& item)
{
    static const QSet<QString> photos{"jpg", "jpeg", "heic", "heif", "tif", "tiff", "dng"};
    return photos.contains(item.ext);
}

}  // namespace

struct ImageIndexer::IndexTask {
    std::atomic<bool> cancelled{false};
};

ImageIndexer::ImageIndexer(AppEnvironment environment, AppSettings& settings, BackgroundTasks& tasks,
                           LibraryModel& library, QObject* parent)
    : QObject(parent), m_env(std::move(environment)), m_settings(settings), m_tasks(tasks), m_library(library)
{
    m_applyTimer.setObjectName(QStringLiteral("ImageIndexer records"));
    m_applyTimer.setSingleShot(true);
    m_applyTimer.setInterval(0);
    connect(&m_applyTimer, &QTimer::timeout, this, [this] {
        if (imageRecordsFree() || m_heldSince.hasExpired(kHoldLimitMs)) applyHeldRecords(kApplySliceNs);
    });
    // Settings that change what is read restart the task.
    connect(&m_settings, &AppSettings::indexTextInImagesChanged, this, &ImageIndexer::startImageIndexing);
    connect(&m_settings, &AppSettings::imageFolderModeChanged, this, [this] {
        Q_EMIT imageFolderModeChanged();
        startImageIndexing();
    });
    connect(&m_settings, &AppSettings::ocrLanguagesChanged, this, [this] {
        Q_EMIT ocrLanguageChoiceChanged();
        startImageIndexing();
    });
    connect(&m_settings, &AppSettings::imageFoldersChanged, this, &ImageIndexer::imageFoldersChanged);
    // A scan makes the pending list stale; the records of files it found gone go with them.
    connect(&m_library, &LibraryModel::scanStarted, this, &ImageIndexer::cancelImageIndexing);
    connect(&m_library, &LibraryModel::filesLeft, this, &ImageIndexer::forget);
    m_library.trackDepartures([this]() -> LibraryModel::DepartureCheck {
        // The map is shared, not copied; it is walked on the pool.
        return [records = m_imageIndex.records](const QSet<QString>& present) {
            QStringList gone;
            for (auto it = records.constBegin(); it != records.constEnd(); ++it)
                if (!present.contains(it.key())) gone.append(it.key());
            return gone;
        };
    });
}

ImageIndexer::~ImageIndexer()
{
    if (m_indexTask) m_indexTask->cancelled.store(true);
}

QStringList ImageIndexer::recognitionLanguages() const
{
    const QStringList supported = OCRLanguages::supported();
    if (m_settings.ocrLanguages()) return OCRLanguages::resolve(*m_settings.ocrLanguages(), supported).use;
    return OCRLanguages::defaults(QLocale::system().uiLanguages(), supported);
}

void ImageIndexer::cancelImageIndexing()
{
    // Records read before the cancel are still good; they join the index now unless a save
    // holds it, and then once that save is done.
    if (imageRecordsFree()) applyHeldRecords();
    if (!m_indexTask) return;
    m_indexTask->cancelled.store(true);
    m_indexTask.reset();
}

void ImageIndexer::startImageIndexing()
{
    cancelImageIndexing();
    if (m_imageIndexPaused || m_tasks.stopping()->load()) return;

    const QStringList languages = recognitionLanguages();
    const QStringList chosen =
        m_settings.imageFolderMode() == ImageFolderMode::chosen ? m_settings.imageFolders() : QStringList();

    auto task = std::make_shared<IndexTask>();
    m_indexTask = task;
    const bool readText = m_settings.indexTextInImages();
    // Choosing the candidates and the pending files walks the whole library and sorts the
    // pictures: done on the pool with snapshots, so the GUI thread never waits for it.
    m_tasks.run(
        [this, task, items = m_library.items(), index = m_imageIndex, ocrText = m_ocrText, languages, chosen,
         libraryRoots = m_library.roots(), readText]() mutable {
            const QStringList folders = folderPrefixes(chosen, libraryRoots);
            QList<FileItem> candidates;
            QSet<QString> keep;
            for (const FileItem& item : items) {
                if (!ImageIndex::isIndexable(item)) continue;
                if (!folders.isEmpty() && std::none_of(folders.begin(), folders.end(), [&](const QString& f) {
                        return item.path.startsWith(f);
                    }))
                    continue;
                candidates.append(item);
                keep.insert(item.path);
            }
            // The GUI thread's maps as they were when this task started: if they are still the
            // same when the task hands over, it takes the pruned copies made here.
            QHash<QString, ImageRecord> startRecords = index.records;
            QHash<QString, QString> startText = ocrText;
            QStringList dropped;
            for (auto it = index.records.constBegin(); it != index.records.constEnd(); ++it)
                if (!keep.contains(it.key())) dropped.append(it.key());
            index.prune(keep);
            for (const QString& path : std::as_const(dropped)) ocrText.remove(path);
            QList<FileItem> pending = index.pending(candidates, languages);
            if (!readText) {
                // With text reading off, a picture read with other languages (or none) is
                // current: only new and changed pictures are read.
                pending.removeIf([&index](const FileItem& item) {
                    const auto it = index.records.constFind(item.path);
                    return it != index.records.cend() && it->size == item.size
                        && std::abs(it->modified - item.modified) <= ImageIndex::kModifiedTolerance;
                });
            }
            // Room for every record up front, made here: growing a large hash batch by batch,
            // or even reserving it, costs the GUI thread tens of milliseconds.
            QHash<QString, ImageRecord> records = std::move(index.records);
            index = ImageIndex();
            records.reserve(records.size() + pending.size());
            ocrText.reserve(ocrText.size() + pending.size());
            QMetaObject::invokeMethod(
                this,
                [this, task, startRecords, startText, records = std::move(records), ocrText = std::move(ocrText),
                 dropped, languages, total = int(pending.size())]() mutable {
                    if (task != m_indexTask) return;
                    m_imageIndex.languages = languages;
                    if (m_imageIndex.records.isSharedWith(startRecords) && m_ocrText.isSharedWith(startText)) {
                        // Nothing changed the maps meanwhile. The old ones are freed on the pool.
                        m_tasks.run([records = std::exchange(m_imageIndex.records, std::move(records)),
                                     text = std::exchange(m_ocrText, std::move(ocrText))] {},
                                    -1);
                    } else {
                        records = {};
                        ocrText = {};
                        for (const QString& path : std::as_const(dropped)) {
                            m_imageIndex.records.remove(path);
                            m_ocrText.remove(path);
                        }
                    }
                    startRecords.clear();
                    startText.clear();
                    if (!dropped.isEmpty()) Q_EMIT imageRecordsChanged();
                    m_ocrProgress = {0, total};
                    m_sinceIndexSave.start();
                    Q_EMIT ocrProgressChanged();
                    if (total == 0) {
                        m_indexTask.reset();
                        Q_EMIT imageIndexingFinished();
                    }
                },
                Qt::QueuedConnection);
            // What follows can take hours: hold on to nothing the GUI thread may replace.
            startRecords = {};
            startText = {};
            items = {};
            candidates = {};
            keep = {};
            if (pending.isEmpty()) return;

            // Camera models for the photos about to be read that have none yet.
            QHash<QString, QString> cameras;
            for (const FileItem& item : pending) {
                if (task->cancelled.load()) return;
                if (item.camera || !hasCameraMetadata(item)) continue;
                if (auto model = Scanner::cameraModel(item.path)) cameras.insert(item.path, *model);
            }
            if (!cameras.isEmpty())
                QMetaObject::invokeMethod(
                    this, [this, cameras] { m_library.addCameraModels(cameras); }, Qt::QueuedConnection);

            const int total = int(pending.size());
            QList<ImageRecord> batch;
            QElapsedTimer sinceHandOver;  // not started: the first full batch goes at once
            for (int i = 0; i < total; ++i) {
                if (task->cancelled.load()) return;
                ImageRecord record = ImageAnalyzer::analyze(
                    pending[i], languages, readText ? ImageAnalyzer::Text::read : ImageAnalyzer::Text::skip);
                batch.append(std::move(record));
                const bool due = !sinceHandOver.isValid() || sinceHandOver.hasExpired(kHandOverMs);
                if ((batch.size() > kBatchLimit && due) || i == total - 1) {
                    sinceHandOver.start();
                    QMetaObject::invokeMethod(
                        this,
                        [this, task, batch, done = i + 1, total] {
                            if (task != m_indexTask) return;  // cancelled, rebuilt or deleted meanwhile
                            applyImageBatch(batch, done, total);
                        },
                        Qt::QueuedConnection);
                    batch.clear();
                }
            }
            QMetaObject::invokeMethod(
                this,
                [this, task] {
                    if (task != m_indexTask) return;
                    m_indexTask.reset();
                    saveImageIndex();
                    Q_EMIT imageIndexingFinished();
                },
                Qt::QueuedConnection);
        },
        /*priority=*/0, BackgroundTasks::Share::spare);
}

void ImageIndexer::applyImageBatch(const QList<ImageRecord>& batch, int done, int total)
{
    if (m_heldApplied >= m_heldRecords.size()) m_heldSince.start();
    m_heldRecords.append(batch);
    m_ocrProgress = {done, total};
    Q_EMIT ocrProgressChanged();
    // While a save (or a duplicate scan) still holds a snapshot of the records, adding to them
    // would copy the whole map on this thread: new records wait a little for it to let go.
    if (imageRecordsFree() || m_heldSince.hasExpired(kHoldLimitMs)) applyHeldRecords(kApplySliceNs);
    // A long run keeps what it read so far on disk, should Fennic be stopped. Each save writes
    // the whole index (hundreds of megabytes in a large library), so it also waits until what
    // is new is worth it: a twentieth of the index.
    m_readSinceSave += int(batch.size());
    if (done < total && m_sinceIndexSave.isValid() && m_sinceIndexSave.hasExpired(m_env.indexSaveIntervalMs)
        && m_readSinceSave >= m_imageIndex.records.size() / 20)
        saveImageIndex();
}

void ImageIndexer::applyHeldRecords(qint64 budgetNs)
{
    if (m_heldApplied >= m_heldRecords.size()) return;
    QElapsedTimer clock;
    clock.start();
    while (m_heldApplied < m_heldRecords.size()) {
        const ImageRecord& record = m_heldRecords.at(m_heldApplied++);
        m_imageIndex.records.insert(record.path, record);
        if (record.folded.isEmpty())
            m_ocrText.remove(record.path);
        else
            m_ocrText.insert(record.path, record.folded);
        if (budgetNs > 0 && m_heldApplied % 16 == 0 && clock.nsecsElapsed() > budgetNs) break;
    }
    if (m_heldApplied < m_heldRecords.size())
        m_applyTimer.start();
    else
        forgetHeldRecords();
    Q_EMIT imageRecordsChanged();
}

void ImageIndexer::forgetHeldRecords()
{
    m_heldRecords.clear();
    m_heldApplied = 0;
    m_applyTimer.stop();
}

bool ImageIndexer::imageRecordsFree() const
{
    return m_imageIndex.records.isDetached() || m_imageIndex.records.capacity() == 0;
}

void ImageIndexer::saveImageIndex()
{
    if (m_env.isDemo()) {
        applyHeldRecords();
        return;
    }
    if (m_heldApplied < m_heldRecords.size() && !imageRecordsFree() && m_indexSavesInFlight > 0) {
        // The save under way still holds the index: adding the waiting records now would copy
        // it here. This save follows that one instead.
        m_saveWhenFree = true;
        return;
    }
    applyHeldRecords();
    m_sinceIndexSave.start();
    m_readSinceSave = 0;
    const auto& writes = m_tasks.writes(BackgroundTasks::File::imageIndex);
    const auto ticket = writes->ticket();
    ++m_indexSavesInFlight;
    m_tasks.run(
        [this, snapshot = ImageIndex(recognitionLanguages(), m_imageIndex.records), writes, ticket]() mutable {
            bool ok = true;
            writes->run(ticket, [&] { ok = bool(snapshot.save(indexFile())); });
            snapshot = ImageIndex();  // let go first, so that the GUI thread finds the index free
            QMetaObject::invokeMethod(
                this,
                [this, ok] {
                    --m_indexSavesInFlight;
                    Q_EMIT imageIndexSaved(ok);
                    if (m_saveWhenFree && m_indexSavesInFlight == 0) {
                        m_saveWhenFree = false;
                        saveImageIndex();
                    } else if (imageRecordsFree()) {
                        applyHeldRecords();
                    }
                },
                Qt::QueuedConnection);
        },
        -1);
}

void ImageIndexer::deleteImageIndex()
{
    forgetHeldRecords();
    m_saveWhenFree = false;
    cancelImageIndexing();
    m_imageIndex.records.clear();
    m_ocrText.clear();
    // Through the ordered writes, so that a save still under way can't bring the file back; on
    // the pool, since waiting for that save would hold the GUI thread.
    const auto& writes = m_tasks.writes(BackgroundTasks::File::imageIndex);
    m_tasks.run([writes, ticket = writes->ticket()] { writes->run(ticket, [] { QFile::remove(indexFile()); }); }, -1);
    m_ocrProgress = {0, 0};
    Q_EMIT ocrProgressChanged();
    Q_EMIT imageRecordsChanged();
}

void ImageIndexer::rebuildImageIndex()
{
    deleteImageIndex();
    startImageIndexing();
}

void ImageIndexer::setOCRLanguage(const QString& code, bool on)
{
    QStringList choice = m_settings.ocrLanguages().value_or(recognitionLanguages());
    if (on && !choice.contains(code)) choice.append(code);
    if (!on) choice.removeAll(code);
    m_settings.setOcrLanguages(choice);  // restarts indexing through the settings' signal
}

void ImageIndexer::setImageIndexPaused(bool paused)
{
    if (paused == m_imageIndexPaused) return;
    m_imageIndexPaused = paused;
    Q_EMIT imageIndexPausedChanged();
    if (paused) {
        cancelImageIndexing();
        saveImageIndex();
    } else {
        startImageIndexing();
    }
}

void ImageIndexer::addImageFolder(const QString& folder)
{
    const QString path = Library::realPath(folder);
    if (!m_settings.imageFolders().contains(path))
        m_settings.setImageFolders(m_settings.imageFolders() + QStringList{path});
    const QStringList libraryRoots = m_library.roots();
    const bool inside = std::any_of(libraryRoots.begin(), libraryRoots.end(), [&](const QString& root) {
        const QString real = Library::realPath(root);
        return path == real || path.startsWith(real + u'/');
    });
    if (inside)
        startImageIndexing();
    else
        m_library.addFolder(path);  // its scan ends by starting image indexing
}

void ImageIndexer::removeImageFolder(const QString& path)
{
    QStringList folders = m_settings.imageFolders();
    if (!folders.removeOne(path)) return;
    m_settings.setImageFolders(folders);
    startImageIndexing();
}

void ImageIndexer::forget(const QSet<QString>& paths)
{
    bool dropped = false;
    for (const QString& path : paths) {
        dropped |= m_imageIndex.records.remove(path);
        m_ocrText.remove(path);
    }
    if (dropped) Q_EMIT imageRecordsChanged();
}

void ImageIndexer::moveRecords(const QList<QPair<QString, QString>>& moves)
{
    if (moves.isEmpty()) return;
    for (const auto& [from, to] : moves) {
        m_imageIndex.move(from, to);
        if (auto text = m_ocrText.take(from); !text.isNull()) m_ocrText.insert(to, text);
    }
    Q_EMIT imageRecordsChanged();
    saveImageIndex();
}

void ImageIndexer::loadIndex()
{
    if (m_env.isDemo()) return;
    const SupportFiles support = SupportFiles::current();
    // A file of an older version that no longer means anything.
    QFile::remove(support.file(QStringLiteral("text.json")));
    auto index = ImageIndex::load(support.imageIndex());
    if (!index) return;
    m_imageIndex = std::move(*index);
    m_ocrText.clear();
    for (auto it = m_imageIndex.records.constBegin(); it != m_imageIndex.records.constEnd(); ++it)
        if (!it->folded.isEmpty()) m_ocrText.insert(it.key(), it->folded);
    Q_EMIT imageRecordsChanged();
}

}  // namespace fennic
