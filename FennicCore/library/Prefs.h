#pragma once

#include <QString>
#include <optional>

namespace fennic::Prefs {

// FENNIC_LIBRARY_ROOT as read from the environment (absent when the variable is not set).
std::optional<QString> fixtureRoot();

// Chooses the library overrides once per process: with FENNIC_LIBRARY_ROOT set, the fixture
// folder (created if needed, symbolic links resolved) becomes the home folder and its
// "Applications" folder the only application folder. Later calls do nothing.
void configure();

// The folder of Fennic's own files ("index.json", "images.plist", "shelf.json"):
// FIXTURE/.fennic-support under FENNIC_LIBRARY_ROOT, otherwise Fennic under the XDG data
// home. Created (with parents) on every call; a failure to create it is ignored.
QString supportDir();

// Test hook: forget the configuration so that configure() runs again (and re-reads the
// environment). Never used by the application.
void resetForTesting();

}  // namespace fennic::Prefs
