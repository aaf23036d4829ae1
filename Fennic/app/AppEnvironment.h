#pragma once

#include "model/Calendar.h"
#include "model/Date.h"
#include "model/FileItem.h"
#include "system/SystemSound.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <functional>

namespace fennic {

// What the application model takes from the outside world and tests must control: the clock,
// the calendar, the delays of its timers and where its settings live. Each collaborator keeps
// its own copy.
//
// Thread contract of the injected functions:
// - `now` and `calendar` are called on the GUI thread (requests, rules, toasts) and on pool
//   threads (the values derived from a scan, recent files); they must be safe to call from
//   any thread at once and must not block.
// - `playSound` is called on the GUI thread and must return at once (the default hands the
//   sound to a background thread).
// - `scanListed` is called on a pool thread, once a scan has listed the folders and before its
//   result is handed to the GUI thread; it may block, which holds that result back.
struct AppEnvironment {
    std::function<Date()> now = [] { return Date::fromQDateTime(QDateTime::currentDateTimeUtc()); };
    std::function<Calendar()> calendar = [] { return Calendar::current(); };
    int settleDelayMs = 700;           // a request counts as settled this long after the last change
    int toastShortMs = 2600;           // a plain confirmation
    int toastLongMs = 6000;            // an error, or a notice that offers Undo
    int flashMs = 1800;                // the Quick Search panel's short confirmations
    double rescanAfterSeconds = 300;   // becoming active rescans when the last scan is older
    int indexSaveIntervalMs = 120000;  // image indexing saves what it read at most this often
    // The settings file (INI). Empty: Fennic's file in the user's configuration folder, or,
    // under FENNIC_LIBRARY_ROOT, "settings.ini" in the fixture's support folder so that a
    // fixture run never changes the user's settings.
    QString settingsFile;
    // Load the library cache, image index and shelf while constructing.
    bool loadCacheOnStart = true;
    // Plays a named system sound ("Purr" when files go to the Trash).
    std::function<void(const QString& name)> playSound = SystemSound::play;
    // A gate for tests: called when a scan has listed the folders (see above).
    std::function<void()> scanListed;
    // Set: the demonstration library is active. Scans show these items instead of reading the
    // folders, nothing is loaded from the cache, and none of Fennic's own files (cache, image
    // index, shelf) is ever written. Called on the GUI thread.
    std::function<QList<FileItem>()> demoItems;

    bool isDemo() const { return bool(demoItems); }
};

}  // namespace fennic
