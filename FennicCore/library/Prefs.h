#pragma once

#include "model/SupportFiles.h"

#include <QString>
#include <optional>

namespace fennic::Prefs {

// FENNIC_LIBRARY_ROOT as read from the environment (absent when the variable is not set).
inline std::optional<QString> fixtureRoot() { return SupportFiles::fixtureRoot(); }

// Chooses the library overrides once per process: with FENNIC_LIBRARY_ROOT set, the fixture
// folder (created if needed, symbolic links resolved) becomes the home folder and its
// "Applications" folder the only application folder. Later calls do nothing.
void configure();

// The folder of Fennic's own files, created when missing (SupportFiles::current() says where
// it is and names the files in it).
inline QString supportDir() { return SupportFiles::current().dir(); }

// Test hook: forget the configuration so that configure() runs again (and re-reads the
// environment). Never used by the application.
void resetForTesting();

}  // namespace fennic::Prefs
