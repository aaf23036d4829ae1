#include "SystemSound.h"

#include "system/WorkerPool.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThreadPool>
#include <dlfcn.h>
#include <mutex>

namespace fennic::SystemSound {
namespace {

// A sound server's socket or a sound card. Without either there is nothing to play on, and
// trying makes the sound library complain on stderr.
bool hasAudioOutput()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty()
        && (QFileInfo::exists(runtime + QStringLiteral("/pulse/native"))
                              || QFileInfo::exists(runtime + QStringLiteral("/pipewire-0"))))
        return true;
    return !QDir(QStringLiteral("/dev/snd")).entryList({QStringLiteral("pcmC*p")}, QDir::System).isEmpty();
}

// The part of libcanberra's C interface used here.
struct ca_context;
using CreateFn = int (*)(ca_context**);
using PlayFn = int (*)(ca_context*, unsigned int, ...);

class Canberra {
public:
    void play(const QByteArray& file)
    {
        std::lock_guard lock(m_mutex);
        if (!m_tried) {
            m_tried = true;
            open();
        }
        if (!m_context) return;
        // The sound plays on the service's own time; an error (no device) is simply silence.
        m_play(m_context, 0, "media.filename", file.constData(), "media.role", "event",
               static_cast<const char*>(nullptr));
    }

private:
    void open()
    {
        if (!hasAudioOutput()) return;
        void* library = ::dlopen("libcanberra.so.0", RTLD_NOW | RTLD_LOCAL);
        if (!library) return;
        const auto create = reinterpret_cast<CreateFn>(::dlsym(library, "ca_context_create"));
        m_play = reinterpret_cast<PlayFn>(::dlsym(library, "ca_context_play"));
        if (!create || !m_play || create(&m_context) != 0) m_context = nullptr;
    }

    std::mutex m_mutex;
    bool m_tried = false;
    ca_context* m_context = nullptr;
    PlayFn m_play = nullptr;
};

}  // namespace

QString file(const QString& name)
{
    const QString fileName = name.toLower() + QStringLiteral(".wav");
    // The install prefix (bin/../share) and the build tree, where the executables sit a few
    // folders below share/.
    QDir dir = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    for (int level = 0; level < 5 && !dir.isRoot(); ++level) {
        QString candidate = dir.filePath(QStringLiteral("share/fennic/sounds/") + fileName);
        if (QFileInfo(candidate).isFile()) return candidate;
        if (!dir.cdUp()) break;
    }
    return {};
}

void play(const QString& name)
{
    WorkerPool::shared()->start([name] {
        static Canberra canberra;
        const QString path = file(name);
        if (!path.isEmpty()) canberra.play(QFile::encodeName(path));
    });
}

}  // namespace fennic::SystemSound
