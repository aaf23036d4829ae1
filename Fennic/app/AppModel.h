#pragma once

#include "AppEnvironment.h"

#include <QObject>
#include <memory>

namespace fennic {

class AppSettings;
class BackgroundTasks;
class DuplicateScan;
class ImageIndexer;
class LibraryModel;
class Organiser;
class SearchSession;
class Toast;

// The one application model: created once, handed to every view, living until the process
// ends. It owns one collaborator per job and wires them together; views bind to the
// collaborator of their job and include its header only:
//   settings()   the user's settings, typed (AppSettings)
//   library()    items, scans, derived values, the cache, folders (LibraryModel)
//   search()     the request, the sidebar entry and the shown list (SearchSession)
//   images()     image indexing and the image index (ImageIndexer)
//   organiser()  shelf, Trash and Undo, automatic rules (Organiser)
//   duplicates() exact copies and look-alikes (DuplicateScan)
//   toast()      the one transient notice (Toast)
//   tasks()      the thread pool, write ordering and waitForIdle (BackgroundTasks)
//
// Threads: everything lives on the GUI thread; background work runs on tasks()'s pool and
// comes back through queued calls. The destructor stops that work and waits for it. Works
// without a display (QCoreApplication or the offscreen platform).
class AppModel : public QObject {
    Q_OBJECT

public:
    explicit AppModel(AppEnvironment environment = {}, QObject* parent = nullptr);
    ~AppModel() override;

    // The application's one instance, created on first use (on the GUI thread) with the
    // environment given to configureShared, if it was called before.
    static AppModel& shared();
    static void configureShared(AppEnvironment environment);

    const AppEnvironment& environment() const { return m_env; }
    AppSettings& settings() { return *m_settings; }
    LibraryModel& library() { return *m_library; }
    SearchSession& search() { return *m_search; }
    ImageIndexer& images() { return *m_images; }
    Organiser& organiser() { return *m_organiser; }
    DuplicateScan& duplicates() { return *m_duplicates; }
    Toast& toast() { return *m_toast; }
    BackgroundTasks& tasks() { return *m_tasks; }

    // Reads the library cache, the image index and the shelf on the calling thread (the
    // constructor does, unless the environment says not to).
    void loadCache();
    // The launch steps that follow construction: the welcome screen on a first run without a
    // cache, otherwise a scan; image indexing starts either way.
    void finishLaunching();
    // Rescans when the last scan is older than the environment's rescan delay.
    void applicationBecameActive();
    // Waits (running the event loop) until no background task is running, no scan is under
    // way and every result has been applied. For tests, the self-test and benchmarks.
    bool waitForIdle(int timeoutMs = 60000);

private:
    AppEnvironment m_env;
    std::unique_ptr<BackgroundTasks> m_tasks;
    std::unique_ptr<AppSettings> m_settings;
    std::unique_ptr<Toast> m_toast;
    std::unique_ptr<LibraryModel> m_library;
    std::unique_ptr<ImageIndexer> m_images;
    std::unique_ptr<DuplicateScan> m_duplicates;
    std::unique_ptr<Organiser> m_organiser;
    std::unique_ptr<SearchSession> m_search;
};

}  // namespace fennic
