#pragma once

#include "app/AppModel.h"
#include "library/Prefs.h"
#include "support/TempTree.h"

#include <QFile>

namespace fennic::test {

// A temporary home made the library root (FENNIC_LIBRARY_ROOT) with the six default folders,
// and an application environment whose settings file lives in it and which plays no sound.
// The root and the preferences are reset when it goes away, after the members of a fixture
// built on it (the model among them).
class LibraryHome {
public:
    LibraryHome()
    {
        for (const char* folder : {"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"})
            tree.mkdir(QString::fromLatin1(folder));
        qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.root()));
        Prefs::resetForTesting();
        Prefs::configure();
        env.settingsFile = tree.path(".fennic-support/settings.ini");
        env.playSound = [](const QString&) {};
    }
    ~LibraryHome()
    {
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }
    LibraryHome(const LibraryHome&) = delete;
    LibraryHome& operator=(const LibraryHome&) = delete;

    TempTree tree;
    AppEnvironment env;
};

}  // namespace fennic::test
