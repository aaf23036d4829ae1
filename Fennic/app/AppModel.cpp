#include "AppModel.h"

#include "AppSettings.h"
#include "BackgroundTasks.h"
#include "DuplicateScan.h"
#include "ImageIndexer.h"
#include "LibraryModel.h"
#include "Organiser.h"
#include "SearchSession.h"
#include "Toast.h"
#include "library/Prefs.h"
#include "search/SearchParser.h"

namespace fennic {

AppModel::AppModel(AppEnvironment environment, QObject* parent) : QObject(parent), m_env(std::move(environment))
{
    // Folder overrides are chosen before anything asks where the library or its files are.
    Prefs::configure();
    m_tasks = std::make_unique<BackgroundTasks>();
    m_settings = std::make_unique<AppSettings>(m_env.settingsFile);
    m_toast = std::make_unique<Toast>(m_env.toastShortMs, m_env.toastLongMs);
    m_library = std::make_unique<LibraryModel>(m_env, *m_settings, *m_tasks);
    m_images = std::make_unique<ImageIndexer>(m_env, *m_settings, *m_tasks, *m_library);
    m_duplicates = std::make_unique<DuplicateScan>(*m_tasks, *m_library, *m_images);
    m_organiser = std::make_unique<Organiser>(m_env, *m_settings, *m_tasks, *m_library, *m_images, *m_toast);
    m_search = std::make_unique<SearchSession>(m_env, *m_settings, *m_library, *m_images, *m_organiser, *m_duplicates,
                                               *m_toast);

    // After a completed scan: the rules first (they may move files), then image indexing
    // over what is left.
    connect(m_library.get(), &LibraryModel::scanCompleted, this, [this] {
        m_organiser->runAutomaticCleanup();
        m_images->startImageIndexing();
    });
    if (m_env.loadCacheOnStart && !m_env.isDemo()) loadCache();
    m_tasks->run([] { SearchParser::prepare(); });
}

AppModel::~AppModel()
{
    m_tasks->stop();
    m_images->cancelImageIndexing();
    // Tasks use the collaborators until they return; the results they posted die with them.
    m_tasks->waitForDone();
}

namespace {
AppEnvironment& sharedEnvironment()
{
    static AppEnvironment environment;
    return environment;
}
}  // namespace

void AppModel::configureShared(AppEnvironment environment) { sharedEnvironment() = std::move(environment); }

AppModel& AppModel::shared()
{
    static AppModel* instance = new AppModel(sharedEnvironment());
    return *instance;
}

void AppModel::loadCache()
{
    m_library->loadCache();
    m_images->loadIndex();
    m_organiser->loadShelf();
}

void AppModel::finishLaunching()
{
    m_library->finishLaunching();
    m_images->startImageIndexing();
}

void AppModel::applicationBecameActive() { m_library->applicationBecameActive(); }

bool AppModel::waitForIdle(int timeoutMs)
{
    return m_tasks->waitForIdle(timeoutMs, [this] { return m_library->isScanning(); });
}

}  // namespace fennic
